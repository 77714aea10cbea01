#include "shared/Hints.h"

#include "package/HintLimits.h"
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

namespace {

qsizetype randomIndex(qsizetype size)
{
    // Drawing again, rather than taking a remainder, keeps every hint equally likely.
    const auto count = static_cast<quint64>(size);
    const quint64 mask = std::bit_ceil(count) - 1;
    quint64 index = 0;
    do {
        index = QRandomGenerator64::global()->generate() & mask;
    } while (index >= count);
    return static_cast<qsizetype>(index);
}

} // namespace

HintEntry pickRandomHint(const QList<HintEntry>& hints)
{
    return hints.isEmpty() ? HintEntry() : hints.at(randomIndex(hints.size()));
}

HintEntry pickShowableHint(QList<HintEntry> hints)
{
    while (!hints.isEmpty()) {
        const qsizetype index = randomIndex(hints.size());
        if (hintFault(hints.at(index)).isEmpty())
            return hints.at(index);
        hints.swapItemsAt(index, hints.size() - 1);
        hints.removeLast();
    }
    return {};
}

QString rewriteHintHtml(const QString& html, const QString& base)
{
    QString target = base;
    while (target.endsWith(u'/'))
        target.chop(1);
    const QString host = QUrl(buildvalues::defaultCdnUrl()).authority();
    // Each step also goes over what those before it have put in: a base that is the host's address
    // with a port behind it would get the port twice. Published servers have none.
    QString result = html;
    result.replace(QLatin1StringView("\"/images/"), u'"' + target + QLatin1StringView("/images/"));
    result.replace(QLatin1StringView("https://") + host, target);
    result.replace(QLatin1StringView("http://") + host, target);
    return result;
}
