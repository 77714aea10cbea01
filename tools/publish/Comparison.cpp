#include "publish/Comparison.h"

#include "package/Sizes.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QHash>

namespace publish {

namespace {

QHash<QString, QString> contentsByPath(const QList<OrlFile>& files)
{
    QHash<QString, QString> contents;
    contents.reserve(files.size());
    for (const OrlFile& file : files)
        contents.insert(file.localfile, file.unpackedhash);
    return contents;
}

} // namespace

QList<OrlFile> publishedFiles(const ContentFolder& tree, const QString& folder)
{
    return parseAssetList(tree.read(folder + addresses::packageDocument)) +
           parseAssetList(tree.read(folder + addresses::assetList));
}

FileChanges compareFiles(const QList<OrlFile>& before, const QList<OrlFile>& after)
{
    FileChanges changes;
    const QHash<QString, QString> old = contentsByPath(before);
    for (const OrlFile& file : after) {
        const auto found = old.constFind(file.localfile);
        if (found == old.constEnd())
            changes.added.append(file.localfile);
        else if (*found != file.unpackedhash)
            changes.changed.append(file.localfile);
        else
            ++changes.unchanged;
    }
    const QHash<QString, QString> fresh = contentsByPath(after);
    for (const OrlFile& file : before) {
        if (!fresh.contains(file.localfile))
            changes.removed.append(file.localfile);
    }
    return changes;
}

UpdateCost updateCost(const QString& version, const QList<OrlFile>& before,
                      const QList<OrlFile>& after)
{
    UpdateCost cost{version, 0, 0};
    const QHash<QString, QString> old = contentsByPath(before);
    for (const OrlFile& file : after) {
        if (old.value(file.localfile) == file.unpackedhash)
            continue;
        ++cost.files;
        cost.bytes = addSizes(cost.bytes, file.packedsize);
    }
    return cost;
}

QList<UpdateCost> updateCosts(const ContentFolder& tree, const Product& product,
                              const Platform& platform, const QStringList& history,
                              const QString& version, const QList<OrlFile>& files)
{
    QList<UpdateCost> costs{updateCost(QString(), {}, files)};
    for (const QString& other : history) {
        const QString folder = product.versionFolder(other) + platform.folderName();
        if (other != version && tree.exists(folder + addresses::packageDocument))
            costs.append(updateCost(other, publishedFiles(tree, folder), files));
    }
    return costs;
}

} // namespace publish
