#include "publish/SwitchVersion.h"

#include "publish/Addresses.h"
#include "publish/AssetsIdentity.h"
#include "publish/Channels.h"
#include "publish/Comparison.h"
#include "publish/ContentFolder.h"
#include "publish/FolderSource.h"
#include "publish/JobRunner.h"
#include "publish/MetadataDocument.h"
#include "publish/MetadataWriter.h"
#include "publish/PathChanges.h"
#include "publish/PendingMetadata.h"
#include "publish/Progress.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"

namespace publish {

namespace {

// Looking at the files of one version is done in a moment.
class SilentProgress : public Progress
{
public:
    void begin(const QString&, qint64, qint64) override {}
    void advance(qint64, qint64) override {}
    void end() override {}
    void warn(const QString&) override {}
};

// The folder, but with what waits for its signature in place of what is current.
class PendingSource : public FolderSource
{
public:
    PendingSource(const QString& content, QByteArray metadata)
        : FolderSource(content)
        , m_metadata(std::move(metadata))
    {}

    QByteArray fetch(const QString& address, QString* error) override
    {
        return address == addresses::metadata ? m_metadata : FolderSource::fetch(address, error);
    }

private:
    QByteArray m_metadata;
};

std::unique_ptr<ContentSource> sourceOf(const SwitchRequest& request,
                                        const MetadataDocument& published)
{
    return std::make_unique<PendingSource>(request.content, published.bytes());
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
        QStringList names;
        for (const Product& package : std::as_const(packages))
            names.append(package.directory);
        *error = packages.isEmpty()
                     ? QStringLiteral("no package was published")
                     : QStringLiteral("there are several packages: %1; give one as --directory")
                           .arg(names.join(QLatin1StringView(", ")));
        return false;
    }
    product = packages.first();
    return true;
}

// Whatever is left of the version there: what is missing is told when it is looked at.
bool hasVersion(const ContentFolder& tree, const Product& product, const QString& version,
                const Platform& platform)
{
    return tree.exists(product.versionFolder(version) + platform.folderName());
}

// Unless one is asked for: all platforms, or the only one that has the version. Empty when there is
// none, or when it is unclear which are meant.
QList<Platform> findPlatforms(const ContentFolder& tree, const SwitchRequest& request,
                              const MetadataDocument& published, const Product& product,
                              QString* error)
{
    const QStringList history = published.history(product);
    const QList<Platform> known = published.publishedPlatforms(product);
    if (request.platform && !known.contains(*request.platform)) {
        *error = QStringLiteral("%1 has no build for %2")
                     .arg(product.label(), request.platform->label());
        return {};
    }
    QList<Platform> having;
    QStringList names;
    for (const Platform& platform : known) {
        if (history.contains(request.version) && request.platform.value_or(platform) == platform &&
            hasVersion(tree, product, request.version, platform)) {
            having.append(platform);
            names.append(platform.label());
        }
    }
    if (having.size() == 1 || having == known)
        return having;
    const QString where =
        request.platform ? QLatin1StringView(" for ") + request.platform->label() : QString();
    *error = having.isEmpty()
                 ? QStringLiteral("%1 has no version %2%3; there are: %4")
                       .arg(product.label(), request.version, where,
                            history.join(QLatin1StringView(", ")))
                 : QStringLiteral("%1 %2 has builds for %3 only; give one as --os and "
                                  "--architecture")
                       .arg(product.label(), request.version, names.join(QLatin1StringView(", ")));
    return {};
}

// Players would have it as soon as it is current, so it is looked at first.
QStringList versionFaults(ContentSource& source, const SwitchRequest& request,
                          const Product& product, const Platform& platform)
{
    SilentProgress progress;
    VerifyReport report;
    QStringList faults = verifyContent(
        source, {true, false, request.version, {}, product, platform}, {}, progress, report);
    constexpr qsizetype most = 10;
    if (faults.size() > most) {
        const qsizetype others = faults.size() - most;
        faults = faults.first(most);
        faults.append(QStringLiteral("and %1 more; 'verify --version %2' lists them all")
                          .arg(others)
                          .arg(request.version));
    }
    if (!faults.isEmpty())
        faults.prepend(
            QStringLiteral("version %1 is damaged and was not made current").arg(request.version));
    return faults;
}

// A launcher makes no folder where a file is, nor the reverse.
QStringList pathFaultsOver(const ContentFolder& tree, const SwitchRequest& request,
                           const MetadataDocument& published, const Product& product,
                           const Platform& platform, const QString& currentDocument)
{
    const QString current = addresses::onServer(currentDocument);
    for (const QString& version : published.history(product)) {
        if (version == request.version || !current.startsWith(product.versionFolder(version)))
            continue;
        QStringList paths;
        for (const OrlFile& file :
             publishedFiles(tree, product.versionFolder(request.version) + platform.folderName()))
            paths.append(file.localfile);
        return pathChangeFaults(tree, product, platform, {version}, request.version, paths,
                                QStringLiteral("Publish it under another name, in a new version"));
    }
    return {};
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
    // Present addresses go on beginning as they do.
    metadata.setBuild(product, platform,
                      buildAddresses(addresses::prefixOf(old.document), folder, identity));
    return true;
}

// What is wrong with the version that would be current in place of `metadata`.
QStringList faultsOf(const ContentFolder& tree, ContentSource& source, const SwitchRequest& request,
                     const MetadataDocument& published, const MetadataDocument& metadata,
                     const Product& product, const Platform& platform)
{
    const QStringList faults = versionFaults(source, request, product, platform);
    return faults.isEmpty() ? pathFaultsOver(tree, request, published, product, platform,
                                             metadata.build(product, platform).document)
                            : faults;
}

QStringList switchInTree(ContentFolder& tree, const SwitchRequest& request)
{
    QString error;
    const auto read = request.stage ? pending::read : channels::read;
    const auto published = read(tree, QString(), &error);
    auto metadata = read(tree, request.channel, &error);
    Product product;
    if (!published || !metadata || !findProduct(request, *published, product, &error))
        return {error};
    metadata->addProductOf(*published, product);
    const auto platforms = findPlatforms(tree, request, *published, product, &error);
    if (platforms.isEmpty())
        return {error};
    const auto source = sourceOf(request, *published);
    for (const Platform& platform : platforms) {
        const QStringList faults =
            faultsOf(tree, *source, request, *published, *metadata, product, platform);
        if (!faults.isEmpty())
            return faults;
    }
    for (const Platform& platform : platforms) {
        if (!switchBuild(tree, *metadata, product, platform, request.version, &error))
            return {error};
    }
    if (tree.exists(channels::hints(request.channel)) && !request.channel.isEmpty())
        metadata->setHints(channels::hintsInMetadata(QString(), request.channel));
    const auto when = request.stage ? MetadataWriter::When::Later : MetadataWriter::When::Now;
    const bool done =
        MetadataWriter(tree, request.signing, when).write(request.channel, *metadata, &error);
    return done ? QStringList() : QStringList(error);
}

// The platforms for which the document makes the version current.
QList<Platform> platformsWith(const MetadataDocument& document, const SwitchRequest& request,
                              const Product& product)
{
    QList<Platform> found = document.platforms(product);
    found.removeIf([&](const Platform& platform) {
        return request.platform.value_or(platform) != platform ||
               !addresses::onServer(document.build(product, platform).document)
                    .startsWith(product.versionFolder(request.version));
    });
    return found;
}

// Its signature holds for this document alone, so it becomes current as it is or not at all.
QStringList switchToPending(ContentFolder& tree, const SwitchRequest& request)
{
    QString error;
    const auto next = pending::read(tree, request.channel, &error);
    const auto current = channels::read(tree, request.channel, &error);
    const auto published = pending::read(tree, QString(), &error);
    Product product;
    if (!next || !current || !published || !findProduct(request, *next, product, &error))
        return {error};
    const QList<Platform> platforms = platformsWith(*next, request, product);
    if (platforms.isEmpty() && pending::isFresh(tree, request.channel))
        return {QStringLiteral("%1: does not make version %2 of %3 current")
                    .arg(tree.path(pending::address(request.channel)), request.version,
                         product.label())};
    const auto source = sourceOf(request, *published);
    for (const Platform& platform : platforms) {
        const QStringList faults =
            faultsOf(tree, *source, request, *published, *current, product, platform);
        if (!faults.isEmpty())
            return faults;
    }
    const bool done = pending::makeCurrent(tree, request.channel, request.signing.keys, &error);
    return done ? QStringList() : QStringList(error);
}

} // namespace

QStringList switchVersion(const SwitchRequest& request)
{
    ContentFolder tree(request.content);
    QString error = writingFault(tree, request.signing);
    const bool isForLater = canWaitForSignature(tree, request.signing);
    const bool isPending = request.stage || tree.exists(pending::address(request.channel));
    if (!error.isEmpty() && !(isForLater && isPending))
        return {error};
    if (request.stage && !isForLater)
        return {QStringLiteral("--stage is for content that is signed on another machine")};
    const bool isOpen = channels::isPublished(tree, &error) &&
                        tree.openForWriting(&error, ContentFolder::Purpose::WayOut);
    if (!isOpen)
        return {error};
    return isForLater && !request.stage ? switchToPending(tree, request)
                                        : switchInTree(tree, request);
}

} // namespace publish
