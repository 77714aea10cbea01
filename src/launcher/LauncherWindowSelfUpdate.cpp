#include "launcher/FlowGuard.h"
#include "launcher/LauncherWindow.h"
#include "launcher/ProgramFiles.h"
#include "package/PackageClient.h"
#include "package/SafePath.h"
#include "shared/BuildValues.h"

#include <QCoreApplication>
#include <QDir>
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
    const QString version = fetchVersion(selected->versionurl);
    if (version.isEmpty() || version == buildvalues::launcherVersion())
        return false;
    const OrlPackageDoc launcher = fetchDocument(selected->url, nullptr);
    if (launcher.version.isEmpty())
        return false;
    // What is offered is here already when it was built with another version than it is offered as,
    // or when another launcher has put it here. It would be fetched again at each start.
    if (!packageClient->hasMissingFiles(copiedPart(launcher),
                                        QCoreApplication::applicationDirPath()))
        return false;
    if (packageClient->isQuitting())
        return true;

    setBusy(true, QStringLiteral("UPDATING"));
    elapsed.start();
    QString error;
    if (replaceLauncher(selected->url, launcher, &error)) {
        QCoreApplication::quit();
        return true;
    }
    if (packageClient->isQuitting())
        return true;
    setBusy(false);
    refreshState();
    showStatus(error);
    return false;
}

bool LauncherWindow::replaceLauncher(const QUrl& url, const OrlPackageDoc& launcher, QString* error)
{
    // Without a data folder there is no place for the new launcher; the current one must not be it.
    const QString target = selfUpdateFolder(packageClient->dataFolder());
    if (target.isEmpty())
        return false;
    const QString folder = QCoreApplication::applicationDirPath();
    const QString program = pathBelowFolder(folder, launcher.executable);
    {
        // A player who starts two launchers at once gets one new one.
        const auto lock = lockSelfUpdate(target, error);
        if (!lock || !packageClient->hasMissingFiles(copiedPart(launcher), folder) ||
            packageClient->isQuitting())
            return false;
        QDir(target).removeRecursively();
        if (!packageClient->installPackage(url, launcher, target, error) ||
            !copyProgramFiles(target, folder, launcher.executable, error,
                              [this] { return packageClient->turnIfDue(); }))
            return false;
    }
    if (program.isEmpty())
        return false;
    PackageClient::makeExecutable(program);
    return QProcess::startDetached(program, {}, folder);
}
