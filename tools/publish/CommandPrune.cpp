#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/Prune.h"
#include "publish/QuantityText.h"
#include "publish/SigningOptions.h"

#include <QJsonArray>

namespace publish {

namespace {

QString pruneLine(const PruneReport& report, bool dryRun)
{
    const qsizetype left = report.keptVersions.size();
    return QStringLiteral("%1 %2 and %3 of %4; %5 %6")
        .arg(dryRun ? QStringLiteral("would remove") : QStringLiteral("removed"),
             countText(report.removedVersions.size(), "version"),
             countText(report.removedFiles, "packed file"), sizeText(report.removedBytes),
             countText(left, "version"),
             left == 1 ? QStringLiteral("stays") : QStringLiteral("stay"));
}

QJsonObject pruneObject(const PruneReport& report)
{
    return {{QStringLiteral("kept"), QJsonArray::fromStringList(report.keptVersions)},
            {QStringLiteral("removed"), QJsonArray::fromStringList(report.removedVersions)},
            {QStringLiteral("removedfiles"), report.removedFiles},
            {QStringLiteral("removedbytes"), report.removedBytes}};
}

} // namespace

int commands::prune(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("prune"),
        QStringLiteral("Removes old versions, and packed files that no version needs "
                       "any more. A player who is just installing an old version fails "
                       "and starts over, so keep the versions that were current "
                       "recently."),
        {QStringLiteral("CONTENT")});
    line.addOption("keep",
                   "How many of the latest versions to keep besides the current one; each package "
                   "and the launcher are counted separately.",
                   "N");
    line.addOption("dry-run", "Only tells what would be removed; needs no write permission.");
    addSigningOptions(line);
    line.require("keep");
    if (const auto code = line.parse(arguments))
        return *code;
    if (const auto code = checkSigningOptions(line))
        return *code;
    bool isNumber = false;
    const int keep = line.value("keep").toInt(&isNumber);
    if (!isNumber || keep < 0)
        return line.wrongUsage(
            QStringLiteral("'%1' is not a number of versions").arg(line.value("keep")));
    Console console(line.outputMode());
    PruneReport report;
    const bool dryRun = line.isSet("dry-run");
    QString error;
    const auto signing = dryRun ? Signing() : readSigning(line, &error);
    if (!signing)
        return console.fail({error});
    const QStringList faults =
        pruneVersions(line.argument(0), keep, dryRun, console, report, *signing);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed({pruneLine(report, dryRun)}, pruneObject(report));
}

} // namespace publish
