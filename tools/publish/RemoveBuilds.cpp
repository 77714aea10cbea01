#include "publish/RemoveBuilds.h"

#include "package/Failure.h"
#include "publish/Addresses.h"
#include "publish/AssetsIdentity.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/LauncherChoice.h"
#include "publish/MetadataDocument.h"
#include "publish/MetadataWriter.h"
#include "publish/Progress.h"
#include "publish/UsedVersions.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace publish {

namespace {

using channels::NamedDocument;

/// One run of removing: first what goes is found out, then no document names it any more, then it
/// goes.
class Remover
{
public:
    Remover(const RemoveRequest& request, Progress& progress, RemoveReport& report)
        : m_request(request)
        , m_progress(progress)
        , m_report(report)
        , m_tree(request.content)
    {}

    bool run(QString* error)
    {
        const QString refusal = writingFault(m_tree, m_request.signing);
        if (!refusal.isEmpty() && !m_request.dryRun)
            return fail(error, refusal);
        if (!channels::isPublished(m_tree, error) ||
            !(m_request.dryRun || m_tree.openForWriting(error, ContentFolder::Purpose::WayOut)) ||
            !readDocuments(error) || !findBuilds(error))
            return false;
        for (NamedDocument& named : m_documents)
            takeOut(named);
        return m_request.dryRun || (noteRemoved(error) && renewIdentities(error) &&
                                    replaceDocuments(error) && removeFolders(error));
    }

private:
    bool readDocuments(QString* error)
    {
        const auto documents = channels::readAll(m_tree, error);
        if (!documents)
            return false;
        // The one without a channel knows what was published and so comes last: after an
        // interruption it still does.
        m_documents = documents->sliced(1) + documents->first(1);
        return true;
    }

    bool isNamed() const
    {
        const Product& product = m_request.product;
        return std::any_of(
            m_documents.begin(), m_documents.end(), [this, &product](const NamedDocument& named) {
                return m_request.platform ? named.document.publishedPlatforms(product).contains(
                                                *m_request.platform)
                                          : named.document.hasProduct(product);
            });
    }

    // In these letters: where case makes no difference, the folder may be another package's.
    bool isOnDisk(const Product& product) const
    {
        const QString folder = product.folder().chopped(1);
        const qsizetype name = folder.lastIndexOf(u'/') + 1;
        return m_tree.subfolders(folder.first(name)).contains(folder.sliced(name));
    }

    // On the disk, whatever the documents say: those of a removal that was interrupted say nothing.
    bool findBuilds(QString* error)
    {
        const Product& product = m_request.product;
        const QStringList versions =
            isOnDisk(product) ? m_tree.subfolders(product.folder()) : QStringList();
        for (const QString& version : versions) {
            const QString folder = product.folder() + version + u'/';
            for (const QString& build : m_tree.subfolders(folder)) {
                if (!m_request.platform || m_request.platform->folderName() == build + u'/')
                    m_builds.append(folder + build + u'/');
            }
        }
        if (!m_builds.isEmpty() || isNamed()) {
            for (const QString& folder : std::as_const(m_builds))
                m_report.removedBuilds.append(
                    folder.sliced(product.folder().size()).chopped(1).replace(u'/', u' '));
            return true;
        }
        QStringList known;
        for (const Platform& platform : m_documents.last().document.publishedPlatforms(product))
            known.append(platform.label());
        return fail(error, known.isEmpty()
                               ? QStringLiteral("nothing was published of %1").arg(product.label())
                               : QStringLiteral("%1 has no build for %2; there are: %3")
                                     .arg(product.label(), m_request.platform->label(),
                                          known.join(QLatin1StringView(", "))));
    }

