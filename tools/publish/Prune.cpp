#include "package/OrlPackageDoc.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/Maintenance.h"
#include "publish/MetadataDocument.h"
#include "publish/PackStore.h"
#include "publish/UsedVersions.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QUrl>

namespace {

QStringList subfolders(const QString& path)
{
    return QDir(path).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

/// One run of pruning: first what stays is found out, then the rest goes.
class Pruner
{
public:
    Pruner(const QString& content, Progress& progress, PruneReport& report)
        : m_tree(content)
        , m_progress(progress)
        , m_report(report)
    {}

    bool run(int keep, bool dryRun, QString* error)
    {
        if (!m_tree.exists(addresses::metadata)) {
            *error = QStringLiteral("%1: nothing is published here").arg(m_tree.root());
            return false;
        }
        if (!(dryRun || m_tree.openForWriting(error)) || !readMetadata(error))
            return false;
        for (const Product& product : products()) {
            if (!keepVersions(product, keep, error))
                return false;
        }
        for (const QString& folder : std::as_const(m_keptFolders)) {
            if (!keepFilesOf(folder, error))
                return false;
        }
        findRest();
        return dryRun || removeRest(error);
    }

private:
    bool readMetadata(QString* error)
    {
        auto document = channels::read(m_tree, QString(), error);
        if (!document)
            return false;
        m_metadata = *document;
        m_used.load(m_tree, m_metadata, QDateTime::currentDateTimeUtc());
        m_current.append(*document);
        for (const QString& channel : channels::all(m_tree)) {
            const auto ofChannel = channels::read(m_tree, channel, error);
            if (!ofChannel)
                return false;
            m_current.append(*ofChannel);
        }
        return true;
    }

    // Those included that only a channel still has.
    QList<Product> products() const
    {
        QList<Product> found;
        for (const MetadataDocument& document : m_current) {
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
        for (const MetadataDocument& document : std::as_const(m_current)) {
            for (const Platform& platform : document.platforms(product)) {
                const QString address =
                    addresses::onServer(document.build(product, platform).document);
                if (!address.startsWith(versions) || !m_tree.exists(address)) {
                    *error = QStringLiteral("%1: the current document %2 cannot be read; nothing "
                                            "was removed")
                                 .arg(product.label(), address);
                    return false;
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

    // Every document below the folder of a version that stays.
    bool keepFilesOf(const QString& folder, QString* error)
    {
        QDirIterator found(m_tree.path(folder), {addresses::packageDocument, addresses::assetList},
                           QDir::Files, QDirIterator::Subdirectories);
        while (found.hasNext()) {
            const QString path = found.next();
            QFile document(path);
            QString fault;
            const bool opened = document.open(QIODevice::ReadOnly);
            const QByteArray bytes = opened ? document.readAll() : QByteArray();
            const QList<OrlFile> files = parseAssetList(bytes, &fault);
            if (bytes.isEmpty() || !fault.isEmpty()) {
                *error = QStringLiteral("%1 cannot be read; nothing was removed").arg(path);
                return false;
            }
            const QUrl base(path.sliced(m_tree.root().size()));
            for (const OrlFile& file : files)
                m_keptFiles.insert(addresses::onServer(base.resolved(QUrl(file.url)).toString()));
        }
        return true;
    }

    void findRest()
    {
        const auto addVersions = [this](const QString& folder) {
            for (const QString& version : subfolders(m_tree.path(folder))) {
                const QString address = folder + version + u'/';
                if (!m_keptFolders.contains(address))
                    m_goingFolders.append(address);
            }
        };
        for (const QString& package : subfolders(m_tree.path(addresses::packages)))
            addVersions(addresses::packages + package + u'/');
        addVersions(addresses::ownBuilds);
        QDirIterator files(m_tree.path(addresses::packedFiles), QDir::Files | QDir::Hidden,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            if (m_keptFiles.contains(path.sliced(m_tree.root().size())))
                continue;
            m_goingFiles.append(path);
            ++m_report.removedFiles;
            m_report.removedBytes += files.fileInfo().size();
        }
    }

    // In an order that leaves a whole tree wherever it ends: a version that cannot be switched to
    // any more, its documents, its files. What is noted as removed and is there all the same is
    // found again.
    bool removeRest(QString* error)
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (const QString& folder : std::as_const(m_goingFolders))
            m_used.remove(folder, now);
        if (!m_used.save(m_tree, error))
            return false;
        const QByteArray bytes = m_metadata.bytes();
        if (bytes != m_tree.read(addresses::metadata) &&
            !m_tree.replace(addresses::metadata, bytes, error))
            return false;
        for (const QString& folder : std::as_const(m_goingFolders)) {
            if (!m_tree.removeFolder(folder)) {
                *error = QStringLiteral("%1 cannot be removed").arg(m_tree.path(folder));
                return false;
            }
            QDir().rmdir(QFileInfo(m_tree.path(folder).chopped(1)).path());
        }
        for (const QString& path : std::as_const(m_goingFiles)) {
            if (!QFile::remove(path)) {
                *error = QStringLiteral("%1 cannot be removed").arg(path);
                return false;
            }
            QDir().rmdir(QFileInfo(path).path());
        }
        PackStore(m_tree, {}, m_progress).forgetMissing();
        return true;
    }

    ContentFolder m_tree;
    Progress& m_progress;
    PruneReport& m_report;
    MetadataDocument m_metadata;
    // The same, and those of the channels.
    QList<MetadataDocument> m_current;
    UsedVersions m_used;
    QStringList m_keptFolders;
    QSet<QString> m_keptFiles;
    QStringList m_goingFolders;
    QStringList m_goingFiles;
};

} // namespace

QStringList prune(const QString& content, int keep, bool dryRun, Progress& progress,
                  PruneReport& report)
{
    QString error;
    return Pruner(content, progress, report).run(keep, dryRun, &error) ? QStringList()
                                                                       : QStringList(error);
}
