#include "client/ClientProcess.h"

#include <QTimer>

#include <chrono>

namespace {

constexpr int startTimeoutMs = 5000;
constexpr std::chrono::milliseconds showPollInterval{500};

} // namespace

ClientProcess::ClientProcess(const ClientLaunch& launch, QObject* parent)
    : QProcess(parent)
{
    launch.requests.removeAll();
    setProcessEnvironment(clientEnvironment(QProcessEnvironment::systemEnvironment(), launch));
    // Nobody reads what the client prints. A pipe would fill up and block it, or break under it
    // when the launcher ends first.
    setStandardOutputFile(QProcess::nullDevice());
    setStandardErrorFile(QProcess::nullDevice());

    connect(this, &QProcess::finished, this,
            [this, restart = launch.requests.restart](int exitCode, ExitStatus exitStatus) {
                const bool wantsRestart = takeRequest(restart);
                Q_EMIT ended(exitStatus == NormalExit && exitCode == 0, wantsRestart);
            });
    auto* poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [this, show = launch.requests.show] {
        if (takeRequest(show))
            Q_EMIT showRequested();
    });
    poll->start(showPollInterval);
}

ClientProcess::~ClientProcess()
{
    // The base kills the client and tells of its end.
    disconnect(this, nullptr, this, nullptr);
}

bool ClientProcess::startAndWait(const QString& program, const QString& workingDirectory)
{
    setProgram(program);
    setWorkingDirectory(workingDirectory);
    start(QIODevice::ReadWrite);
    return waitForStarted(startTimeoutMs);
}
