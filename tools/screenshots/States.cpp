#include "screenshots/States.h"

#include "launcher/LauncherWindow.h"
#include "package/OrlPackageDoc.h"
#include "package/Unpack.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QScrollBar>
#include <QTextEdit>
#include <QTimer>

#include <algorithm>

namespace {

const char* const clientFile = "a file of the client\n";

void writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qUtf8Printable(path));
}

OrlPackageDoc packageDocument(const QString& version)
{
    OrlPackageDoc doc;
    doc.version = version;
    doc.executable = QStringLiteral("quelra");
    OrlFile file;
    file.localfile = QStringLiteral("data/world.pak");
    file.unpackedhash = hashBytes(clientFile);
    file.unpackedsize = QByteArrayView(clientFile).size();
    doc.files = {file};
    return doc;
}

QByteArray metadata(const char* os)
{
    return QByteArray(R"({"packages":[{"name":"Quelra","builds":[{"os":")") + os +
           R"(","architecture":"x86_64","url":"/launcher/package.json",)"
           R"("versionurl":"/launcher/version"}]}]})";
}

void install(const QString& dataFolder, const QString& version)
{
    const QDir package(dataFolder + QLatin1StringView("/packages/Quelra"));
    writeFile(package.filePath(QStringLiteral("data/world.pak")), clientFile);
    writeFile(package.filePath(QStringLiteral("package.json.version")), version.toUtf8());
    writeFile(package.filePath(QStringLiteral("package.json")),
              serializePackageDoc(packageDocument(version)));
}

std::function<void(const QString&)> installed(const char* version)
{
    return [version](const QString& folder) { install(folder, QLatin1StringView(version)); };
}

void load(LauncherWindow& window)
{
    window.loadConfiguration();
}

// The line that a player sees most of the time, and about as long as it gets.
std::function<void(LauncherWindow&)> updating(qint64 done, qint64 elapsedMs)
{
    return [done, elapsedMs](LauncherWindow& window) {
        constexpr qint64 total = 18'742'000'000;
        window.loadConfiguration();
        window.setBusy(true);
        window.onProgress(done * (total / 100), total);
        window.findChild<QLabel*>(QStringLiteral("statusLabel"))
            ->setText(LauncherWindow::etaText(done * (total / 100), total, elapsedMs));
    };
}

void scrollLicence(LauncherWindow& window)
{
    QScrollBar* bar = window.findChild<QTextEdit*>(QStringLiteral("eulaEdit"))->verticalScrollBar();
    bar->setValue(bar->maximum() / 2);
}

void launch(LauncherWindow& window)
{
    load(window);
    window.setLogo(LauncherWindow::Launching);
    window.findChild<QWidget*>(QStringLiteral("mainButton"))->setEnabled(false);
}

void showLongestHint(LauncherWindow& window)
{
    load(window);
    const QList<HintEntry> hints = loadEmbeddedHints();
    window.showHint(
        {*std::max_element(hints.begin(), hints.end(), [](const HintEntry& a, const HintEntry& b) {
            return a.richText.size() < b.richText.size();
        })});
}

void loadAndPlay(LauncherWindow& window)
{
    load(window);
    window.play();
}

void replaceItself(LauncherWindow& window)
{
    load(window);
    window.setBusy(true);
    window.onProgress(14'000'000, 22'000'000);
    window.findChild<QLabel*>(QStringLiteral("statusLabel"))
        ->setText(LauncherWindow::etaText(14'000'000, 22'000'000, 3'200));
}

void failToStart(LauncherWindow& window)
{
    load(window);
    window.startClient(window.packagePath() + QLatin1StringView("/quelra"), window.packagePath(),
                       QString());
}

void updateAndEnd(LauncherWindow& window)
{
    load(window);
    window.runUpdate(false);
}

void showAbout(LauncherWindow& window)
{
    load(window);
    // The box has an event loop of its own.
    QTimer::singleShot(0, &window, [&window] {
        Q_EMIT window.findChild<QLabel*>(QStringLiteral("aboutLabel"))
            ->linkActivated(QStringLiteral("about"));
    });
}

} // namespace

void writeContent(const QString& folder)
{
    const QDir content(folder);
    const QByteArray document = serializePackageDoc(packageDocument(QStringLiteral("1.4.27")));
    writeFile(content.filePath(QStringLiteral("launcher/quelrametadata.json")),
              metadata("windows"));
    writeFile(content.filePath(QStringLiteral("launcher/package.json")), document);
    writeFile(content.filePath(QStringLiteral("launcher/version")), "1.4.27\n");
    writeFile(content.filePath(QStringLiteral("other/launcher/quelrametadata.json")),
              metadata("another"));
}

QList<WindowState> windowStates()
{
    const QString nobody = QStringLiteral("http://127.0.0.1:9");
    const QString other = QStringLiteral("/other");
    const auto row = [](const char* name, auto prepare, auto act) {
        return WindowState{QLatin1StringView(name), prepare, QString(), true, act};
    };
    QList<WindowState> states{
        row("licence", nullptr, nullptr),
        row("licence-scrolled", nullptr, scrollLicence),
        row("download", nullptr, load),
        row("update", installed("1.4.26"), load),
        row("updating-0", installed("1.4.26"), updating(0, 1'000)),
        row("updating-37", installed("1.4.26"), updating(37, 812'000)),
        row("updating-100", installed("1.4.26"), updating(100, 2'190'000)),
        row("play", installed("1.4.27"), load),
        row("launching", installed("1.4.27"), launch),
        row("cannot-start", installed("1.4.27"), loadAndPlay),
        row("cannot-start-why", installed("1.4.27"), failToStart),
        row("replacing-itself", installed("1.4.27"), replaceItself),
        row("after-update", installed("1.4.26"), updateAndEnd),
        row("about", installed("1.4.27"), showAbout),
        row("long-hint", installed("1.4.27"), showLongestHint),
    };
    states[0].licenceAccepted = false;
    states[1].licenceAccepted = false;
    states.append({QStringLiteral("configuration-failed"), nullptr, other, true, load});
    states.append({QStringLiteral("no-network"), nullptr, nobody, true, load});
    return states;
}
