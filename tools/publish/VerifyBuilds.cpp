#include "publish/VerifyBuilds.h"

#include "publish/Addresses.h"
#include "publish/ContentSource.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/VerifyOptions.h"

#include <QSet>

#include <algorithm>

namespace publish {

namespace {

Platform platformOf(const LauncherBuild& build)
{
    return {build.os, build.architecture};
}

QString folderOf(const Product& product, const QString& version, const Platform& platform)
{
    return product.versionFolder(version) + platform.folderName();
}

// What stands before the addresses of the product's current builds.
QString prefixFor(const MetadataDocument& metadata, const Product& product)
{
    const QList<Platform> platforms = metadata.platforms(product);
    return platforms.isEmpty()
               ? QString()
               : addresses::prefixOf(metadata.build(product, platforms.first()).document);
}

// Which of the documents are there, each asked for once.
QSet<QString> presentOf(const QStringList& documents, ContentSource& source)
{
    QSet<QString> present;
    source.look(documents, [&](qsizetype index, const Presence& presence) {
        if (presence.fault.isEmpty())
            present.insert(documents.at(index));
    });
    return present;
}

BuildToVerify publishedBuild(const Product& product, const QString& version,
                             const Platform& platform, const QString& folder, bool hasAssets)
{
    LauncherBuild build;
    build.os = platform.os;
    build.architecture = platform.architecture;
    build.url = QUrl(folder + addresses::packageDocument);
    build.versionurl = QUrl(folder + addresses::versionText);
    if (hasAssets)
        build.assetsurl = QUrl(folder + addresses::assetList);
    return {build, product, version};
}

bool isWanted(const VerifyOptions& options, const Product& product, const QString& version)
{
    return (options.version.isEmpty() || options.version == version) &&
           options.product.value_or(product) == product;
}

struct Candidate
{
    Product product;
    QString version;
    Platform platform;
    QString folder;
};

QList<Candidate> candidatesOf(const MetadataDocument& metadata, const VerifyOptions& options)
{
    QList<Candidate> candidates;
    for (const Product& product : metadata.products()) {
        const QString prefix = prefixFor(metadata, product);
        for (const QString& version : metadata.history(product)) {
            if (!isWanted(options, product, version))
                continue;
            for (const Platform& platform : metadata.publishedPlatforms(product)) {
                if (options.platform.value_or(platform) == platform)
                    candidates.append({product, version, platform,
                                       prefix + folderOf(product, version, platform)});
            }
        }
    }
    return candidates;
}

bool isCurrent(const MetadataDocument& metadata, const Candidate& candidate)
{
    return addresses::onServer(metadata.build(candidate.product, candidate.platform).document) ==
           addresses::onServer(candidate.folder + addresses::packageDocument);
}

} // namespace

BuildToVerify currentBuild(const LauncherBuild& build, const Product& product,
                           const MetadataDocument& metadata)
{
    const QString folder = addresses::onServer(build.url.toString());
    for (const QString& version : metadata.history(product)) {
        if (folder.startsWith(product.versionFolder(version)))
            return {build, product, version, true};
    }
    return {build, product, {}, true};
}

QList<BuildToVerify> publishedBuilds(const MetadataDocument& metadata, const VerifyOptions& options,
                                     ContentSource& source, QStringList& faults)
{
    const QList<Candidate> candidates = candidatesOf(metadata, options);
    QStringList documents;
    for (const Candidate& candidate : candidates) {
        documents.append(candidate.folder + addresses::packageDocument);
        documents.append(candidate.folder + addresses::assetList);
    }
    // What was noted has been there, so that it is a fault when it is not.
    QSet<QString> present = presentOf(documents, source);
    for (const QString& document : std::as_const(documents)) {
        if (!source.notedHash(document).isEmpty())
            present.insert(document);
    }
    // A version need not have a build for every platform.
    QSet<QString> found;
    for (const Candidate& candidate : candidates) {
        if (present.contains(candidate.folder + addresses::packageDocument))
            found.insert(candidate.product.versionFolder(candidate.version));
    }
    QList<BuildToVerify> builds;
    for (const Candidate& candidate : candidates) {
        const bool isThere = present.contains(candidate.folder + addresses::packageDocument);
        const bool isOnly = !found.contains(candidate.product.versionFolder(candidate.version));
        if (!isThere && !isOnly)
            continue;
        builds.append(publishedBuild(candidate.product, candidate.version, candidate.platform,
                                     candidate.folder,
                                     present.contains(candidate.folder + addresses::assetList)));
        builds.last().isCurrent = isCurrent(metadata, candidate);
    }
    if (builds.isEmpty() && !options.version.isEmpty())
        faults.append(QStringLiteral("there is no version %1").arg(options.version));
    return builds;
}

QString publishingCommand(const BuildToVerify& build, const QString& channel)
{
    const Platform usual{QStringLiteral("windows"), QStringLiteral("x86_64")};
    const Platform platform = platformOf(build.build);
    QString command =
        build.product.isLauncher ? QStringLiteral("launcher") : QStringLiteral("package");
    if (!build.version.isEmpty())
        command += QStringLiteral(" --version %1").arg(build.version);
    if (!build.product.isLauncher && build.product.directory != QLatin1StringView("Quelra"))
        command += QStringLiteral(" --directory %1").arg(build.product.directory);
    if (platform != usual)
        command +=
            QStringLiteral(" --os %1 --architecture %2").arg(platform.os, platform.architecture);
    if (!build.isCurrent)
        command += QLatin1StringView(" --stage");
    else if (!channel.isEmpty())
        command += QStringLiteral(" --channel %1").arg(channel);
    return command;
}

} // namespace publish
