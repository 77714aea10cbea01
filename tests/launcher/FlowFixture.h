#pragma once

#include "launcher/WindowFixture.h"
#include "support/ContentTree.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestClient.h"
#include "support/TestFiles.h"

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>

/// A window in front of a scripted content server that offers version 1.0.0 of a client: the
/// recording client and a data file, and no assets yet.
class FlowFixture : public WindowFixture
{
public:
    FlowFixture()
        : tree(server)
    {
        client().setBaseUrl(server.baseUrl());
        tree.package.executable = QStringLiteral("bin/client");
        tree.addFile(QStringLiteral("bin/client"), testclient::programBytes());
        tree.addFile(QStringLiteral("data.bin"), data);
    }

    ~FlowFixture()
    {
        // A client that a test left waiting must not outlive it.
        for (QProcess* process : window().findChildren<QProcess*>()) {
            process->kill();
            process->waitForFinished();
        }
    }

    void publishAndLoad()
    {
        tree.publish();
        window().loadConfiguration();
    }

    [[nodiscard]] QString mode() const { return find<QPushButton>("mainButton")->accessibleName(); }
    [[nodiscard]] QString status() const { return find<QLabel>("statusLabel")->text(); }
    [[nodiscard]] QString message() const
    {
        return find<QTextBrowser>("infoBrowser")->toPlainText();
    }
    [[nodiscard]] QByteArray installed(const char* path) const
    {
        return testfiles::read(packageFolder() + QLatin1Char('/') + QLatin1StringView(path));
    }
    [[nodiscard]] QString program() const
    {
        return packageFolder() + QLatin1StringView("/bin/client");
    }
    void click() const { find<QPushButton>("mainButton")->click(); }
    [[nodiscard]] bool clientHasStarted() const
    {
        return QFile::exists(testclient::recordPath(program()));
    }

    const QByteArray data = testfiles::randomBytes(100'000, 1);
    ScriptedHttpServer server;
    ContentTree tree;
};
