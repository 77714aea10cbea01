#pragma once

#include <QtGlobal>

#include <limits>

/// The sum of two sizes that may come from a server, held at the limits of 64 bits.
[[nodiscard]] constexpr qint64 addSizes(qint64 a, qint64 b)
{
    if (b > 0 && a > std::numeric_limits<qint64>::max() - b)
        return std::numeric_limits<qint64>::max();
    if (b < 0 && a < std::numeric_limits<qint64>::min() - b)
        return std::numeric_limits<qint64>::min();
    return a + b;
}

/// The number truncated toward zero and held at the limits of 64 bits. Not for NaN.
[[nodiscard]] constexpr qint64 saturatedInt64(double value)
{
    // 2^63 is a double, the largest 64-bit integer is not: everything from there up would overflow.
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit)
        return std::numeric_limits<qint64>::max();
    if (value <= -limit)
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(value);
}
