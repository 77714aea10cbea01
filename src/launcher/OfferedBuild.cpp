#include "launcher/OfferedBuild.h"

#include "package/PackageClient.h"

QString fetchOfferedVersion(PackageClient& client, const QUrl& url)
{
    return url.isEmpty() ? QString() : client.fetchText(url, nullptr);
}

OrlPackageDoc fetchOfferedDocument(PackageClient& client, const QUrl& url, QString* error)
{
    return url.isEmpty() ? OrlPackageDoc() : client.fetchPackageDoc(url, error);
}
