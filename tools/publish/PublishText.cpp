#include "publish/PublishText.h"

#include "publish/Console.h"
#include "publish/Publication.h"
#include "publish/PublishRequest.h"
#include "publish/QuantityText.h"

#include <QJsonArray>

#include <cmath>

namespace publish {

namespace {

QString placeText(const PublishRequest& request)
{
    if (request.stage)
        return request.dryRun ? QStringLiteral("would be staged") : QStringLiteral("is staged");
    const QString where = request.channel.isEmpty()
                              ? QString()
                              : QStringLiteral(" in channel %1").arg(request.channel);
    return (request.dryRun ? QStringLiteral("would become current")
                           : QStringLiteral("is current")) +
           where;
}

QString outcomeLine(const PublishRequest& request, const PublishReport& report)
{
    const QString line = QStringLiteral("%1 %2 %3: %4 and %5 of %6")
                             .arg(request.product.label(), request.version, placeText(request),
                                  countText(report.files, "file"),
                                  countText(report.assets, "asset"), sizeText(report.bytes));
    const QString work = request.dryRun ? QStringLiteral("; %1 of %2 to pack, %3 packed before")
                                        : QStringLiteral("; %1 packed to %2, %3 packed before");
    const QString mended =
        report.mended > 0
            ? QStringLiteral("; mended %1").arg(countText(report.mended, "damaged document"))
            : QString();
    return line + work.arg(report.packed).arg(sizeText(report.addedBytes)).arg(report.reused) +
           mended;
}

QString changesLine(const PublishReport& report)
{
    if (report.comparedWith.isEmpty())
        return QStringLiteral("there is no earlier version to compare with");
    const FileChanges& changes = report.changes;
    return QStringLiteral("compared with %1: %2 added, %3 changed, %4 removed, %5 the same")
        .arg(report.comparedWith)
        .arg(changes.added.size())
        .arg(changes.changed.size())
        .arg(changes.removed.size())
        .arg(changes.unchanged);
}

QString secondsText(double seconds)
{
    constexpr double minute = 60;
    return seconds < minute ? QString::number(seconds, 'f', 1) + QLatin1StringView(" s")
                            : durationText(std::llround(seconds));
}

// Contents that a dry run has not packed count with their full size.
QString costLine(const UpdateCost& cost, bool isUpperBound)
{
    const QString who = cost.version.isEmpty()
                            ? QStringLiteral("a new player")
                            : QStringLiteral("a player with %1").arg(cost.version);
    if (cost.files == 0)
        return who + QLatin1StringView(" downloads no file");
    return QStringLiteral("%1 downloads %2%3 in %4, %5 at %6 Mbit/s")
        .arg(who, isUpperBound ? QStringLiteral("at most ") : QString(), sizeText(cost.bytes),
             countText(cost.files, "file"), secondsText(referenceSeconds(cost.bytes)))
        .arg(referenceMbits);
}

QJsonObject costObject(const UpdateCost& cost)
{
    constexpr double steps = 10;
    QJsonObject object{
        {QStringLiteral("files"), cost.files},
        {QStringLiteral("bytes"), cost.bytes},
        {QStringLiteral("seconds"), std::round(referenceSeconds(cost.bytes) * steps) / steps}};
    if (!cost.version.isEmpty())
        object.insert(QStringLiteral("version"), cost.version);
    return object;
}

} // namespace

QStringList publishLines(const PublishRequest& request, const PublishReport& report)
{
    QStringList lines{outcomeLine(request, report), changesLine(report)};
    for (const UpdateCost& cost : report.costs)
        lines.append(costLine(cost, request.dryRun && report.packed > 0));
    if (!report.toSign.isEmpty())
        lines.append(toSignLine(report.toSign));
    return lines;
}

QString toSignLine(const QString& path)
{
    return QStringLiteral("%1 has to be signed; 'sign --signature FILE' takes the signature, and "
                          "'switch' makes it current then")
        .arg(path);
}

QJsonObject publishObject(const PublishRequest& request, const PublishReport& report)
{
    QJsonArray updates;
    for (const UpdateCost& cost : report.costs)
        updates.append(costObject(cost));
    QJsonObject object{
        {QStringLiteral("version"), request.version},
        {QStringLiteral("dryrun"), request.dryRun},
        {QStringLiteral("files"), report.files},
        {QStringLiteral("assets"), report.assets},
        {QStringLiteral("bytes"), report.bytes},
        {QStringLiteral("packed"), report.packed},
        {QStringLiteral("reused"), report.reused},
        {QStringLiteral("addedbytes"), report.addedBytes},
        {QStringLiteral("unchanged"), report.unchanged},
        {QStringLiteral("mended"), report.mended},
        {QStringLiteral("comparedwith"), report.comparedWith},
        {QStringLiteral("added"), QJsonArray::fromStringList(report.changes.added)},
        {QStringLiteral("changed"), QJsonArray::fromStringList(report.changes.changed)},
        {QStringLiteral("removed"), QJsonArray::fromStringList(report.changes.removed)},
        {QStringLiteral("same"), report.changes.unchanged},
        {QStringLiteral("downloads"), updates},
    };
    if (!report.toSign.isEmpty())
        object.insert(QStringLiteral("tosign"), report.toSign);
    return object;
}

} // namespace publish
