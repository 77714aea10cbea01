#include "launcher/SelfUpdate.h"

#include "launcher/OfferedBuild.h"
#include "launcher/SelfUpdateFiles.h"
#include "package/PackageClient.h"
#include "package/SafePath.h"
#include "shared/BuildValues.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

bool SelfUpdate::isOffered(const LauncherMetadata& configuration)
{
    if (buildvalues::launcherVersion() == QLatin1StringView("dev"))
        return false;
    const LauncherBuild* selected =
        selectBuild(configuration.launcherBuilds, PackageClient::currentOs(),
                    PackageClient::currentArchitecture());
    if (!selected)
        return false;
    m_build = *selected;
    const QString version = fetchOfferedVersion(m_client, m_build);
    if (version.isEmpty() || version == buildvalues::launcherVersion())
        return false;
    m_launcher = fetchOfferedDocument(m_client, m_build, nullptr);
    // What is offered is here already when it was built with another version than it is offered as,
    // or when another launcher has put it here. It would be fetched again at each start.
    return !m_launcher.version.isEmpty() &&
           m_client.hasMissingFiles(copiedPart(m_launcher), QCoreApplication::applicationDirPath());
}

bool SelfUpdate::replaceAndStart(QString* error)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString program = pathBelowFolder(folder, m_launcher.executable);
    if (!replace(folder, error) || program.isEmpty())
        return false;
    PackageClient::makeExecutable(program);
    if (QProcess::startDetached(program, {}, folder))
        return true;
    qWarning("Cannot start %s", qUtf8Printable(program));
    return false;
}

bool SelfUpdate::replace(const QString& programFolder, QString* error)
{
    // Without a data folder there is no place for the new launcher; the current one must not be it.
    const QString target = selfUpdateFolder(m_client.dataFolder());
    if (target.isEmpty())
        return false;
    // A player who starts two launchers at once gets one new one.
    const auto lock = lockSelfUpdate(target, error);
    if (!lock || !m_client.hasMissingFiles(copiedPart(m_launcher), programFolder) ||
        m_client.isQuitting())
        return false;
    QDir(target).removeRecursively();
    return m_client.installPackage(m_build.url, m_launcher, target, error) &&
           copyProgramFiles(target, programFolder, m_launcher.executable, error,
                            [this] { return m_client.turnIfDue(); });
}