    void takeOut(NamedDocument& named)
    {
        MetadataDocument& document = named.document;
        const Product& product = m_request.product;
        const QList<Platform> before = document.platforms(product);
        if (m_request.platform)
            document.removeBuild(product, *m_request.platform);
        const QList<Platform> left =
            m_request.platform ? document.platforms(product) : QList<Platform>();
        if (!m_request.platform || document.publishedPlatforms(product).isEmpty())
            document.removeProduct(product);
        else if (named.channel.isEmpty())
            document.setHistory(product, versionsLeft(document));
        warnOf(named.channel, before, left);
        // A launcher that was interrupted within an update to what goes has files of both, and the
        // record of what it had before. That may be the identity of a build that it takes now.
        for (const Platform& platform : left) {
            if (before.size() > left.size() && platform.os == m_request.platform->os)
                m_toRenew.append({&named, platform});
        }
    }

    QStringList versionsLeft(const MetadataDocument& document) const
    {
        QStringList versions = document.history(m_request.product);
        versions.removeIf([this](const QString& version) {
            const QString folder = m_request.product.versionFolder(version);
            const QStringList builds = m_tree.subfolders(folder);
            return std::all_of(builds.begin(), builds.end(), [this, &folder](const QString& name) {
                return m_builds.contains(folder + name + u'/');
            });
        });
        return versions;
    }

    void warnOf(const QString& channel, const QList<Platform>& before, const QList<Platform>& left)
    {
        const auto had = platformOfLaunchers(before);
        const auto have = platformOfLaunchers(left);
        if (had == have)
            return;
        const QString where =
            channel.isEmpty() ? QString() : QStringLiteral(" in channel %1").arg(channel);
        const QString now = have ? QStringLiteral("they now take the one for '%1' '%2'")
                                       .arg(have->os, have->architecture)
                                 : QStringLiteral("they now find none");
        m_progress.warn(
            QStringLiteral("launchers%1 took the build of %2 for '%3' '%4'; %5")
                .arg(where, m_request.product.label(), had->os, had->architecture, now));
    }

    bool noteRemoved(QString* error)
    {
        // Before anything of it goes; what is there all the same is found again.
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const auto published = channels::read(m_tree, QString(), error);
        if (!published)
            return false;
        UsedVersions used;
        used.load(m_tree, *published, now);
        for (const QString& folder : std::as_const(m_builds))
            used.remove(folder, now);
        return used.save(m_tree, error);
    }

    bool renewIdentities(QString* error)
    {
        for (const auto& [named, platform] : std::as_const(m_toRenew)) {
            MetadataDocument& document = named->document;
            BuildAddresses build = document.build(m_request.product, platform);
            if (build.assetsVersion.isEmpty())
                continue;
            const QString folder = addresses::folderOf(addresses::onServer(build.document));
            QString identity;
            if (!assetsidentity::provide(m_tree, folder, QString(), identity, error))
                return false;
            build.assetsVersion = addresses::prefixOf(build.document) + identity;
            document.setBuild(m_request.product, platform, build);
        }
        return m_tree.sync(error);
    }

    bool replaceDocuments(QString* error)
    {
        MetadataWriter writer(m_tree, m_request.signing);
        return std::all_of(m_documents.begin(), m_documents.end(),
                           [&writer, error](const NamedDocument& named) {
                               return writer.write(named.channel, named.document, error);
                           });
    }

    bool removeFolders(QString* error)
    {
        for (const QString& folder : std::as_const(m_builds)) {
            if (!m_tree.removeFolder(folder, error))
                return false;
            // Only if nothing else is in them.
            const QString version = QFileInfo(m_tree.path(folder).chopped(1)).path();
            QDir().rmdir(version);
            QDir().rmdir(QFileInfo(version).path());
        }
        return true;
    }

    const RemoveRequest& m_request;
    Progress& m_progress;
    RemoveReport& m_report;
    ContentFolder m_tree;
    QList<NamedDocument> m_documents;
    // Folders of the builds that go.
    QStringList m_builds;
    // Builds that stay, and where.
    QList<std::pair<NamedDocument*, Platform>> m_toRenew;
};

} // namespace

QStringList removeBuilds(const RemoveRequest& request, Progress& progress, RemoveReport& report)
{
    QString error;
    return Remover(request, progress, report).run(&error) ? QStringList() : QStringList(error);
}

} // namespace publish
