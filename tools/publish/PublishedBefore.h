#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

class MetadataDocument;
class PackStore;
class UsedVersions;
struct InputFile;
struct Product;

/// Why a version of this name cannot be published beside the others; empty when it can.
[[nodiscard]] QString versionNameFault(const QString& version, const QStringList& others);

/// Why a new package cannot be published beside those of the metadata; empty when it can.
[[nodiscard]] QString packageNameFault(const Product& product, const MetadataDocument& metadata);

/// Why the build cannot be published because another one of its version was there and has been
/// removed; empty when it can.
[[nodiscard]] QString removedBuildFault(const UsedVersions& used, const QString& buildFolder,
                                        const Product& product, const QString& version);

/// Whether the published files are these, whose contents have these hashes, in the same order.
[[nodiscard]] bool isSameContent(const QList<OrlFile>& published, const QList<InputFile>& files,
                                 const QStringList& hashes);

/// Why packing damaged packed files again has not mended the published ones: their documents name
/// other bytes than have come out. Empty when it has, or when nothing was damaged.
[[nodiscard]] QString mendingFault(const QList<OrlFile>& published, const QStringList& hashes,
                                   const PackStore& store);
