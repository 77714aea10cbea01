#pragma once

#include "package/LauncherMetadata.h"
#include "package/OrlPackageDoc.h"

#include <QString>

#include <optional>

class PackageClient;

// What the server offers of a build. All block, and give an empty value for an address that is
// empty or cannot be fetched: an empty address would be that of the server itself, whose front page
// is no version. So does one that serves something else than what was signed, in a launcher that
// takes signed content only.

[[nodiscard]] QString fetchOfferedVersion(PackageClient& client, const LauncherBuild& build);
[[nodiscard]] QString fetchOfferedAssetsIdentity(PackageClient& client, const LauncherBuild& build);
[[nodiscard]] OrlPackageDoc fetchOfferedDocument(PackageClient& client, const LauncherBuild& build,
                                                 QString* error);

/// Nothing when the list is missing or damaged, which must not pass for an empty one: its identity
/// would be recorded and the assets never fetched.
[[nodiscard]] std::optional<QList<OrlFile>>
fetchOfferedAssets(PackageClient& client, const LauncherBuild& build, QString* error);
