#include "publish/AssetsIdentity.h"
#include "publish/ContentFolder.h"
#include "publish/Maintenance.h"
#include "publish/MetadataDocument.h"

#include <algorithm>

namespace {

// What stands before "/launcher/" in the build's present addresses goes on standing there.
QString prefixOf(const QString& address)
{
    return address.first(std::max<qsizetype>(address.indexOf(QLatin1StringView("/launcher/")), 0));
}

bool findProduct(const SwitchRequest& request, const MetadataDocument& metadata, Product& product,
                 QString* error)
{
    if (request.product) {
        product = *request.product;
        if (metadata.hasProduct(product))
            return true;
        *error = QStringLiteral("nothing was published of %1").arg(product.label());
        return false;
    }
    QList<Product> packages = metadata.products();
    packages.removeIf([](const Product& candidate) { return candidate.isLauncher; });
    if (packages.size() != 1) {
        *error = packages.isEmpty() ? QStringLiteral("no package was published")
                                    : QStringLiteral("there are several packages; name one");
        return false;
    }
    product = packages.first();
    return true;
}

bool canSwitch(const ContentFolder& tree, const MetadataDocument& metadata, const Product& product,
               const Platform& platform, const QString& version, QString* error)
{
    const QString folder = product.versionFolder(version) + platform.folderName();
    if (!metadata.platforms(product).contains(platform)) {
        *error = QStringLiteral("%1 has no build for %2 %3")
                     .arg(product.label(), platform.os, platform.architecture);
        return false;
    }
    if (!tree.exists(folder + addresses::packageDocument) ||
        !metadata.history(product).contains(version)) {
        const QStringList history = metadata.history(product);
        *error = QStringLiteral("%1 has no version %2 for %3 %4; there are: %5")
                     .arg(product.label(), version, platform.os, platform.architecture,
                          history.join(QLatin1StringView(", ")));
        return false;
    }
    return true;
}

bool switchBuild(ContentFolder& tree, MetadataDocument& metadata, const Product& product,
                 const Platform& platform, const QString& version, QString* error)
{
    const QString folder = product.versionFolder(version) + platform.folderName();
    const BuildAddresses old = metadata.build(product, platform);
    QString identity;
    if (!assetsidentity::provide(tree, folder, assetsidentity::servedAt(tree, old.assetsVersion),
                                 identity, error))
        return false;
    const QString prefix = prefixOf(old.document);
    metadata.setBuild(product, platform,
                      {prefix + folder + addresses::packageDocument,
                       prefix + folder + addresses::versionText,
                       identity.isEmpty() ? QString() : prefix + folder + addresses::assetList,
                       identity.isEmpty() ? QString() : prefix + identity});
    return true;
}

bool switchAll(ContentFolder& tree, const SwitchRequest& request, QString* error)
{
    const QByteArray old = tree.read(addresses::metadata);
    auto metadata = MetadataDocument::read(old, error);
    Product product;
    if (!metadata || !findProduct(request, *metadata, product, error))
        return false;
    const QList<Platform> platforms =
        request.platform ? QList<Platform>{*request.platform} : metadata->platforms(product);
    const auto forAll = [&platforms](const auto& step) {
        return std::all_of(platforms.begin(), platforms.end(), step);
    };
    // All builds or none: nothing is written before each of them has been looked at.
    const bool done =
        forAll([&](const Platform& platform) {
            return canSwitch(tree, *metadata, product, platform, request.version, error);
        }) &&
        forAll([&](const Platform& platform) {
            return switchBuild(tree, *metadata, product, platform, request.version, error);
        });
    if (!done)
        return false;
    const QByteArray bytes = metadata->bytes();
    return bytes == old || tree.replace(addresses::metadata, bytes, error);
}

} // namespace

QStringList switchVersion(const SwitchRequest& request)
{
    ContentFolder tree(request.content);
    if (!tree.exists(addresses::metadata))
        return {QStringLiteral("%1: nothing is published here").arg(request.content)};
    QString error;
    return tree.openForWriting(&error) && switchAll(tree, request, &error) ? QStringList()
                                                                           : QStringList(error);
}
