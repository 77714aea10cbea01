#pragma once

#include "publish/MetadataSigner.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace publish {

class Progress;

/// What to take away again.
struct RemoveRequest
{
    QString content;
    Product product;
    /// Nothing: the product with all builds.
    std::optional<Platform> platform;
    bool dryRun = false;
    Signing signing = {};
};

/// What was taken away: "1.0 windows-x86_64" and the like, as the folders are called.
struct RemoveReport
{
    QStringList removedBuilds;
};

/// Takes the builds of one platform away, in all versions, or the whole product: from the metadata
/// of everybody and of each channel, which are replaced in one step each, and then their documents.
/// Versions of which no build is left are forgotten, and so is the product when nothing is left of
/// it. Assets of builds that launchers may take instead get a new identity. Packed files stay for
/// pruneVersions(), since others may have them and launchers may be reading them. Interrupted, it
/// leaves what the same request takes away next time. With `dryRun` nothing is written, nor any
/// right to write needed. Warns of what changes for launchers. Returns the faults; it is one when
/// there is nothing to take away.
[[nodiscard]] QStringList removeBuilds(const RemoveRequest& request, Progress& progress,
                                       RemoveReport& report);

} // namespace publish
