#pragma once

#include "publish/Platform.h"
#include "publish/Product.h"

#include <QStringList>

namespace publish {

class ContentFolder;

/// A line for each of the paths that is a file where an earlier version of the build has a folder,
/// or the reverse. Launchers never remove anything of an older version, so a player who has one
/// could not install the new one, nor anything later. The old versions come oldest first; of
/// several the latest is named. Case does not count, as on the players' disks. Versions whose
/// documents cannot be read are passed over. `advice` ends each line.
[[nodiscard]] QStringList pathChangeFaults(const ContentFolder& tree, const Product& product,
                                           const Platform& platform, const QStringList& oldVersions,
                                           const QString& version, const QStringList& paths,
                                           const QString& advice);

} // namespace publish
