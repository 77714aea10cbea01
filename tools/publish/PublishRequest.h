#pragma once

#include "publish/MetadataDocument.h"
#include "publish/MetadataSigner.h"
#include "publish/PackStore.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QString>

namespace publish {

/// What to publish, and where to.
struct PublishRequest
{
    QString input;
    QString content;
    Product product;
    Platform platform{QStringLiteral("windows"), QStringLiteral("x86_64")};
    QString version;
    QString executable;
    QString generation;
    /// Folder of the files that are delivered as assets; empty for none. A part of the input, or a
    /// folder of its own.
    QString assets;
    /// Stands before the addresses in the metadata; empty for relative ones.
    QString publicUrl;
    PackageLabels labels;
    PackSettings packing;
    /// The channel whose players get the version; empty for those in none.
    QString channel;
    /// Only publishes the version; what is current stays.
    bool stage = false;
    /// Finds out what publishing would do, and writes nothing. Contents that were never packed then
    /// count with their full size, since only packing shows how small they become.
    bool dryRun = false;
    Signing signing;
};

} // namespace publish
