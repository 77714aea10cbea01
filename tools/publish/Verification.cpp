#include "publish/Verification.h"

#include "package/PackageClient.h"
#include "package/Sizes.h"
#include "publish/Addresses.h"
#include "publish/ContentSource.h"
#include "publish/JobRunner.h"
#include "publish/NameRules.h"
#include "publish/VerifyBuilds.h"
#include "publish/VerifyDocuments.h"
#include "publish/VerifyFile.h"
#include "publish/VerifyHints.h"
#include "publish/VerifyOptions.h"
#include "publish/VerifyRun.h"
#include "publish/VerifySignature.h"

#include <QSet>

#include <algorithm>
#include <optional>

namespace publish {

namespace {

class Verifier
{
public:
    Verifier(ContentSource& source, const VerifyOptions& options, const JobLimits& limits,
             Progress& progress, VerifyReport& report)
        : m_run(source)
        , m_options(options)
        , m_limits(limits)
        , m_progress(progress)
        , m_report(report)
    {}

    QStringList run()
    {
        if (!readMetadata())
            return m_run.faults();
        if (m_options.version.isEmpty())
            checkCurrent();
        if (m_options.all || !m_options.version.isEmpty())
            checkPublished();
        checkFiles();
        return m_run.faults();
    }

private:
    bool readMetadata()
    {
        QString error;
        const QByteArray bytes = m_run.source().fetch(addresses::metadata, &error);
        bool isDocument = false;
        m_current = readLauncherMetadata(bytes, nullptr, &isDocument);
        const auto published = MetadataDocument::read(bytes, nullptr);
        if (!isDocument || !published) {
            addMetadataFault(bytes.isEmpty() ? error : QStringLiteral("not a JSON object"));
            return false;
        }
        m_published = *published;
        verifySignature(m_run, bytes, m_options, m_progress, m_report);
        if (m_current.packages.isEmpty())
            m_run.addFault(QStringLiteral("launcher metadata"),
                           QStringLiteral("there is no package in it"), QStringLiteral("package"));
        return true;
    }

    void addMetadataFault(const QString& reason)
    {
        const QString where = QStringLiteral("launcher metadata");
        const QString fault = QStringLiteral("%1 cannot be read: %2")
                                  .arg(addresses::metadata,
                                       reason.isEmpty() ? QStringLiteral("it is empty") : reason);
        // Nothing else knows what is current, or in which order versions were published.
        if (m_run.source().isServer())
            m_run.addFault(where, fault, {});
        else
            m_run.addLine(where + QLatin1StringView(": ") + fault +
                          QLatin1StringView("; restore it from a backup"));
    }

    void checkCurrent()
    {
        for (const LauncherPackage& package : std::as_const(m_current.packages))
            checkPackage(package, &package == &m_current.packages.first());
        for (const LauncherBuild& build : std::as_const(m_current.launcherBuilds))
            checkBuild(currentBuild(build, {true, {}}, m_published), selfUpdateFolderName, {});
        if (!m_current.hints.isEmpty())
            verifyHints(m_run, m_options);
    }

    void checkPackage(const LauncherPackage& package, bool isFirst)
    {
        // Launchers take the first package only; another one may be waiting for its first version.
        if (package.builds.isEmpty() && !isFirst)
            return;
        const QString folder = package.folderName();
        const QString fault = directoryFault(folder);
        const QString command = QStringLiteral("package");
        if (!fault.isEmpty())
            m_run.addFault(folder, fault, command);
        if (!selectBuild(package.builds, PackageClient::currentOs(),
                         PackageClient::currentArchitecture()))
            m_run.addFault(folder, QStringLiteral("there is no build for the players' system"),
                           command);
        for (const LauncherBuild& build : package.builds)
            checkBuild(currentBuild(build, {false, folder}, m_published), folder, {});
    }

    // What is current has been looked at already when everything is asked for.
    void checkPublished()
    {
        QStringList missing;
        const QList<BuildToVerify> builds =
            publishedBuilds(m_published, m_options, m_run.source(), missing);
        for (const QString& fault : missing)
            m_run.addLine(fault);
        for (const BuildToVerify& build : builds) {
            if (!m_seenDocuments.contains(addresses::onServer(build.build.url.toString())))
                checkBuild(build, build.product.installFolder(), QLatin1Char(' ') + build.version);
        }
    }

