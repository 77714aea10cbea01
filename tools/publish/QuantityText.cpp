#include "publish/QuantityText.h"

#include <QLocale>

namespace publish {

QString countText(qint64 count, const char* one)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(
        QLatin1StringView(one), count == 1 ? QLatin1StringView() : QLatin1StringView("s"));
}

QString sizeText(qint64 bytes)
{
    // Decimal units: those of a line's rate, and of the stores that bill for them.
    return QLocale::c().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString durationText(qint64 seconds)
{
    const QString tail = QStringLiteral("%1:%2")
                             .arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QChar(u'0'))
                             .arg(seconds % 60, 2, 10, QChar(u'0'));
    return seconds < 3600 ? tail : QStringLiteral("%1:%2").arg(seconds / 3600).arg(tail);
}

} // namespace publish
