#include "launcher/DuskPalette.h"
#include "launcher/Environment.h"
#include "launcher/LauncherWindow.h"
#include "launcher/LogFile.h"
#include "launcher/SelfUpdateFiles.h"
#include "launcher/WindowsAppEntry.h"
#include "package/PackageClient.h"
#include "package/Utf8Locale.h"
#include "shared/BuildValues.h"

#include <QApplication>
#include <QFile>
#include <QImageReader>
#include <QLoggingCategory>
#include <QStyleFactory>
#include <QTimer>

namespace {

// Names come before anything that asks for settings or folders, because both depend on them.
void setNames()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Vornak"));
    QCoreApplication::setApplicationName(QStringLiteral("Launcher"));
    QCoreApplication::setApplicationVersion(buildvalues::launcherVersion());
}

void setLooks()
{
    if (QStyle* style = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(style);
    QApplication::setPalette(duskPalette());
}

// The client finds the launcher through this file when it was not started by it.
void writeLauncherPath()
{
    QFile file(launcherPathFile());
    const QByteArray path = QCoreApplication::applicationFilePath().toUtf8();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(path) != path.size() ||
        !file.flush())
        qWarning("Cannot write %s: %s", qUtf8Printable(file.fileName()),
                 qUtf8Printable(file.errorString()));
}

PackageClient* makeClient()
{
    auto* client = new PackageClient(qApp);
    const QString base = cdnBaseUrl();
    qInfo().noquote() << "launcher CDN:" << base;
    client->setBaseUrl(base);
    client->setDataFolder(dataFolder());
    client->setPublisherKeys(buildvalues::publisherKeys());
    return client;
}

} // namespace

int main(int argc, char* argv[])
{
    Utf8Locale locale;
    const QApplication application(argc, argv);
    locale.restoreEnvironment();
    setLooks();
    // Pictures of hints come from elsewhere; a few bytes may claim to be one that fills the memory.
    QImageReader::setAllocationLimit(128);
    setNames();
    startLogFile(logFilePath());
    writeLauncherPath();
#ifdef Q_OS_WIN
    updateWindowsAppEntry();
#endif
    if (tryDevAutoplay())
        return 0;

    auto* client = makeClient();
    settleProgramFiles(selfUpdateFolder(client->dataFolder()),
                       QCoreApplication::applicationDirPath());

    // Never deleted: a client that still runs belongs to the window, and destroying its process
    // object would kill it.
    auto* window = new LauncherWindow(client);
    window->show();
    // The window is painted before the first request, which loads what encrypted ones would need.
    // Within the event loop, since a window that is closed before it begins does not end it.
    QTimer::singleShot(0, window, [window] {
        QGuiApplication::sync();
        window->loadConfiguration();
    });
    const int result = QApplication::exec();
    // Before the application goes: its network thread may be just starting, and the event loop
    // there needs an application.
    delete client;
    return result;
}
