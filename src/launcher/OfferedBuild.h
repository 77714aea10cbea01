#pragma once

#include "package/OrlPackageDoc.h"

#include <QString>
#include <QUrl>

class PackageClient;

// What the server offers of a build. Both block, and give an empty value for an address that is
// empty or cannot be fetched: an empty address would be that of the server itself, whose front page
// is no version.

[[nodiscard]] QString fetchOfferedVersion(PackageClient& client, const QUrl& url);
[[nodiscard]] OrlPackageDoc fetchOfferedDocument(PackageClient& client, const QUrl& url,
                                                 QString* error);
