#include "publish/Publication.h"

#include "package/Failure.h"
#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/AssetsIdentity.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/InputFolder.h"
#include "publish/InputHashes.h"
#include "publish/LauncherChoice.h"
#include "publish/MetadataWriter.h"
#include "publish/PathChanges.h"
#include "publish/PendingMetadata.h"
#include "publish/Product.h"
#include "publish/Progress.h"
#include "publish/PublishConflicts.h"
#include "publish/PublishInput.h"
#include "publish/PublishRequest.h"
#include "publish/PublishedBefore.h"
#include "publish/UsedVersions.h"
#include "publish/VersionDocuments.h"
#include "publish/WrittenNotes.h"

namespace publish {

namespace {

/// One publication on its way through its steps. Each returns whether to go on.
class Publisher
{
public:
    Publisher(const PublishRequest& request, Progress& progress, PublishReport& report)
        : m_request(request)
        , m_progress(progress)
        , m_report(report)
        , m_tree(request.content)
        , m_isForLater(request.stage && canWaitForSignature(m_tree, request.signing))
        , m_writer(m_tree, request.signing,
                   m_isForLater ? MetadataWriter::When::Later : MetadataWriter::When::Now)
        , m_notes(m_tree)
        , m_store(m_tree, request.packing, progress)
        , m_folder(request.product.versionFolder(request.version) + request.platform.folderName())
    {}

    QStringList run()
    {
        const QString refusal = writingFault(m_tree, m_request.signing);
        if (!refusal.isEmpty() && !m_request.dryRun && !m_isForLater)
            return {refusal};
        const QStringList faults = m_input.read(m_request);
        for (const QString& warning : m_input.warnings())
            m_progress.warn(warning);
        if (!faults.isEmpty())
            return faults;
        QString error;
        m_all = m_input.files() + m_input.assets();
        InputHashes hashes(m_request.packing.limits, m_progress);
        if (!m_request.packing.reread)
            hashes.load(m_tree.read(readNotesAddress(m_request.product, m_request.platform)));
        m_hashes = hashes.read(m_all, &error);
        bool done = m_hashes.size() == m_all.size() &&
                    (m_request.dryRun || m_tree.openForWriting(&error)) && readMetadata(&error) &&
                    checkLabels(&error) && checkHistory(&error) && checkPaths();
        if (done) {
            const QString before = currentFolder();
            if (m_request.dryRun)
                m_store.plan(m_all, m_hashes);
            else
                done =
                    m_store.pack(m_all, m_hashes, &error) && writeVersion(&error) && record(&error);
            if (done)
                compareVersions(before);
            if (done && !m_request.dryRun) {
                keepReadNotes(m_tree, m_request.product, m_request.platform, hashes.notes(),
                              m_progress);
                m_used.keep(m_tree, m_folder, m_progress);
            }
        }
        fillReport();
        return done ? QStringList() : m_faults.isEmpty() ? QStringList(error) : m_faults;
    }

private:
    bool readMetadata(QString* error)
    {
        const auto read = m_isForLater ? pending::read : channels::read;
        auto document = read(m_tree, QString(), error);
        auto current = read(m_tree, m_request.channel, error);
        if (!document || !current)
            return false;
        m_metadata = *document;
        m_used.load(m_tree, m_metadata, QDateTime::currentDateTimeUtc());
        m_current = *current;
        const QString warning =
            platformWarning(m_request.platform, m_current.platforms(m_request.product));
        if (!warning.isEmpty())
            m_progress.warn(warning);
        return true;
    }

    // What players see of a package has no versions.
    bool checkLabels(QString* error) const
    {
        if (!isStaged() || m_request.labels == PackageLabels() ||
            !m_metadata.hasProduct(m_request.product))
            return true;
        return fail(error, QStringLiteral("%1: its name and the like change for all players at "
                                          "once; give them when the version becomes current")
                               .arg(m_request.product.label()));
    }

    // What was served under a version's name must stay what it was: launchers that have it would
    // never learn of the change, and caches keep it for ever.
    bool checkHistory(QString* error)
    {
        const QStringList history = m_metadata.history(m_request.product);
        *error = productNameFault(m_request.product, m_request.platform, m_metadata);
        if (error->isEmpty())
            *error = versionNameFault(m_request.version, history);
        if (error->isEmpty())
            *error = removedBuildFault(m_used, m_folder, m_request.product, m_request.version);
        if (!error->isEmpty())
            return false;
        if (m_used.isThere(m_folder))
            m_before = PublishedBefore::read(m_tree, m_notes, m_folder);
        m_report.unchanged =
            m_before && m_before->canBe(documentHead(), m_input.files().size(), m_all, m_hashes);
        if (!m_before || m_report.unchanged)
            return true;
        *error =
            QStringLiteral("version %1 of %2 was published before with other content; give the "
                           "new content a new version")
                .arg(m_request.version, m_request.product.label());
        return false;
    }

    OrlPackageDoc documentHead() const
    {
        return {m_request.version, m_request.executable, m_request.generation, {}};
    }

    bool checkPaths()
    {
        if (m_report.unchanged)
            return true;
        QStringList versions = m_metadata.history(m_request.product);
        versions.removeAll(m_request.version);
        QStringList paths;
        for (const InputFile& file : std::as_const(m_all))
            paths.append(file.localfile);
        m_faults =
            pathChangeFaults(m_tree, m_request.product, m_request.platform, versions,
                             m_request.version, paths, QStringLiteral("Give it another name"));
        return m_faults.isEmpty();
    }

