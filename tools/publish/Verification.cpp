#include "publish/Verification.h"

#include "package/LauncherMetadata.h"
#include "package/PackageClient.h"
#include "package/Sizes.h"
#include "publish/Addresses.h"
#include "publish/AssetsIdentity.h"
#include "publish/HintsPublication.h"
#include "publish/InputFolder.h"
#include "publish/Progress.h"
#include "publish/VerifyFile.h"

#include <QSet>

#include <algorithm>
#include <mutex>

namespace {

bool isPlainAddress(const QString& address)
{
    return std::all_of(address.begin(), address.end(), [](QChar character) {
        return character.unicode() > 0x20 && character.unicode() < 0x7f && character != u'%' &&
               character != u'#' && character != u'?';
    });
}

class Verifier
{
public:
    Verifier(ContentSource& source, Progress& progress, VerifyReport& report)
        : m_source(source)
        , m_progress(progress)
        , m_report(report)
    {}

    QStringList run(const JobLimits& limits)
    {
        const auto metadata = readMetadata();
        if (!metadata)
            return m_faults;
        for (const LauncherPackage& package : metadata->packages)
            checkPackage(package, &package == &metadata->packages.first());
        for (const LauncherBuild& build : metadata->launcherBuilds)
            checkBuild(build, QStringLiteral("launcher"), QStringLiteral("self-update"));
        if (!metadata->hints.isEmpty())
            checkHintsDocument();
        checkFiles(limits);
        return m_faults;
    }

private:
    void addFault(const QString& where, const QString& what)
    {
        m_faults.append(where + QLatin1StringView(": ") + what);
    }

    QByteArray fetch(const QString& where, const QString& address)
    {
        if (!isPlainAddress(address))
            addFault(where, QStringLiteral("the address %1 is not plain").arg(address));
        QString error;
        const QByteArray body = m_source.fetch(address, &error);
        if (body.isEmpty())
            addFault(where,
                     QStringLiteral("%1 cannot be read: %2")
                         .arg(address, error.isEmpty() ? QStringLiteral("it is empty") : error));
        return body;
    }

    std::optional<LauncherMetadata> readMetadata()
    {
        const QString where = QStringLiteral("launcher metadata");
        const QByteArray bytes = fetch(where, addresses::metadata);
        if (bytes.isEmpty())
            return std::nullopt;
        bool isDocument = false;
        LauncherMetadata metadata = readLauncherMetadata(bytes, nullptr, &isDocument);
        if (!isDocument) {
            addFault(where, QStringLiteral("not a JSON object"));
            return std::nullopt;
        }
        if (metadata.packages.isEmpty())
            addFault(where, QStringLiteral("there is no package in it"));
        return metadata;
    }

    void checkPackage(const LauncherPackage& package, bool isFirst)
    {
        // Launchers take the first package only; another one may be waiting for its first version.
        if (package.builds.isEmpty() && !isFirst)
            return;
        const QString folder = package.folderName();
        const QString fault = directoryFault(folder);
        if (!fault.isEmpty())
            addFault(folder, fault);
        if (!selectBuild(package.builds, PackageClient::currentOs(),
                         PackageClient::currentArchitecture()))
            addFault(folder, QStringLiteral("there is no build for the players' system"));
        for (const LauncherBuild& build : package.builds)
            checkBuild(build, folder, folder);
    }

    void checkBuild(const LauncherBuild& build, const QString& product, const QString& folder)
    {
        ++m_report.builds;
        const QString where =
            QStringLiteral("%1 (%2 %3)").arg(product, build.os, build.architecture);
        const QString version =
            QString::fromUtf8(fetch(where, build.versionurl.toString())).trimmed();
        const QByteArray bytes = fetch(where, build.url.toString());
        if (bytes.isEmpty())
            return;
        QString error;
        const OrlPackageDoc doc = parsePackageDoc(bytes, &error);
        if (!error.isEmpty() || doc.files.isEmpty()) {
            addFault(
                where,
                QStringLiteral("%1 is no package document with files").arg(build.url.toString()));
            return;
        }
        if (!version.isEmpty() && version != doc.version)
            addFault(where, QStringLiteral("the version text is '%1' but the document is of '%2'")
                                .arg(version, doc.version));
        if (!hasFile(doc.files, doc.executable))
            addFault(
                where,
                QStringLiteral("the executable '%1' is not among the files").arg(doc.executable));
        const QList<OrlFile> assets = readAssets(build, where);
        checkPaths(doc.files + assets, where, folder);
        collect(doc.files, build.url, where);
        collect(assets, build.assetsurl, where);
    }

    static bool hasFile(const QList<OrlFile>& files, const QString& path)
    {
        return std::any_of(files.begin(), files.end(),
                           [&path](const OrlFile& file) { return file.localfile == path; });
    }

