#pragma once

#include "package/TurnFunction.h"

#include <chrono>

/// What became of one attempt at a file that another program may hold open.
enum class FileAttempt {
    Done,
    /// Another program is in the way; it may be gone in a moment.
    Held,
    /// It cannot be moved, since its place is on another volume.
    OtherVolume,
    Failed,
};

/// A virus scanner lets go of a file within a moment of its being written; a game that still runs
/// does not. No player should have to wait longer than this for either.
inline constexpr std::chrono::milliseconds heldFilePatience{2000};

/// Makes the attempt and, while the file is held, makes it again every few hundredths of a second
/// until `patience` is over. `turn` is called many times in between, so that the window stays
/// alive; when it returns false the waiting ends. True when an attempt came to Done.
[[nodiscard]] bool tryWhileHeld(const std::function<FileAttempt()>& attempt,
                                const TurnFunction& turn,
                                std::chrono::milliseconds patience = heldFilePatience);
