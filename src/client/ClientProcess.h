#pragma once

#include "client/ClientEnvironment.h"

#include <QProcess>
#include <QString>

/// The game client while it runs, and for as long afterwards as its owner keeps it: its environment
/// and the files through which it asks the launcher for something. What that means for the window
/// is its owner's affair. Each start takes an object of its own.
class ClientProcess : public QProcess
{
    Q_OBJECT

public:
    /// On disk afterwards: no request of an earlier client.
    ClientProcess(const ClientLaunch& launch, QObject* parent);

    /// Kills a client that still runs. Its requests stay as they are.
    ~ClientProcess() override;
    Q_DISABLE_COPY_MOVE(ClientProcess)

    /// Starts the program (an absolute path) and waits for at most 5 seconds until it runs. False
    /// when it does not; errorString() tells why. The owner then deletes the object, which also
    /// ends a client that comes too late, and listens to it no longer.
    [[nodiscard]] bool startAndWait(const QString& program, const QString& workingDirectory);

Q_SIGNALS:
    /// The client asks for the launcher's window. Looked for every 500 ms, also after the client's
    /// end: it may have asked just before.
    void showRequested();

    /// The client has ended. `cleanly` means exit code 0 and no crash, `wantsRestart` that it asks
    /// for the launcher's update flow.
    void ended(bool cleanly, bool wantsRestart);
};
