#include "publish/Product.h"

#include "package/LauncherMetadata.h"
#include "publish/Addresses.h"

namespace publish {

QString Product::folder() const
{
    return isLauncher ? QString(addresses::ownBuilds)
                      : addresses::packages + addresses::segment(directory) + u'/';
}

QString Product::installFolder() const
{
    return isLauncher ? QString(selfUpdateFolderName) : directory;
}

QString Product::versionFolder(const QString& version) const
{
    return folder() + addresses::segment(version) + u'/';
}

QString Product::label() const
{
    return isLauncher ? QStringLiteral("the launcher") : directory;
}

} // namespace publish