    // `folder` is that on the player's machine; `version` stands in the faults of what is not
    // current.
    void checkBuild(const BuildToVerify& wanted, const QString& folder, const QString& version)
    {
        const LauncherBuild& build = wanted.build;
        ++m_report.builds;
        m_seenDocuments.insert(addresses::onServer(build.url.toString()));
        const QString product =
            wanted.product.isLauncher ? QStringLiteral("launcher") : wanted.product.directory;
        const BuildPlace place{
            QStringLiteral("%1%2 (%3 %4)").arg(product, version, build.os, build.architecture),
            publishingCommand(wanted, m_options.channel)};
        // Of what is not current, the metadata says nothing.
        if (version.isEmpty() && !m_options.keys.isEmpty())
            verifyHashesAreStated(m_run, build, place.where);
        const auto doc = readDocument(m_run, build, place);
        if (!doc)
            return;
        const QList<OrlFile> assets = readAssets(m_run, build, place);
        checkPaths(doc->files + assets, place, folder);
        collect(doc->files, build.url, place);
        collect(assets, build.assetsurl, place);
    }

    void checkPaths(const QList<OrlFile>& files, const BuildPlace& place, const QString& folder)
    {
        QStringList paths;
        for (const OrlFile& file : files)
            paths.append(file.localfile);
        for (const QString& fault : pathFaults(paths, folder))
            m_run.addFault(place.where, fault, place.command);
    }

    // Takes the files for reading, each packed file once.
    void collect(const QList<OrlFile>& files, const QUrl& document, const BuildPlace& place)
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
            m_run.checkPlain(place.where + QLatin1StringView(": ") + file.localfile, address,
                             place.command);
            m_files.append({file, address, place.where, place.command});
        }
    }

    void checkFiles()
    {
        QStringList wantedAddresses;
        for (const WantedFile& wanted : std::as_const(m_files)) {
            ++m_report.files;
            m_report.packedBytes = addSizes(m_report.packedBytes, packedSize(wanted));
            m_report.unpackedBytes = addSizes(m_report.unpackedBytes, unpackedSize(wanted));
            wantedAddresses.append(wanted.address);
        }
        const QList<FileFault> faults =
            m_options.quick ? presenceFaults(m_run, m_files, m_progress)
                            : contentFaults(m_run.source(), m_files, m_limits, m_progress);
        const qsizetype others = m_run.faults().size();
        for (qsizetype i = 0; i < m_files.size(); ++i)
            addFileFault(m_files.at(i), faults.at(i));
        m_run.sortBehind(others);
        m_run.checkServing(QStringList(addresses::metadata) +
                           (m_options.quick ? QStringList() : wantedAddresses));
    }

    void addFileFault(const WantedFile& wanted, const FileFault& fault)
    {
        const QString where = wanted.where + QLatin1StringView(": ") + wanted.file.localfile;
        if (fault.text.isEmpty())
            return;
        if (fault.mending == Mending::NewVersion)
            m_run.addLine(where + QLatin1StringView(": ") + fault.text +
                          QLatin1StringView("; publish its files as a new version"));
        else
            m_run.addFault(where, fault.text,
                           fault.mending == Mending::PublishReread
                               ? wanted.command + QLatin1StringView(" --reread")
                               : wanted.command);
    }

    VerifyRun m_run;
    const VerifyOptions& m_options;
    JobLimits m_limits;
    Progress& m_progress;
    VerifyReport& m_report;
    LauncherMetadata m_current;
    MetadataDocument m_published;
    // Documents of builds, as they lie on the server.
    QSet<QString> m_seenDocuments;
    QSet<QString> m_seen;
    QList<WantedFile> m_files;
};

} // namespace

QStringList verifyContent(ContentSource& source, const VerifyOptions& options,
                          const JobLimits& limits, Progress& progress, VerifyReport& report)
{
    return Verifier(source, options, limits, progress, report).run();
}

} // namespace publish
