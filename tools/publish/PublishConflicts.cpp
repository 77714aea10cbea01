#include "publish/PublishConflicts.h"

#include "publish/MetadataDocument.h"
#include "publish/NameRules.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/UsedVersions.h"

namespace publish {

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

QString productNameFault(const Product& product, const Platform& platform,
                         const MetadataDocument& metadata)
{
    const auto fault = [](const QString& name, const QString& other) {
        return QStringLiteral("%1 differs from %2 in case only; Windows has one folder for both")
            .arg(name, other);
    };
    for (const Product& other : metadata.products()) {
        if (!product.isLauncher && !other.isLauncher && other != product &&
            !metadata.hasProduct(product) &&
            comparedName(other.directory) == comparedName(product.directory))
            return fault(QStringLiteral("the package ") + product.directory,
                         QStringLiteral("the package ") + other.directory);
    }
    const QList<Platform> known = metadata.publishedPlatforms(product);
    for (const Platform& other : known) {
        if (!known.contains(platform) &&
            comparedName(other.folderName()) == comparedName(platform.folderName()))
            return fault(
                QStringLiteral("the platform '%1' '%2'").arg(platform.os, platform.architecture),
                QStringLiteral("'%1' '%2', which was published before,")
                    .arg(other.os, other.architecture));
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

} // namespace publish
