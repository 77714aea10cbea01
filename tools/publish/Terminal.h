#pragma once

#include <QString>

/// The program's own two streams. Text goes to files and pipes as UTF-8 with "\n" at the ends of
/// lines, the same on every system, and to a terminal in whatever shows each character as it is.
enum class Stream {
    Output,
    Errors,
};

/// Writes the text and does not hold it back.
void print(Stream stream, const QString& text);

/// Whether somebody looks at the stream who sees a line change that is written over.
[[nodiscard]] bool isTerminal(Stream stream);
