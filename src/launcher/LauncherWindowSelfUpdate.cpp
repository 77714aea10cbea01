#include "launcher/FlowGuard.h"
#include "launcher/LauncherWindow.h"
#include "launcher/ProgramFiles.h"
#include "package/EventLoopPacer.h"
#include "package/PackageClient.h"
#include "package/SafePath.h"
#include "shared/BuildValues.h"

#include <QCoreApplication>
#include <QDir>
#include <QLabel>
#include <QProcess>

bool LauncherWindow::checkSelfUpdate(const LauncherMetadata& configuration)
{
    const FlowGuard guard(*this);
    if (buildvalues::launcherVersion() == QLatin1StringView("dev"))
        return false;
    const LauncherBuild* selected =
        selectBuild(configuration.launcherBuilds, PackageClient::currentOs(),
                    PackageClient::currentArchitecture());
    if (!selected)
        return false;
    const QString version = packageClient->fetchText(selected->versionurl, nullptr);
    if (version.isEmpty() || version == buildvalues::launcherVersion())
        return false;
    const OrlPackageDoc launcher = packageClient->fetchPackageDoc(selected->url, nullptr);
    // Without a data folder there is no place for the new launcher; the current one must not be it.
    const QString target = selfUpdateFolder(packageClient->dataFolder());
    if (launcher.version.isEmpty() || target.isEmpty())
        return false;

    QDir(target).removeRecursively();
    QString error;
    if (!packageClient->installPackage(selected->url, launcher, target, &error)) {
        showStatus(error);
        return false;
    }
    const QString folder = QCoreApplication::applicationDirPath();
    const QString program = pathBelowFolder(folder, launcher.executable);
    EventLoopPacer pacer;
    if (!copyProgramFiles(target, folder, launcher.executable, &error,
                          [&pacer] { return pacer.turnIfDue(); })) {
        showStatus(error);
        return false;
    }
    if (program.isEmpty())
        return false;
    PackageClient::makeExecutable(program);
    if (!QProcess::startDetached(program, {}, folder))
        return false;
    QCoreApplication::quit();
    return true;
}
