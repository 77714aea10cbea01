#pragma once

#include "package/OrlPackageDoc.h"

#include <QtGlobal>

/// The most bytes that are taken of what the server sends; beyond it the transfer is aborted and
/// fails like any other. Far more than any game needs, and less than what harms a machine.
namespace transferlimits {

/// Version texts.
inline constexpr qint64 text = 64 * 1024;
/// The metadata and the hints.
inline constexpr qint64 document = 16 * 1024 * 1024;
/// Package documents and asset lists.
inline constexpr qint64 manifest = 512 * 1024 * 1024;
/// Packed files: nothing larger could be unpacked.
inline constexpr qint64 packed = 0x100000000;

} // namespace transferlimits

/// The most that a packed file of this entry may have. The packer's worst choices make a file a
/// dozen times larger than it was, and the stated packed size may be wrong.
[[nodiscard]] qint64 largestPacked(const OrlFile& file);
