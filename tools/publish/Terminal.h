#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace publish {

/// The program's own two streams. Text goes to files and pipes as UTF-8 with "\n" at the ends of
/// lines, the same on every system, and to a terminal in whatever shows each character as it is.
enum class Stream {
    Output,
    Errors,
};

/// The text with "\u001b" and the like in place of characters that a terminal obeys instead of
/// showing them, that end a line, or that turn the order of others around. Names come from folders,
/// documents and servers, and whoever makes them must not write lines of their own into a log.
/// Within JSON that is the same text.
[[nodiscard]] QString visibleText(const QString& text);

/// Writes each line as visibleText() has it, with "\n" behind it, and holds nothing back. False
/// when the system did not take all of it.
[[nodiscard]] bool printLines(Stream stream, const QStringList& lines);

/// Draws the line over the last one that was drawn, whose length is `drawn`, and returns its own.
[[nodiscard]] qsizetype drawLine(Stream stream, const QString& line, qsizetype drawn);

/// Whether somebody looks at the stream who sees a line change that is written over.
[[nodiscard]] bool isTerminal(Stream stream);

/// What the above write with: the text as it is. False when the system did not take all of it.
[[nodiscard]] bool writeText(Stream stream, const QString& text);

/// Whether somebody types the standard input.
[[nodiscard]] bool isInputTyped();

/// Hands over the bytes of the next line of standard input, without its end and without taking
/// anything behind it. Where somebody types, the line is not shown; it is UTF-8 on Windows, too.
/// False when the input has ended, or when the user breaks it off.
[[nodiscard]] bool readHiddenLine(const std::function<void(char byte)>& take);

} // namespace publish