    // What an unfinished publication left was never named by the metadata and can go.
    bool writeVersion(QString* error)
    {
        if (m_before)
            *error = m_before->mendingFault(m_input.files().size(), m_hashes, m_store);
        if (!error->isEmpty())
            return false;
        const QList<OrlFile> entries = fileEntries(m_all, m_hashes, m_store, m_folder);
        OrlPackageDoc doc = documentHead();
        doc.files = entries.first(m_input.files().size());
        const QList<OrlFile> assets = entries.sliced(doc.files.size());
        const bool written =
            m_report.unchanged
                ? mendVersionFolder(m_tree, m_notes, m_folder, doc, assets, m_report.mended, error)
                : writeVersionFolder(m_tree, m_notes, m_folder, doc, assets, servedIdentity(),
                                     error);
        return written && m_notes.save(m_tree, error);
    }

    // What launchers are told of their assets until this publication ends.
    QString servedIdentity() const
    {
        return assetsidentity::servedAt(
            m_tree, m_current.build(m_request.product, m_request.platform).assetsVersion);
    }

    // From here on the version can be switched to.
    bool record(QString* error)
    {
        const Product& product = m_request.product;
        const bool elsewhere = isStaged() || !m_request.channel.isEmpty();
        if (!product.isLauncher && !m_metadata.hasProduct(product))
            m_metadata.setPackage(product.directory, m_request.labels);
        QStringList history = m_metadata.history(product);
        history.removeAll(m_request.version);
        m_metadata.setHistory(product, history + QStringList(m_request.version));
        QString identity;
        if (!isStaged() && !provideIdentity(identity, error))
            return false;
        // Everything that the metadata names must be on the disk before it is named.
        if (!m_tree.sync(error))
            return false;
        m_store.noteSafe();
        if (!elsewhere) {
            m_current = m_metadata;
            return makeCurrent(identity, error);
        }
        // Killed in between, the version is one that was staged.
        m_metadata.addPublished(product, m_request.platform);
        if (!m_writer.write(QString(), m_metadata, error))
            return false;
        if (isStaged())
            return true;
        // No channel may have a version that the content does not know.
        return m_tree.sync(error) && makeCurrent(identity, error);
    }

    bool provideIdentity(QString& identity, QString* error)
    {
        if (!m_input.assets().isEmpty())
            identity = m_folder + addresses::assetsIdentity;
        return !m_report.unchanged ||
               assetsidentity::provide(m_tree, m_folder, servedIdentity(), identity, error);
    }

    bool makeCurrent(const QString& identity, QString* error)
    {
        const Product& product = m_request.product;
        if (!product.isLauncher)
            m_current.setPackage(product.directory, m_request.labels);
        m_current.setBuild(product, m_request.platform,
                           buildAddresses(m_request.publicUrl, m_folder, identity));
        if (m_tree.exists(channels::hints(m_request.channel)))
            m_current.setHints(channels::hintsInMetadata(m_request.publicUrl, m_request.channel));
        return m_writer.write(m_request.channel, m_current, error);
    }

    bool isStaged() const { return m_request.stage && !m_isForLater; }

    QString currentFolder() const
    {
        const BuildAddresses current = m_current.build(m_request.product, m_request.platform);
        return addresses::folderOf(addresses::onServer(current.document));
    }

    void compareVersions(const QString& before)
    {
        const QList<OrlFile> files = comparableFiles(m_all, m_hashes, m_store);
        if (!before.isEmpty()) {
            m_report.comparedWith =
                parsePackageDoc(m_tree.read(before + addresses::packageDocument)).version;
            m_report.changes = compareFiles(publishedFiles(m_tree, before), files);
        }
        m_report.costs =
            updateCosts(m_tree, m_request.product, m_request.platform,
                        m_metadata.history(m_request.product), m_request.version, files);
    }

    void fillReport()
    {
        m_report.files = m_input.files().size();
        m_report.assets = m_input.assets().size();
        for (const InputFile& file : std::as_const(m_all))
            m_report.bytes += file.size;
        m_report.packed = m_store.packedCount();
        m_report.reused = m_store.reusedCount();
        m_report.addedBytes = m_store.addedBytes();
        if (m_isForLater)
            m_report.toSign = m_tree.path(pending::address(QString()));
    }

    const PublishRequest& m_request;
    Progress& m_progress;
    PublishReport& m_report;
    PublishInput m_input;
    ContentFolder m_tree;
    // What is staged where nobody can sign is the next to be current, once it is signed.
    bool m_isForLater;
    MetadataWriter m_writer;
    WrittenNotes m_notes;
    PackStore m_store;
    QString m_folder;
    QList<InputFile> m_all;
    QStringList m_hashes;
    // What was published, and what is current in the channel: without a channel one and the same.
    MetadataDocument m_metadata;
    MetadataDocument m_current;
    // When there can be more than one.
    QStringList m_faults;
    UsedVersions m_used;
    // When the version was published before.
    std::optional<PublishedBefore> m_before;
};

} // namespace

QStringList publishVersion(const PublishRequest& request, Progress& progress, PublishReport& report)
{
    return Publisher(request, progress, report).run();
}

} // namespace publish
