#include "launcher/ProgressText.h"

#include "package/Sizes.h"

#include <algorithm>
#include <limits>

namespace {

// Megabytes with one digit behind the point while they are few.
QString megabytes(qint64 bytes)
{
    constexpr qint64 tenMegabytes = 10'000'000;
    return QString::number(static_cast<double>(bytes) / 1e6, 'f', bytes < tenMegabytes ? 1 : 0);
}

qint64 percentOf(qint64 bytes, qint64 total)
{
    constexpr qint64 limit = std::numeric_limits<qint64>::max() / 100;
    if (bytes > limit || bytes < -limit)
        return saturatedInt64(static_cast<double>(bytes) / static_cast<double>(total) * 100.0);
    return bytes * 100 / total;
}

} // namespace

int percentDone(qint64 bytes, qint64 total)
{
    return static_cast<int>(std::clamp<qint64>(percentOf(bytes, total), 0, 100));
}

QString etaText(qint64 bytes, qint64 total, qint64 elapsedMs)
{
    const double seconds = static_cast<double>(std::max<qint64>(elapsedMs, 1)) / 1000.0;
    const double rate = static_cast<double>(bytes) / seconds;
    const bool isKnown = rate > 1.0 && bytes < total;
    const qint64 eta =
        isKnown ? saturatedInt64((static_cast<double>(total) - static_cast<double>(bytes)) / rate)
                : 0;
    const qint64 hours = eta / 3600;
    const qint64 minutes = (eta - hours * 3600) / 60;
    const qint64 rest = eta - (eta / 60) * 60;
    return QStringLiteral("ETA %1:%2:%3 %4 kB/s %5/%6 mB")
        .arg(hours, 2, 10, QLatin1Char('0'))
        .arg(minutes, 2, 10, QLatin1Char('0'))
        .arg(rest, 2, 10, QLatin1Char('0'))
        .arg(saturatedInt64(rate / 1000.0))
        .arg(megabytes(bytes), megabytes(total > 0 ? total : bytes));
}
