#pragma once

#include "launcher/LauncherWindow.h"
#include "package/PackageClient.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// A window over a data folder of its own. The server's base address is up to the test; without one
/// every download fails at once.
class WindowFixture
{
public:
    WindowFixture()
    {
        m_client.setDataFolder(m_folder.path());
        m_window = std::make_unique<LauncherWindow>(&m_client);
    }

    LauncherWindow& window() { return *m_window; }
    PackageClient& client() { return m_client; }
    QString dataFolder() const { return m_folder.path(); }
    QString packageFolder() const { return m_folder.filePath(QStringLiteral("packages/Quelra")); }

    /// The widget or layout of that object name.
    template <typename Type>
    Type* find(const char* name) const
    {
        return m_window->findChild<Type*>(QLatin1StringView(name));
    }

    /// Puts a file into the package folder.
    void install(const QString& path, const QByteArray& content) const
    {
        const QString full = QDir(packageFolder()).filePath(path);
        QDir().mkpath(QFileInfo(full).path());
        QFile file(full);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }

private:
    QTemporaryDir m_folder;
    PackageClient m_client{nullptr};
    std::unique_ptr<LauncherWindow> m_window;
};
