#include "publish/QuantityText.h"

#include <array>

namespace publish {

QString countText(qint64 count, const char* one)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(
        QLatin1StringView(one), count == 1 ? QLatin1StringView() : QLatin1StringView("s"));
}

QString sizeText(qint64 bytes)
{
    static constexpr std::array units{"B", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 999.5 && unit + 1 < units.size()) {
        value /= 1000;
        ++unit;
    }
    return QStringLiteral("%1 %2").arg(
        QString::number(value, 'f', unit > 0 && value < 99.95 ? 1 : 0),
        QLatin1StringView(units[unit]));
}

QString durationText(qint64 seconds)
{
    const QString tail = QStringLiteral("%1:%2")
                             .arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QChar(u'0'))
                             .arg(seconds % 60, 2, 10, QChar(u'0'));
    return seconds < 3600 ? tail : QStringLiteral("%1:%2").arg(seconds / 3600).arg(tail);
}

} // namespace publish
