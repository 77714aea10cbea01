#pragma once

#include "package/OrlPackageDoc.h"

#include <QtGlobal>

class QNetworkReply;

/// The most bytes that are taken of what the server sends; beyond it the transfer is aborted and
/// fails like any other. Far more than any game needs, and less than what harms a machine.
namespace transferlimits {

/// Signatures, which have some 300 bytes.
inline constexpr qint64 signature = qint64(8) << 10;
/// Version texts.
inline constexpr qint64 text = qint64(64) << 10;
/// The metadata and the hints.
inline constexpr qint64 document = qint64(16) << 20;
/// Package documents and asset lists.
inline constexpr qint64 manifest = qint64(512) << 20;
/// Packed files: nothing larger could be unpacked.
inline constexpr qint64 packed = 0x100000000;

} // namespace transferlimits

/// The most that a packed file of this entry may have. The packer's worst choices make a file a
/// dozen times larger than it was, and the stated packed size may be wrong.
[[nodiscard]] qint64 largestPacked(const OrlFile& file);

/// Aborts the reply as soon as its head announces more than so many bytes, or more have come. A
/// small body may be here in whole before that: what has come still has to be looked at.
void limitTransfer(QNetworkReply& reply, qint64 largest);
