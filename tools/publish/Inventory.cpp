#include "publish/Inventory.h"

#include "package/OrlPackageDoc.h"
#include "package/Sizes.h"
#include "publish/Addresses.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/Progress.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QUrl>

#include <algorithm>
#include <limits>

namespace publish {

namespace {

/// A packed file, and who names it.
struct PackedUse
{
    qint64 size = 0;
    /// Folder of the version that named it last, and whether there are others.
    QString folder;
    bool isShared = false;
    /// The smallest number of kept versions with which pruning leaves it.
    int keptFrom = std::numeric_limits<int>::max();
};

class Stocktaking
{
public:
    Stocktaking(const QString& content, Progress& progress, Inventory& inventory)
        : m_tree(content)
        , m_progress(progress)
        , m_inventory(inventory)
    {}

    bool run(QString* error)
    {
        if (!channels::isPublished(m_tree, error))
            return false;
        const auto documents = channels::readAll(m_tree, error);
        if (!documents)
            return false;
        m_metadata = documents->first().document;
        m_channels = documents->sliced(1);
        findPackedFiles();
        for (const Product& product : m_metadata.products())
            addProduct(product);
        countOwnBytes();
        countPruning();
        return true;
    }

private:
    void findPackedFiles()
    {
        QDirIterator files(m_tree.path(addresses::packedFiles), QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString address = files.next().sliced(m_tree.root().size());
            PackedUse use;
            use.size = files.fileInfo().size();
            ++m_inventory.packedFiles;
            m_inventory.packedBytes += use.size;
            m_uses.insert(address, use);
        }
    }

    void addProduct(const Product& product)
    {
        ListedProduct listed{product, {}};
        // Pruning counts from the latest on, and passes over what is current.
        int keptFrom = 1;
        const QStringList history = m_metadata.history(product);
        const QStringList latestFirst(history.crbegin(), history.crend());
        for (const QString& version : latestFirst) {
            const QString folder = product.versionFolder(version);
            if (!m_tree.exists(folder))
                continue;
            ListedVersion entry{version, builds(product, folder), 0};
            const bool isCurrent =
                std::any_of(entry.builds.begin(), entry.builds.end(), [](const ListedBuild& build) {
                    return build.isCurrent || !build.channels.isEmpty();
                });
            nameFiles(folder, isCurrent ? 0 : keptFrom++);
            listed.versions.prepend(entry);
        }
        m_leastToKeepAll = std::max(m_leastToKeepAll, keptFrom - 1);
        m_inventory.products.append(listed);
    }

    QList<ListedBuild> builds(const Product& product, const QString& folder)
    {
        QHash<QString, Platform> known;
        for (const Platform& platform : m_metadata.publishedPlatforms(product))
            known.insert(platform.folderName().chopped(1), platform);
        QList<ListedBuild> found;
        for (const QString& name : m_tree.subfolders(folder)) {
            const QString address = folder + name + u'/' + addresses::packageDocument;
            if (!m_tree.exists(address))
                continue;
            ListedBuild build;
            build.platform = name;
            if (known.contains(name)) {
                const Platform platform = known.value(name);
                build.platform = platform.label();
                const auto isNamedBy = [&product, &platform,
                                        &address](const MetadataDocument& metadata) {
                    return addresses::onServer(metadata.build(product, platform).document) ==
                           address;
                };
                build.isCurrent = isNamedBy(m_metadata);
                for (const auto& [channel, document] : std::as_const(m_channels)) {
                    if (isNamedBy(document))
                        build.channels.append(channel);
                }
            }
            build.published = QFileInfo(m_tree.path(address)).lastModified();
            measure(folder + name + u'/', build);
            found.append(build);
        }
        return found;
    }

    // A version's files become known on the way; see nameFiles().
    void measure(const QString& folder, ListedBuild& build)
    {
        for (const QLatin1StringView name : {addresses::packageDocument, addresses::assetList}) {
            if (!m_tree.exists(folder + name))
                continue;
            QString fault;
            const QByteArray bytes = m_tree.read(folder + name);
            const QList<OrlFile> files = parseAssetList(bytes, &fault);
            if (bytes.isEmpty() || !fault.isEmpty())
                m_progress.warn(
                    QStringLiteral("%1 cannot be read").arg(m_tree.path(folder + name)));
            build.files += files.size();
            for (const OrlFile& file : files) {
                build.unpackedBytes = addSizes(build.unpackedBytes, file.unpackedsize);
                build.packedBytes = addSizes(build.packedBytes, file.packedsize);
                m_named.insert(
                    addresses::onServer(QUrl(folder).resolved(QUrl(file.url)).toString()));
            }
        }
    }

    void nameFiles(const QString& folder, int keptFrom)
    {
        for (const QString& address : std::as_const(m_named)) {
            const auto use = m_uses.find(address);
            if (use == m_uses.end())
                continue;
            use->isShared = use->isShared || !use->folder.isEmpty();
            use->folder = folder;
            use->keptFrom = std::min(use->keptFrom, keptFrom);
        }
        m_named.clear();
    }

    void countOwnBytes()
    {
        QHash<QString, qint64> own;
        for (const PackedUse& use : std::as_const(m_uses)) {
            if (!use.isShared)
                own[use.folder] += use.size;
        }
        for (ListedProduct& listed : m_inventory.products) {
            for (ListedVersion& version : listed.versions)
                version.ownBytes = own.value(listed.product.versionFolder(version.version));
        }
    }

    void countPruning()
    {
        for (int keep = 0; keep <= m_leastToKeepAll; ++keep) {
            PruneOutlook outlook{keep, 0, 0};
            for (const PackedUse& use : std::as_const(m_uses)) {
                if (use.keptFrom > keep) {
                    ++outlook.files;
                    outlook.bytes += use.size;
                }
            }
            m_inventory.pruning.append(outlook);
        }
    }

    ContentFolder m_tree;
    Progress& m_progress;
    Inventory& m_inventory;
    MetadataDocument m_metadata;
    QList<channels::NamedDocument> m_channels;
    QHash<QString, PackedUse> m_uses;
    // Packed files of the version that is being looked at.
    QSet<QString> m_named;
    int m_leastToKeepAll = 0;
};

} // namespace

QStringList takeInventory(const QString& content, Progress& progress, Inventory& inventory)
{
    QString error;
    if (!Stocktaking(content, progress, inventory).run(&error))
        return {error};
    inventory.signatures = signedcontent::states(ContentFolder(content));
    return {};
}

} // namespace publish
