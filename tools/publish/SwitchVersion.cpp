#include "publish/AssetsIdentity.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/Maintenance.h"
#include "publish/MetadataDocument.h"

#include <algorithm>

namespace {

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

// Every build that is current, and those of the version that have never been.
QList<Platform> platformsOf(const ContentFolder& tree, const MetadataDocument& published,
                            const MetadataDocument& metadata, const Product& product,
                            const QString& version)
{
    QList<Platform> found = metadata.platforms(product);
    for (const Platform& platform : published.publishedPlatforms(product)) {
        const QString folder = product.versionFolder(version) + platform.folderName();
        if (!found.contains(platform) && tree.exists(folder + addresses::packageDocument))
            found.append(platform);
    }
    return found;
}

bool canSwitch(const ContentFolder& tree, const QStringList& history, const QList<Platform>& known,
               const Product& product, const Platform& platform, const QString& version,
               QString* error)
{
    const QString folder = product.versionFolder(version) + platform.folderName();
    if (!known.contains(platform)) {
        *error = QStringLiteral("%1 has no build for %2 %3")
                     .arg(product.label(), platform.os, platform.architecture);
        return false;
    }
    if (!tree.exists(folder + addresses::packageDocument) || !history.contains(version)) {
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
    // It goes on standing there.
    const QString prefix = addresses::prefixOf(old.document);
    metadata.setBuild(product, platform,
                      {prefix + folder + addresses::packageDocument,
                       prefix + folder + addresses::versionText,
                       identity.isEmpty() ? QString() : prefix + folder + addresses::assetList,
                       identity.isEmpty() ? QString() : prefix + identity});
    return true;
}

bool switchAll(ContentFolder& tree, const SwitchRequest& request, QString* error)
{
    const auto published = channels::read(tree, QString(), error);
    auto metadata = channels::read(tree, request.channel, error);
    Product product;
    if (!published || !metadata || !findProduct(request, *published, product, error))
        return false;
    metadata->addProductOf(*published, product);
    const QList<Platform> known =
        platformsOf(tree, *published, *metadata, product, request.version);
    const QStringList history = published->history(product);
    if (known.isEmpty() && !request.platform) {
        *error = QStringLiteral("%1 has no version %2; there are: %3")
                     .arg(product.label(), request.version, history.join(QLatin1StringView(", ")));
        return false;
    }
    const QList<Platform> platforms = request.platform ? QList{*request.platform} : known;
    const auto forAll = [&platforms](const auto& step) {
        return std::all_of(platforms.begin(), platforms.end(), step);
    };
    // All builds or none: nothing is written before each of them has been looked at.
    const bool done =
        forAll([&](const Platform& platform) {
            return canSwitch(tree, history, known, product, platform, request.version, error);
        }) &&
        forAll([&](const Platform& platform) {
            return switchBuild(tree, *metadata, product, platform, request.version, error);
        });
    if (!done)
        return false;
    if (tree.exists(channels::hints(request.channel)) && !request.channel.isEmpty())
        metadata->setHints(channels::hintsInMetadata(QString(), request.channel));
    const QString address = channels::metadata(request.channel);
    const QByteArray bytes = metadata->bytes();
    return bytes == tree.read(address) || tree.replace(address, bytes, error);
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
