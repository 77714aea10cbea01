#include "shared/Hints.h"

#include "shared/BuildValues.h"

#include <QFile>
#include <QRandomGenerator64>
#include <QUrl>

#include <algorithm>
#include <bit>

QList<HintEntry> loadEmbeddedHints()
{
    QFile file(QStringLiteral(":/hints.json"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parseHints(file.readAll());
}

bool hintsHaveRichContent(const QList<HintEntry>& hints)
{
    return std::any_of(hints.begin(), hints.end(), isRichHint);
}

HintEntry pickRandomHint(const QList<HintEntry>& hints)
{
    if (hints.isEmpty())
        return {};
    // Drawing again, rather than taking a remainder, keeps every hint equally likely.
    const auto count = static_cast<quint64>(hints.size());
    const quint64 mask = std::bit_ceil(count) - 1;
    quint64 index = 0;
    do {
        index = QRandomGenerator64::global()->generate() & mask;
    } while (index >= count);
    return hints.at(static_cast<qsizetype>(index));
}

QString rewriteHintHtml(const QString& html, const QString& base)
{
    QString target = base;
    while (target.endsWith(u'/'))
        target.chop(1);
    const QString host = QUrl(buildvalues::defaultCdnUrl()).authority();
    // Root-relative addresses first: what the other two steps make root-relative (with an empty
    // base) must stay so.
    QString result = html;
    result.replace(QLatin1StringView("\"/images/"), u'"' + target + QLatin1StringView("/images/"));
    result.replace(QLatin1StringView("https://") + host, target);
    result.replace(QLatin1StringView("http://") + host, target);
    return result;
}
