#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <string>

// What the benchmark programs share.

/// CLOCK_MONOTONIC, the clock that measurements of several processes are compared by.
[[nodiscard]] std::int64_t monotonicNs();

/// Highest resident memory of this process so far, in MB of 10^6 bytes.
[[nodiscard]] double peakMemoryMb();

/// Bytes that pack to about half their size, like a game's files: text of a small vocabulary
/// mixed with noise. The same seed gives the same bytes.
[[nodiscard]] QByteArray payload(qsizetype size, std::uint32_t seed);

/// A whole LZMA "alone" file with the size in its header.
[[nodiscard]] QByteArray packed(const QByteArray& bytes);

/// Prints one figure: name, value with one digit, unit.
void printFigure(const char* name, double value, const char* unit);
