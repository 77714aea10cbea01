#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

class PackStore;
struct InputFile;

/// Why a version of this name cannot be published beside the others; empty when it can.
[[nodiscard]] QString versionNameFault(const QString& version, const QStringList& others);

/// Whether the published files are these, whose contents have these hashes, in the same order.
[[nodiscard]] bool isSameContent(const QList<OrlFile>& published, const QList<InputFile>& files,
                                 const QStringList& hashes);

/// Why packing damaged packed files again has not mended the published ones: their documents name
/// other bytes than have come out. Empty when it has, or when nothing was damaged.
[[nodiscard]] QString mendingFault(const QList<OrlFile>& published, const QStringList& hashes,
                                   const PackStore& store);
