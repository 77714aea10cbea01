#pragma once

#include <QtGlobal>

/// What the launcher and the players' systems can take.
namespace publish::limits {

/// Files must be smaller: the launcher unpacks a file in one piece whose size it counts in 31 bits.
inline constexpr qint64 fileSize = qint64(1) << 31;

/// Longest path with the package folder's name, in UTF-16 units. Windows programs without a special
/// declaration know 260, of which the drive and the rest of the data folder's path take their part.
inline constexpr qsizetype pathLength = 240;

/// Longest version text that is a folder's name on the server as it stands, see
/// addresses::segment(). A longer one does no harm, but is rather a text about the version.
inline constexpr qsizetype versionLength = 64;

/// Characters of a hint's title that fit into one line of the launcher's window.
inline constexpr qsizetype hintTitleLength = 60;

} // namespace publish::limits
