#include "publish/CommandLine.h"
#include "publish/Commands.h"
#include "publish/Inventory.h"
#include "publish/QuantityText.h"

#include <QJsonArray>

#include <algorithm>

namespace publish {

namespace {

// The outlook for more versions than this is in the JSON only.
constexpr qsizetype outlooksTold = 4;

QString buildLine(const ListedVersion& version, const ListedBuild& build)
{
    return QStringLiteral("%1  %2, %3, %4 to download; %5 in no other version")
        .arg(build.published.toString(QStringLiteral("yyyy-MM-dd HH:mm")),
             countText(build.files, "file"), sizeText(build.unpackedBytes),
             sizeText(build.packedBytes), sizeText(version.ownBytes));
}

QString currentText(const ListedBuild& build)
{
    QStringList words;
    if (build.isCurrent)
        words.append(QStringLiteral("current"));
    if (!build.channels.isEmpty())
        words.append(QStringLiteral("in ") + build.channels.join(QLatin1StringView(", ")));
    return words.join(u' ');
}

QStringList productLines(const ListedProduct& listed)
{
    qsizetype versionWidth = 0;
    qsizetype platformWidth = 0;
    qsizetype currentWidth = 0;
    for (const ListedVersion& version : listed.versions) {
        versionWidth = std::max(versionWidth, version.version.size());
        for (const ListedBuild& build : version.builds) {
            platformWidth = std::max(platformWidth, build.platform.size());
            currentWidth = std::max(currentWidth, currentText(build).size());
        }
    }
    QStringList lines{listed.product.label()};
    for (const ListedVersion& version : listed.versions) {
        for (const ListedBuild& build : version.builds)
            lines.append(QStringLiteral("  %1  %2  %3  %4")
                             .arg(version.version.leftJustified(versionWidth),
                                  build.platform.leftJustified(platformWidth),
                                  currentText(build).leftJustified(currentWidth),
                                  buildLine(version, build)));
    }
    return lines;
}

QString signatureLine(const signedcontent::State& state)
{
    const QString where =
        state.channel.isEmpty() ? QString() : QStringLiteral(" in channel %1").arg(state.channel);
    if (state.terms.serial == 0)
        return QStringLiteral("not signed%1").arg(where);
    const QString until = state.terms.expires ? QStringLiteral("until %1").arg(*state.terms.expires)
                                              : QStringLiteral("for ever");
    const QString fault = state.fault.isEmpty() ? QString() : QLatin1StringView("; ") + state.fault;
    return QStringLiteral("signed%1: serial %2, %3%4")
        .arg(where)
        .arg(state.terms.serial)
        .arg(until, fault);
}

QStringList inventoryLines(const Inventory& inventory)
{
    QStringList lines;
    for (const ListedProduct& listed : inventory.products)
        lines += productLines(listed);
    QStringList outlooks;
    for (const PruneOutlook& outlook :
         inventory.pruning.first(std::min(inventory.pruning.size(), outlooksTold)))
        outlooks.append(
            QStringLiteral("%1 with --keep %2").arg(sizeText(outlook.bytes)).arg(outlook.keep));
    lines.append(QStringLiteral("packed files: %1, %2; pruning would free %3")
                     .arg(inventory.packedFiles)
                     .arg(sizeText(inventory.packedBytes), outlooks.join(QLatin1StringView(", "))));
    for (const signedcontent::State& state : inventory.signatures)
        lines.append(signatureLine(state));
    return lines;
}

QJsonObject signatureObject(const signedcontent::State& state)
{
    QJsonObject object{{QStringLiteral("channel"), state.channel},
                       {QStringLiteral("signed"), state.fault.isEmpty()},
                       {QStringLiteral("serial"), state.terms.serial}};
    if (state.terms.expires)
        object.insert(QStringLiteral("expires"), *state.terms.expires);
    return object;
}

QJsonObject versionObject(const ListedVersion& version)
{
    QJsonArray builds;
    for (const ListedBuild& build : version.builds)
        builds.append(QJsonObject{
            {QStringLiteral("platform"), build.platform},
            {QStringLiteral("current"), build.isCurrent},
            {QStringLiteral("channels"), QJsonArray::fromStringList(build.channels)},
            {QStringLiteral("published"), build.published.toUTC().toString(Qt::ISODate)},
            {QStringLiteral("files"), build.files},
            {QStringLiteral("unpackedbytes"), build.unpackedBytes},
            {QStringLiteral("packedbytes"), build.packedBytes},
        });
    return {{QStringLiteral("version"), version.version},
            {QStringLiteral("ownbytes"), version.ownBytes},
            {QStringLiteral("builds"), builds}};
}

QJsonObject inventoryObject(const Inventory& inventory)
{
    QJsonArray products;
    for (const ListedProduct& listed : inventory.products) {
        QJsonArray versions;
        for (const ListedVersion& version : listed.versions)
            versions.append(versionObject(version));
        products.append(QJsonObject{{QStringLiteral("launcher"), listed.product.isLauncher},
                                    {QStringLiteral("directory"), listed.product.directory},
                                    {QStringLiteral("versions"), versions}});
    }
    QJsonArray pruning;
    for (const PruneOutlook& outlook : inventory.pruning)
        pruning.append(QJsonObject{{QStringLiteral("keep"), outlook.keep},
                                   {QStringLiteral("removedfiles"), outlook.files},
                                   {QStringLiteral("removedbytes"), outlook.bytes}});
    QJsonArray signatures;
    for (const signedcontent::State& state : inventory.signatures)
        signatures.append(signatureObject(state));
    return {{QStringLiteral("products"), products},
            {QStringLiteral("packedfiles"), inventory.packedFiles},
            {QStringLiteral("packedbytes"), inventory.packedBytes},
            {QStringLiteral("pruning"), pruning},
            {QStringLiteral("signatures"), signatures}};
}

} // namespace

int commands::list(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("list"),
                     QStringLiteral("Lists the published versions, oldest first: what is current, "
                                    "when each was published, how large it is, and what pruning "
                                    "would free. Reads documents only, and writes nothing."),
                     {QStringLiteral("CONTENT")});
    if (const auto code = line.parse(arguments))
        return *code;
    Console console(line.outputMode());
    Inventory inventory;
    const QStringList faults = takeInventory(line.argument(0), console, inventory);
    if (!faults.isEmpty())
        return console.fail(faults);
    return console.succeed(inventoryLines(inventory), inventoryObject(inventory));
}

} // namespace publish
