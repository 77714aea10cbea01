#pragma once

#include <QString>
#include <QStringList>

namespace publish {

class MetadataDocument;
class UsedVersions;
struct Platform;
struct Product;

/// Why a version of this name cannot be published beside the others; empty when it can.
[[nodiscard]] QString versionNameFault(const QString& version, const QStringList& others);

/// Why a package, or a platform of it, that is new cannot be published beside those of the
/// metadata; empty when it can.
[[nodiscard]] QString productNameFault(const Product& product, const Platform& platform,
                                       const MetadataDocument& metadata);

/// Why the build cannot be published because another one of its version was there and has been
/// removed; empty when it can.
[[nodiscard]] QString removedBuildFault(const UsedVersions& used, const QString& buildFolder,
                                        const Product& product, const QString& version);

} // namespace publish
