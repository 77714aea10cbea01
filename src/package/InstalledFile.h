#pragma once

#include "package/OrlPackageDoc.h"
#include "package/TurnFunction.h"

#include <QString>

class VerifiedFiles;

/// Whether a computed hash is the one that an entry names. False for an empty one: a hash is empty
/// when its computation was stopped or failed, and an entry may lack one. Neither matches anything,
/// least of all the other.
[[nodiscard]] bool isSameHash(const QString& hash, const QString& wanted);

/// Whether `path` is a file with the size and SHA-256 that `file` names. Reads it whole, in slices,
/// unless `verified` knows it. False also when `turn` stopped the work.
[[nodiscard]] bool isInstalledAt(const QString& path, const OrlFile& file, VerifiedFiles& verified,
                                 const TurnFunction& turn = {});
