#include "publish/Prune.h"

#include "package/Failure.h"
#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/MetadataWriter.h"
#include "publish/PackStore.h"
#include "publish/PendingMetadata.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/Progress.h"
#include "publish/SignedContent.h"
#include "publish/UsedVersions.h"
#include "publish/WrittenNotes.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QUrl>

#include <optional>

namespace publish {

namespace {

/// One run of pruning: first what stays is found out, then the rest goes.
class Pruner
{
public:
    Pruner(const QString& content, const Signing& signing, Progress& progress, PruneReport& report)
        : m_tree(content)
        , m_signing(signing)
        , m_progress(progress)
        , m_report(report)
        , m_notes(m_tree)
    {}

    bool run(int keep, bool dryRun, QString* error)
    {
        if (!channels::isPublished(m_tree, error) ||
            !(dryRun || m_tree.openForWriting(error, ContentFolder::Purpose::WayOut)) ||
            !readMetadata(error))
            return false;
        for (const Product& product : products()) {
            if (!keepVersions(product, keep, error))
                return false;
        }
        for (const QString& folder : std::as_const(m_keptFolders)) {
            if (!keepFilesOf(folder, error))
                return false;
        }
        findGoingFolders();
        findGoingFiles();
        return dryRun || removeRest(error);
    }

private:
    bool readMetadata(QString* error)
    {
        const auto documents = channels::readAll(m_tree, error);
        if (!documents)
            return false;
        m_current = *documents;
        m_metadata = m_current.first().document;
        // What waits for its signature stays as if it were current.
        const auto waiting = pending::readAll(m_tree, error);
        if (!waiting)
            return false;
        m_current += *waiting;
        m_used.load(m_tree, m_metadata, QDateTime::currentDateTimeUtc());
        return true;
    }

    // Those included that only a channel still has.
    QList<Product> products() const
    {
        QList<Product> found;
        for (const auto& [channel, document] : m_current) {
            for (const Product& product : document.products()) {
                if (!found.contains(product))
                    found.append(product);
            }
        }
        return found;
    }

    // What is current for anybody stays.
    bool keepCurrent(const Product& product, QSet<QString>& folders, QString* error)
    {
        const QString versions = product.folder();
        for (const auto& [channel, document] : std::as_const(m_current)) {
            for (const Platform& platform : document.platforms(product)) {
                const QString address =
                    addresses::onServer(document.build(product, platform).document);
                if (!address.startsWith(versions) || !m_tree.exists(address)) {
                    return fail(error,
                                QStringLiteral("%1: the current document %2 cannot be read; "
                                               "nothing was removed; publishing its version again "
                                               "mends it")
                                    .arg(product.label(), address));
                }
                folders.insert(address.first(address.indexOf(u'/', versions.size()) + 1));
            }
        }
        return true;
    }

    bool keepVersions(const Product& product, int keep, QString* error)
    {
        QSet<QString> folders;
        if (!keepCurrent(product, folders, error))
            return false;
        m_currentFolders.unite(folders);
        const QStringList history = m_metadata.history(product);
        int left = keep;
        for (auto version = history.crbegin(); version != history.crend() && left > 0; ++version) {
            const QString folder = product.versionFolder(*version);
            if (!folders.contains(folder) && m_tree.exists(folder)) {
                folders.insert(folder);
                --left;
            }
        }
        QStringList stay;
        for (const QString& version : history) {
            const bool stays = folders.contains(product.versionFolder(version));
            if (stays)
                stay.append(version);
            (stays ? m_report.keptVersions : m_report.removedVersions)
                .append(product.label() + u' ' + version);
        }
        if (m_metadata.hasProduct(product))
            m_metadata.setHistory(product, stay);
        m_keptFolders += QStringList(folders.begin(), folders.end());
        return true;
    }

    // The files that the documents below the folder of a version name. Nothing when one of them
    // cannot be read, whose path `damaged` receives.
    std::optional<QSet<QString>> filesOf(const QString& folder, QString* damaged) const
    {
        QSet<QString> named;
        QDirIterator found(m_tree.path(folder), {addresses::packageDocument, addresses::assetList},
                           QDir::Files, QDirIterator::Subdirectories);
        while (found.hasNext()) {
            const QString path = found.next();
            const QString address = path.sliced(m_tree.root().size());
            const QByteArray bytes = m_tree.read(address);
            QString fault;
            const QList<OrlFile> files = parseAssetList(bytes, &fault);
            if (bytes.isEmpty() || !fault.isEmpty() || m_notes.isDamage(address, bytes)) {
                *damaged = path;
                return std::nullopt;
            }
            for (const OrlFile& file : files)
                named.insert(
                    addresses::onServer(QUrl(address).resolved(QUrl(file.url)).toString()));
        }
        return named;
    }

