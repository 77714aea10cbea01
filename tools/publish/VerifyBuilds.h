#pragma once

#include "package/LauncherMetadata.h"
#include "publish/MetadataDocument.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

class ContentSource;
struct VerifyOptions;

/// A build to verify.
struct BuildToVerify
{
    /// Its asset identity has no address when the build is not current: it gets another one when it
    /// becomes so.
    LauncherBuild build;
    Product product;
    /// Empty when nothing tells it.
    QString version;
    bool isCurrent = false;
};

/// A build that the metadata calls current.
[[nodiscard]] BuildToVerify currentBuild(const LauncherBuild& build, const Product& product,
                                         const MetadataDocument& metadata);

/// The published builds that `options` asks for besides those that are current, of each version in
/// the order of publication. Adds a line to `faults` for each version that is not there.
[[nodiscard]] QList<BuildToVerify> publishedBuilds(const MetadataDocument& metadata,
                                                   const VerifyOptions& options,
                                                   ContentSource& source, QStringList& faults);

/// The command that publishes the build again, without its arguments: one that leaves alone what is
/// current.
[[nodiscard]] QString publishingCommand(const BuildToVerify& build, const QString& channel);

} // namespace publish
