#pragma once

#include "package/HintsDocument.h"

/// What a hint may ask of the window that lays it out. Laying out takes the whole program's thread,
/// and a small text can keep it busy for good: what lies in a table is measured twice, in a table
/// within that four times, and so on.
namespace hintlimits {

/// Bytes of title and text as UTF-8.
inline constexpr qsizetype bytes = qsizetype(64) << 10;
inline constexpr int nestedTables = 8;
inline constexpr int nestedTags = 32;
inline constexpr int pictures = 32;
inline constexpr int cells = 1000;
inline constexpr int spannedCells = 32;
inline constexpr int wordLength = 1000;
/// Characters of the text, each counted double for every table around it.
inline constexpr qint64 work = 2 * bytes;

} // namespace hintlimits

/// Which of the limits the hint passes, as a line for whoever writes hints; empty when it keeps
/// all.
[[nodiscard]] QString hintFault(const HintEntry& hint);