    // Nobody can install a version with a damaged document, so it may hold up the pruning of others
    // only while it is current. Which packed files it needs nobody knows.
    bool keepFilesOf(const QString& folder, QString* error)
    {
        QString damaged;
        const auto named = filesOf(folder, &damaged);
        if (named) {
            m_keptFiles.unite(*named);
            return true;
        }
        const QString cure = QStringLiteral("; publishing its version again mends it");
        if (m_currentFolders.contains(folder)) {
            return fail(error,
                        QStringLiteral("%1 cannot be read; nothing was removed").arg(damaged) +
                            cure);
        }
        m_hasDamage = true;
        m_progress.warn(QStringLiteral("%1 cannot be read; packed files that only its version may "
                                       "need stay")
                            .arg(damaged) +
                        cure);
        return true;
    }

    void findGoingFolders()
    {
        const auto addVersions = [this](const QString& folder) {
            for (const QString& version : m_tree.subfolders(folder)) {
                const QString address = folder + version + u'/';
                if (!m_keptFolders.contains(address))
                    m_goingFolders.append(address);
            }
        };
        for (const QString& package : m_tree.subfolders(addresses::packages))
            addVersions(addresses::packages + package + u'/');
        addVersions(addresses::ownBuilds);
    }

    void findGoingFiles()
    {
        QSet<QString> named;
        for (const QString& folder : std::as_const(m_goingFolders)) {
            QString damaged;
            named.unite(filesOf(folder, &damaged).value_or(QSet<QString>()));
        }
        QDirIterator files(m_tree.path(addresses::packedFiles), QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const QString address = path.sliced(m_tree.root().size());
            if (m_keptFiles.contains(address) || (m_hasDamage && !named.contains(address)))
                continue;
            m_goingFiles.append(path);
            ++m_report.removedFiles;
            m_report.removedBytes += files.fileInfo().size();
        }
    }

    // On a full disk nothing can be written before something is removed. Wherever it ends, the rest
    // is a whole tree: a version without documents cannot be switched to, one that went is noted as
    // removed by the next run, and packed files go last.
    bool removeRest(QString* error)
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (const QString& folder : std::as_const(m_goingFolders)) {
            m_used.remove(folder, now);
            if (!m_tree.removeFolder(folder, error))
                return false;
            QDir().rmdir(QFileInfo(m_tree.path(folder).chopped(1)).path());
        }
        if (!m_used.save(m_tree, error) || !forgetRemoved(error))
            return false;
        for (const QString& path : std::as_const(m_goingFiles)) {
            QFile file(path);
            if (!file.remove()) {
                return fail(
                    error,
                    QStringLiteral("%1: cannot be removed: %2").arg(path, file.errorString()));
            }
            QDir().rmdir(QFileInfo(path).path());
        }
        for (const QString& path : signedcontent::removeOutdatedSignatures(m_tree, now))
            m_progress.warn(QStringLiteral("%1: cannot be removed").arg(path));
        m_tree.keepReserve();
        PackStore(m_tree, {}, m_progress).forgetMissing();
        return m_notes.save(m_tree, error);
    }

    // Whoever cannot sign must still be able to make room.
    bool forgetRemoved(QString* error)
    {
        if (writingFault(m_tree, m_signing).isEmpty())
            return MetadataWriter(m_tree, m_signing).write(QString(), m_metadata, error);
        if (!m_report.removedVersions.isEmpty())
            m_progress.warn(QStringLiteral("the metadata is signed and goes on naming versions "
                                           "that were removed until it is signed again"));
        return true;
    }

    ContentFolder m_tree;
    const Signing& m_signing;
    Progress& m_progress;
    PruneReport& m_report;
    MetadataDocument m_metadata;
    // The same, and those of the channels.
    QList<channels::NamedDocument> m_current;
    UsedVersions m_used;
    WrittenNotes m_notes;
    QStringList m_keptFolders;
    QSet<QString> m_currentFolders;
    QSet<QString> m_keptFiles;
    // A version that stays has a document that cannot be read.
    bool m_hasDamage = false;
    QStringList m_goingFolders;
    QStringList m_goingFiles;
};

} // namespace

QStringList pruneVersions(const QString& content, int keep, bool dryRun, Progress& progress,
                          PruneReport& report, const Signing& signing)
{
    QString error;
    return Pruner(content, signing, progress, report).run(keep, dryRun, &error)
               ? QStringList()
               : QStringList(error);
}

} // namespace publish
