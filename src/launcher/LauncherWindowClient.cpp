#include "client/ClientEnvironment.h"
#include "launcher/FlowGuard.h"
#include "launcher/LauncherWindow.h"
#include "package/PackageClient.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QProcess>
#include <QTimer>

namespace {

constexpr int startTimeoutMs = 5000;
constexpr int showPollIntervalMs = 500;

} // namespace

void LauncherWindow::startClient(const QString& program, const QString& workingDirectory,
                                 const QString& revision)
{
    if (clientProcess)
        return;
    const FlowGuard guard(*this);
    const RequestFiles requests = RequestFiles::in(packageClient->dataFolder());
    requests.removeAll();

    auto* process = new QProcess(this);
    clientProcess = process;
    process->setProgram(program);
    process->setWorkingDirectory(workingDirectory);
    process->setProcessEnvironment(clientEnvironment(
        QProcessEnvironment::systemEnvironment(),
        {revision, QCoreApplication::applicationFilePath(), requests, packageClient->baseUrl(),
         qEnvironmentVariable("VORNAK_PLAY_BOOTSTRAP_CODE"),
         qEnvironmentVariable("VORNAK_PORTAL_URL")}));
    // Nobody reads what the client prints. A pipe would fill up and block it, or break under it
    // when the launcher ends first.
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());

    connect(process, &QProcess::started, this, &QWidget::hide);
    connect(process, &QProcess::started, this, [this] {
        // The About box would stay, over the game.
        for (QMessageBox* box : findChildren<QMessageBox*>())
            box->close();
    });
    connect(process, &QProcess::finished, this,
            [this, restart = requests.restart](int exitCode, QProcess::ExitStatus exitStatus) {
                onClientFinished(exitCode, exitStatus, restart);
            });
    // It lives as long as the process object, so that a request left behind by a client that has
    // ended is served too.
    auto* poll = new QTimer(process);
    connect(poll, &QTimer::timeout, this,
            [this, show = requests.show] { onShowRequestPoll(show); });
    poll->start(showPollIntervalMs);

    process->start(QIODevice::ReadWrite);
    if (process->waitForStarted(startTimeoutMs))
        return;
    const QString reason = process->errorString();
    clientProcess.clear();
    // A start that comes too late must not hide the window; deleting the process object kills
    // it.
    process->disconnect(this);
    process->deleteLater();
    setLogo(Classic);
    refreshState();
    showCannotStart(reason);
}

void LauncherWindow::onClientFinished(int exitCode, QProcess::ExitStatus exitStatus,
                                      const QString& restartRequest)
{
    const bool restart = takeRequest(restartRequest);
    clientProcess.clear();
    if (exitStatus == QProcess::NormalExit && exitCode == 0 && !restart) {
        QCoreApplication::quit();
        return;
    }
    bringToFront();
    setLogo(Classic);
    if (restart) {
        loadConfiguration();
        return;
    }
    refreshState();
    showCannotStart();
}

void LauncherWindow::onShowRequestPoll(const QString& showRequest)
{
    if (!takeRequest(showRequest))
        return;
    bringToFront();
    if (clientProcess)
        return;
    setLogo(Classic);
    refreshState();
}

void LauncherWindow::showCannotStart(const QString& reason)
{
    showStatus(reason.isEmpty() ? QStringLiteral("Quelra cannot be started")
                                : QStringLiteral("Quelra cannot be started: %1").arg(reason));
}

void LauncherWindow::bringToFront()
{
    show();
    raise();
    activateWindow();
}
