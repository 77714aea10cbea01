#include "publish/PublishedBefore.h"

#include "publish/InputFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/PackStore.h"
#include "publish/UsedVersions.h"

QString versionNameFault(const QString& version, const QStringList& others)
{
    for (const QString& other : others) {
        // On Windows both would have one folder.
        if (other != version && other.compare(version, Qt::CaseInsensitive) == 0)
            return QStringLiteral("version %1 differs from version %2 in case only")
                .arg(version, other);
    }
    return {};
}

QString packageNameFault(const Product& product, const MetadataDocument& metadata)
{
    if (product.isLauncher || metadata.hasProduct(product))
        return {};
    for (const Product& other : metadata.products()) {
        if (!other.isLauncher && other != product &&
            comparedName(other.directory) == comparedName(product.directory))
            return QStringLiteral(
                       "the package %1 differs from the package %2 in case only; Windows "
                       "has one folder for both")
                .arg(product.directory, other.directory);
    }
    return {};
}

QString removedBuildFault(const UsedVersions& used, const QString& buildFolder,
                          const Product& product, const QString& version)
{
    const auto removed = used.removed(buildFolder);
    if (!removed)
        return {};
    return QStringLiteral("version %1 of %2 was removed on %3, and caches may hold its documents "
                          "until %4; give another version")
        .arg(version, product.label(), removed->date().toString(Qt::ISODate),
             UsedVersions::heldUntil(*removed).date().toString(Qt::ISODate));
}

bool isSameContent(const QList<OrlFile>& published, const QList<InputFile>& files,
                   const QStringList& hashes)
{
    if (published.size() != files.size())
        return false;
    for (qsizetype i = 0; i < published.size(); ++i) {
        if (published.at(i).localfile != files.at(i).localfile ||
            published.at(i).unpackedhash != hashes.at(i))
            return false;
    }
    return true;
}

QString mendingFault(const QList<OrlFile>& published, const QStringList& hashes,
                     const PackStore& store)
{
    for (qsizetype i = 0; i < published.size(); ++i) {
        if (published.at(i).packedhash != store.packed(hashes.at(i)).packedhash)
            return QStringLiteral("%1: its packed file was damaged, and packing at this --level "
                                  "does not mend it; give a new version")
                .arg(published.at(i).localfile);
    }
    return {};
}
