#include "publish/PathChanges.h"

#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/NameRules.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QHash>
#include <QSet>

namespace publish {

namespace {

/// The files of a version and the folders that they lie in, as the players' disks compare names.
class PathSet
{
public:
    explicit PathSet(const QStringList& paths)
    {
        for (const QString& path : paths) {
            m_files.insert(comparedName(path), path);
            for (qsizetype end = path.indexOf(u'/'); end >= 0; end = path.indexOf(u'/', end + 1))
                m_folders.insert(comparedName(path.first(end)), path.first(end));
        }
    }

    /// The folder of this set that has the name of the other's file, and the file of this set that
    /// has the name of one of the folders that the other's file lies in; empty when there is none.
    [[nodiscard]] QString folderNamedAs(const QString& file) const
    {
        return m_folders.value(comparedName(file));
    }
    [[nodiscard]] QString fileAbove(const QString& file) const
    {
        for (qsizetype end = file.indexOf(u'/'); end >= 0; end = file.indexOf(u'/', end + 1)) {
            const auto found = m_files.constFind(comparedName(file.first(end)));
            if (found != m_files.constEnd())
                return *found;
        }
        return {};
    }

private:
    QHash<QString, QString> m_files;
    QHash<QString, QString> m_folders;
};

QStringList pathsOf(const ContentFolder& tree, const QString& buildFolder)
{
    QStringList paths;
    for (const QLatin1StringView name : {addresses::packageDocument, addresses::assetList}) {
        for (const OrlFile& file : parseAssetList(tree.read(buildFolder + name), nullptr))
            paths.append(file.localfile);
    }
    return paths;
}

QString faultText(const QString& path, bool isFolder, const QString& version, const QString& old)
{
    return (isFolder ? QStringLiteral("%1: a folder in version %2, but a file in version %3")
                     : QStringLiteral("%1: a file in version %2, but a folder in version %3"))
               .arg(path, version, old) +
           QStringLiteral(
               "; players who have the old one could never install the new one over it. ");
}

} // namespace

QStringList pathChangeFaults(const ContentFolder& tree, const Product& product,
                             const Platform& platform, const QStringList& oldVersions,
                             const QString& version, const QStringList& paths,
                             const QString& advice)
{
    const PathSet fresh(paths);
    QSet<QString> changed;
    QStringList faults;
    const QStringList latestFirst(oldVersions.crbegin(), oldVersions.crend());
    for (const QString& old : latestFirst) {
        const QString folder = product.versionFolder(old) + platform.folderName();
        for (const QString& oldPath : pathsOf(tree, folder)) {
            const QString nowFolder = fresh.folderNamedAs(oldPath);
            const QString path = nowFolder.isEmpty() ? fresh.fileAbove(oldPath) : nowFolder;
            if (path.isEmpty() || changed.contains(path))
                continue;
            changed.insert(path);
            faults.append(faultText(path, !nowFolder.isEmpty(), version, old) + advice);
        }
    }
    faults.sort();
    return faults;
}

} // namespace publish