    QList<OrlFile> readAssets(const LauncherBuild& build, const QString& where)
    {
        if (build.assetsurl.isEmpty())
            return {};
        const QByteArray list = fetch(where, build.assetsurl.toString());
        const QString identity =
            QString::fromUtf8(fetch(where, build.assetsversionurl.toString())).trimmed();
        if (list.isEmpty())
            return {};
        QString error;
        const QList<OrlFile> files = parseAssetList(list, &error);
        if (!error.isEmpty())
            addFault(where, QStringLiteral("%1 is no asset list").arg(build.assetsurl.toString()));
        // Launchers take any text, but only the hash shows a list that came without its identity.
        if (!identity.isEmpty() && !assetsidentity::belongsTo(identity, list))
            addFault(where, QStringLiteral("%1 belongs to another asset list")
                                .arg(build.assetsversionurl.toString()));
        return files;
    }

    void checkPaths(const QList<OrlFile>& files, const QString& where, const QString& folder)
    {
        QStringList paths;
        for (const OrlFile& file : files)
            paths.append(file.localfile);
        for (const QString& fault : pathFaults(paths, folder))
            addFault(where, fault);
    }

    // Takes the files for reading, each packed file once.
    void collect(const QList<OrlFile>& files, const QUrl& document, const QString& where)
    {
        const QUrl base = document.adjusted(QUrl::RemoveFilename);
        for (const OrlFile& file : files) {
            const QString address = base.resolved(QUrl(file.url)).toString();
            const QString key = QStringLiteral("%1 %2 %3 %4 %5")
                                    .arg(address, file.packedhash)
                                    .arg(file.packedsize)
                                    .arg(file.unpackedhash)
                                    .arg(file.unpackedsize);
            if (m_seen.contains(key))
                continue;
            m_seen.insert(key);
            if (!isPlainAddress(address))
                addFault(
                    where,
                    QStringLiteral("%1: the address %2 is not plain").arg(file.localfile, address));
            m_files.append({file, address, where});
        }
    }

    void checkHintsDocument()
    {
        const QString where = QStringLiteral("hints");
        const QByteArray bytes = fetch(where, addresses::hints);
        if (bytes.isEmpty())
            return;
        QStringList pictures;
        for (const QString& fault : checkHints(bytes, pictures, nullptr))
            addFault(where, fault);
        for (const QString& picture : std::as_const(pictures)) {
            const QByteArray body = fetch(where, addresses::images + picture);
            if (!body.isEmpty() && !looksLikePicture(body))
                addFault(where, QStringLiteral("%1%2 is not a PNG, JPEG or GIF picture")
                                    .arg(addresses::images, picture));
        }
    }

    struct WantedFile
    {
        OrlFile file;
        QString address;
        QString where;
    };

    // Documents may say anything; what is wrong with a file's sizes is told when it is checked.
    static qint64 packedSize(const WantedFile& wanted)
    {
        return std::max<qint64>(wanted.file.packedsize, 0);
    }
    static qint64 unpackedSize(const WantedFile& wanted)
    {
        return std::max<qint64>(wanted.file.unpackedsize, 0);
    }

    void checkFiles(JobLimits limits)
    {
        if (!m_source.isParallel())
            limits.threads = 1;
        for (const WantedFile& wanted : std::as_const(m_files)) {
            ++m_report.files;
            m_report.packedBytes = addSizes(m_report.packedBytes, packedSize(wanted));
            m_report.unpackedBytes = addSizes(m_report.unpackedBytes, unpackedSize(wanted));
        }
        m_progress.begin(QStringLiteral("Verifying"), m_report.packedBytes, m_report.files);
        std::mutex mutex;
        QStringList faults;
        std::vector<Job> jobs;
        for (const WantedFile& wanted : std::as_const(m_files)) {
            const qint64 memory =
                std::min(addSizes(packedSize(wanted), unpackedSize(wanted)), limits.memory);
            jobs.push_back(
                {memory, [this, &wanted, &mutex, &faults](QString*) {
                     const QString fault = packedFileFault(m_source, wanted.address, wanted.file);
                     m_progress.advance(packedSize(wanted), 1);
                     const std::lock_guard lock(mutex);
                     if (!fault.isEmpty())
                         faults.append(wanted.where + QLatin1StringView(": ") +
                                       wanted.file.localfile + QLatin1StringView(": ") + fault);
                     return true;
                 }});
        }
        if (!runJobs(jobs, limits, nullptr))
            faults.append(QStringLiteral("verifying failed"));
        m_progress.end();
        faults.sort();
        m_faults += faults;
    }

    ContentSource& m_source;
    Progress& m_progress;
    VerifyReport& m_report;
    QStringList m_faults;
    QSet<QString> m_seen;
    QList<WantedFile> m_files;
};

} // namespace

QStringList verify(ContentSource& source, const JobLimits& limits, Progress& progress,
                   VerifyReport& report)
{
    return Verifier(source, progress, report).run(limits);
}
