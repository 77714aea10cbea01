#include "client/ClientProcess.h"
#include "launcher/LauncherWindow.h"
#include "launcher/SelfUpdate.h"
#include "package/Markers.h"
#include "package/PackageClient.h"
#include "package/SafePath.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

void LauncherWindow::loadConfiguration()
{
    const FlowGate::Guard guard(flowGate);
    QString error;
    const LauncherMetadata configuration = packageClient->fetchLauncherMetadata(&error);
    if (packageClient->isQuitting())
        return;
    if (!selectPackageAndBuild(configuration, error)) {
        refreshState();
        return;
    }
    installation.fetchOffered();
    if (packageClient->isQuitting())
        return;
    refreshHint();
    refreshState();
    if (packageClient->isQuitting() || checkSelfUpdate(configuration) ||
        packageClient->isQuitting())
        return;
    decide();
}

bool LauncherWindow::selectPackageAndBuild(const LauncherMetadata& configuration,
                                           const QString& error)
{
    if (configuration.packages.isEmpty()) {
        infoBrowser->setPlainText(
            error.isEmpty() ? QStringLiteral("Download of main configuration failed:") : error);
        return false;
    }
    const bool hasBuild = installation.select(configuration.packages.first());
    applyMakerLogoLink();
    if (!hasBuild)
        infoBrowser->setPlainText(QStringLiteral("Could not determine patch information. Your "
                                                 "client might no longer be supported."));
    return hasBuild;
}

void LauncherWindow::decide()
{
    const bool patch = QCoreApplication::arguments().contains(QStringLiteral("--patch"));
    if (patch && installation.isUpToDate())
        play();
    else if (installation.package.installautomatically && installedVersion().isEmpty())
        runUpdate(patch);
    else if (patch && remoteVersion != installedVersion())
        runUpdate(true);
}

bool LauncherWindow::checkSelfUpdate(const LauncherMetadata& configuration)
{
    const FlowGate::Guard guard(flowGate);
    SelfUpdate update(*packageClient);
    if (!update.isOffered(configuration))
        return false;
    if (packageClient->isQuitting())
        return true;
    setBusy(true, QStringLiteral("UPDATING"));
    elapsed.start();
    QString error;
    if (update.replaceAndStart(&error)) {
        QCoreApplication::quit();
        return true;
    }
    if (packageClient->isQuitting())
        return true;
    if (!error.isEmpty())
        qWarning("The launcher could not be replaced: %s", qUtf8Printable(error));
    setBusy(false);
    refreshState();
    showStatus(error);
    return false;
}

void LauncherWindow::runUpdate(bool launchAfter)
{
    const FlowGate::Guard guard(flowGate);
    if (installation.isUpToDate()) {
        if (launchAfter)
            play();
        return;
    }
    lastError.clear();
    setBusy(true, QStringLiteral("UPDATING"));
    elapsed.start();
    QString error;
    const bool updated = installation.update(&error);
    if (packageClient->isQuitting())
        return;
    if (!updated) {
        endUpdateWithFailure(error);
        return;
    }
    setBusy(false);
    showStatus(QString());
    progressBar->hide();
    refreshState();
    if (launchAfter && !packageClient->isQuitting())
        play();
}

void LauncherWindow::endUpdateWithFailure(const QString& error)
{
    // The status text is gone at once.
    qWarning("The update failed: %s", qUtf8Printable(error));
    setBusy(false);
    showStatus(error);
    refreshState();
    // Without a configuration there is nothing to install, whatever failed in trying to, and it is
    // asked for at the next start only.
    lastError = installation.build.url.isEmpty()
                    ? QStringLiteral("The launcher does not know the game's files. Please start it "
                                     "again when the server can be reached.")
                    : error;
    explainMainButton();
}

void LauncherWindow::onMainButtonClicked()
{
    lastError.clear();
    if (flowGate.isRunning() && !busy)
        flowGate.holdClick();
    else
        flowGate.forgetClick();
    if (flowGate.isRunning())
        return;
    if (installation.isUpToDate())
        play();
    else
        runUpdate(false);
}

void LauncherWindow::play()
{
    const FlowGate::Guard guard(flowGate);
    flowGate.forgetClick();
    setLogo(Launching);
    setButtonStyle(QStringLiteral("Green"), QStringLiteral("Play"));
    mainButton->setEnabled(false);
    const QString folder = packagePath();
    const OrlPackageDoc installed = installation.installedDocument();
    const QString program = pathBelowFolder(folder, installed.executable);
    if (!program.isEmpty() && QFileInfo::exists(program)) {
        PackageClient::makeExecutable(program);
        startClient(program, folder,
                    installed.version.isEmpty() ? remoteVersion : installed.version);
        return;
    }
    qWarning("There is no client to start in %s: \"%s\" is missing", qUtf8Printable(folder),
             qUtf8Printable(installed.executable));
    setLogo(Classic);
    refreshState();
    showCannotStart();
}

void LauncherWindow::startClient(const QString& program, const QString& workingDirectory,
                                 const QString& revision)
{
    if (clientProcess)
        return;
    const FlowGate::Guard guard(flowGate);
    const ClientLaunch launch{revision,
                              QCoreApplication::applicationFilePath(),
                              RequestFiles::in(packageClient->dataFolder()),
                              packageClient->baseUrl(),
                              qEnvironmentVariable("VORNAK_PLAY_BOOTSTRAP_CODE"),
                              qEnvironmentVariable("VORNAK_PORTAL_URL")};
    auto* process = new ClientProcess(launch, this);
    clientProcess = process;
    connect(process, &QProcess::started, this, &LauncherWindow::onClientStarted);
    connect(process, &ClientProcess::ended, this, &LauncherWindow::onClientEnded);
    connect(process, &ClientProcess::showRequested, this, &LauncherWindow::onShowRequested);
    if (process->startAndWait(program, workingDirectory))
        return;
    const QString reason = process->errorString();
    clientProcess.clear();
    // A start that comes too late must not hide the window; deleting the process object kills
    // it.
    process->disconnect(this);
    process->deleteLater();
    qWarning("Cannot start %s: %s", qUtf8Printable(program), qUtf8Printable(reason));
    setLogo(Classic);
    refreshState();
    showCannotStart(reason);
}

void LauncherWindow::onClientStarted()
{
    hide();
    // The About box would stay, over the game.
    for (QMessageBox* box : findChildren<QMessageBox*>())
        box->close();
}

void LauncherWindow::onClientEnded(bool cleanly, bool wantsRestart)
{
    clientProcess.clear();
    if (cleanly && !wantsRestart) {
        QCoreApplication::quit();
        return;
    }
    bringToFront();
    setLogo(Classic);
    if (wantsRestart) {
        loadConfiguration();
        return;
    }
    refreshState();
    showCannotStart();
}

void LauncherWindow::onShowRequested()
{
    bringToFront();
    if (clientProcess)
        return;
    setLogo(Classic);
    refreshState();
}

QString LauncherWindow::packagePath() const
{
    return installation.folder();
}

QString LauncherWindow::installedVersion() const
{
    return installation.installedVersion();
}

QString LauncherWindow::installedAssetsHash() const
{
    return installation.installedAssetsHash();
}

QString LauncherWindow::readTrimmedText(const QString& path) const
{
    return ::readTrimmedText(path);
}

bool LauncherWindow::hasSpritePacks() const
{
    return installation.hasSpritePacks();
}
