#pragma once

#include <QtGlobal>

/// What the launcher and the players' systems can take.
namespace limits {

/// Files must be smaller: the launcher unpacks a file in one piece whose size it counts in 31 bits.
inline constexpr qint64 fileSize = qint64(1) << 31;

/// Longest path with the package folder's name, in UTF-16 units. Windows programs without a special
/// declaration know 260, of which the drive and the rest of the data folder's path take their part.
inline constexpr qsizetype pathLength = 240;

} // namespace limits
