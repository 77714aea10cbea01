#pragma once

#include "package/SliceFunction.h"

#include <QByteArray>
#include <QString>

class QIODevice;

/// Characters of a SHA-256 in hexadecimal digits.
inline constexpr qsizetype hashLength = 64;

/// SHA-256 as 64 lower-case hexadecimal digits, the same as QCryptographicHash gives; empty when
/// `onSlice` stopped the work.
[[nodiscard]] QString hashBytes(const QByteArray& data, const SliceFunction& onSlice = {});

/// The same of everything that an open device still yields, read in pieces of 1 MiB.
[[nodiscard]] QString hashDevice(QIODevice* device, const SliceFunction& onSlice = {});

/// Whether a computed hash is the one that an entry names. False for an empty one: a hash is empty
/// when its computation was stopped or failed, and an entry may lack one. Neither matches anything,
/// least of all the other.
[[nodiscard]] bool isSameHash(const QString& hash, const QString& wanted);
