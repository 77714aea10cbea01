#include "launcher/OfferedBuild.h"

#include "package/PackageClient.h"

namespace {

// A hash that the metadata does not state fits nothing.
PackageClient::RequiredHash requiredHash(const PackageClient& client, const QString& stated)
{
    return client.takesSignedOnly() ? PackageClient::RequiredHash(stated) : std::nullopt;
}

QString fetchText(PackageClient& client, const QUrl& url, const QString& hash)
{
    return url.isEmpty() ? QString() : client.fetchText(url, nullptr, requiredHash(client, hash));
}

} // namespace

QString fetchOfferedVersion(PackageClient& client, const LauncherBuild& build)
{
    return fetchText(client, build.versionurl, build.versionurlsha256);
}

QString fetchOfferedAssetsIdentity(PackageClient& client, const LauncherBuild& build)
{
    return fetchText(client, build.assetsversionurl, build.assetsversionurlsha256);
}

OrlPackageDoc fetchOfferedDocument(PackageClient& client, const LauncherBuild& build,
                                   QString* error)
{
    return build.url.isEmpty()
               ? OrlPackageDoc()
               : client.fetchPackageDoc(build.url, error, requiredHash(client, build.urlsha256));
}

std::optional<QList<OrlFile>> fetchOfferedAssets(PackageClient& client, const LauncherBuild& build,
                                                 QString* error)
{
    QString fault;
    const QByteArray list = client.fetchBytes(build.assetsurl, &fault, transferlimits::manifest,
                                              requiredHash(client, build.assetsurlsha256));
    const QList<OrlFile> files = parseAssetList(list, &fault);
    if (!list.isEmpty() && fault.isEmpty())
        return files;
    *error = fault;
    return std::nullopt;
}
