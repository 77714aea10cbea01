#include "launcher/DuskPalette.h"
#include "launcher/LauncherWindow.h"
#include "package/PackageClient.h"
#include "screenshots/States.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>
#include <QScreen>
#include <QSettings>
#include <QStyleFactory>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int settlingMs = 400;

// Lets pictures arrive and everything be painted.
void settle()
{
    QEventLoop loop;
    QTimer::singleShot(settlingMs, &loop, &QEventLoop::quit);
    loop.exec();
}

// What is on the screen, not what the widgets would paint: that is what the player gets.
bool saveScreen(const QWidget& window, const QString& file)
{
    const QRect place = window.geometry();
    return window.screen()
        ->grabWindow(0, place.x(), place.y(), place.width(), place.height())
        .save(file);
}

bool save(const WindowState& state, const QString& baseUrl, const QString& file)
{
    QSettings().setValue(QStringLiteral("eulaAccepted"), state.licenceAccepted);
    const QTemporaryDir data;
    if (state.prepare)
        state.prepare(data.path());
    PackageClient client(nullptr);
    const bool isElsewhere = state.baseUrl.startsWith(QLatin1StringView("http"));
    client.setBaseUrl(isElsewhere ? state.baseUrl : baseUrl + state.baseUrl);
    client.setDataFolder(data.path());
    LauncherWindow window(&client);
    window.show();
    settle();
    if (state.act)
        state.act(window);
    // A box that the state has opened keeps its own event loop running until it is closed.
    bool isSaved = false;
    QTimer::singleShot(settlingMs, &window, [&window, &file, &isSaved] {
        isSaved = saveScreen(window, file);
        if (QWidget* box = QApplication::activeModalWidget())
            box->close();
    });
    settle();
    settle();
    return isSaved;
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(duskPalette());
    QCoreApplication::setOrganizationName(QStringLiteral("Vornak"));
    QCoreApplication::setApplicationName(QStringLiteral("Launcher"));
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments.at(1) == QLatin1StringView("--content")) {
        writeContent(arguments.at(2));
        return 0;
    }
    if (arguments.size() != 4) {
        std::fprintf(stderr, "usage: vornak-screenshots --content FOLDER\n"
                             "       vornak-screenshots BASE-URL FOLDER SUFFIX\n");
        return 2;
    }
    for (const WindowState& state : windowStates()) {
        const QString file = QDir(arguments.at(2)).filePath(state.name + arguments.at(3));
        if (!save(state, arguments.at(1), file)) {
            std::fprintf(stderr, "cannot save %s\n", qUtf8Printable(file));
            return 1;
        }
    }
    return 0;
}
