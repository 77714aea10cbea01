#pragma once

#include "launcher/FlowGate.h"
#include "launcher/Installation.h"
#include "package/LauncherMetadata.h"
#include "shared/Hints.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QProcess>
#include <QTimer>

#include <memory>

class FittingLabel;
class HeightFitter;
class LauncherPage;
class LicencePage;
class PackageClient;
class QCheckBox;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QStackedLayout;

namespace shared {
class QTextBrowserWithNetwork;
}

/// The launcher's one window, and the flow that leads from start-up through installation to the
/// running client. It shows what Installation, SelfUpdate and ClientProcess tell it, and turns
/// clicks into calls to them. Everything runs on the GUI thread; long work blocks its caller but
/// keeps the event loop turning (see PackageClient), so that slots may run while a flow operation
/// is on the stack.
///
/// `main` owns it and never deletes it while a client runs.
class LauncherWindow : public QMainWindow
{
    Q_OBJECT

public:
    enum LogoMode { Classic = 0, Updating = 1, Launching = 2 };

    /// `client` outlives the window.
    explicit LauncherWindow(PackageClient* client, QWidget* parent = nullptr);
    ~LauncherWindow() override;

    // The flow.

    /// Fetches the configuration and decides what to offer or do: the start of everything, and what
    /// a client's restart request comes back to.
    void loadConfiguration();

    /// Replaces the launcher itself when the configuration names another version of it: installs
    /// that into the "self-update" folder, copies it over the application's folder, starts it and
    /// quits. True when the flow ends here: the new launcher was started, or the program is ending.
    /// Does nothing in a "dev" build, or when what is offered is in the application's folder
    /// already.
    bool checkSelfUpdate(const LauncherMetadata& configuration);

    /// Installs package and assets unless they are up to date; then starts the client when
    /// `launchAfter` is set.
    void runUpdate(bool launchAfter);

    /// Starts an up-to-date client, else installs. While the flow is on the stack already the click
    /// waits for its end, which the button shows, and is forgotten after ten seconds, or when an
    /// update or the client begins before; during an update nothing happens.
    void onMainButtonClicked();

    /// Starts the installed client.
    void play();

    /// Folder of the selected package; empty when the server names one outside "packages/".
    [[nodiscard]] QString packagePath() const;
    /// Version recorded in the package folder; empty when nothing is installed.
    [[nodiscard]] QString installedVersion() const;
    /// Identity of the installed asset set; empty when there is none.
    [[nodiscard]] QString installedAssetsHash() const;
    /// The file's content as UTF-8 without white space at its ends; empty when it cannot be opened.
    [[nodiscard]] QString readTrimmedText(const QString& path) const;
    [[nodiscard]] bool hasSpritePacks() const;

    // The client.

    /// Starts the client and hides the window while it runs. `program` is an absolute path. Nothing
    /// while a client runs. Blocks for at most 5 seconds; a failure shows on the status label.
    void startClient(const QString& program, const QString& workingDirectory,
                     const QString& revision);

    // The look.

    /// Shows an installation's progress; ignored unless an update runs. Bytes; a total below 1
    /// means "unknown".
    void onProgress(qint64 bytes, qint64 totalBytes);

    /// "ETA hh:mm:ss rate kB/s done/total mB"; sizes in bytes, decimal units.
    [[nodiscard]] static QString etaText(qint64 bytes, qint64 total, qint64 elapsedMs);

    /// Shows one of the button's modes; the words are those in the names of its pictures.
    void setButtonStyle(const QString& colour, const QString& icon);

    /// Enters or leaves the updating look. The status text is not shown.
    void setBusy(bool updating, const QString& statusText = {});

    /// A LogoMode; any other number is taken as Classic.
    void setLogo(int mode);

    /// Shows version texts and, unless an update runs, the button mode that fits what is installed;
    /// clears the status label. Reads every installed file.
    void refreshState();

    /// The last number of a version text: what follows its last "." (or else "-"), or all of it.
    [[nodiscard]] static QString versionSuffix(const QString& text);

    /// Shows one hint of the list, or of the embedded ones when the list has no pictures, or none
    /// that the window could lay out in good time.
    void showHint(const QList<HintEntry>& hints);

    /// Fetches the hints and shows one.
    void refreshHint();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void buildPages(const QString& licence);
    void buildPageStack(bool showsLicence);
    void connectWidgets();
    void connectParts();

    void acceptLicence();
    void showAbout();
    void applyMakerLogoLink();
    void showStatus(const QString& text);
    void showProgressLine();
    void showOffer();
    void showHeldClick();
    void explainMainButton();
    void showCannotStart(const QString& reason = {});
    void bringToFront();

    [[nodiscard]] bool selectPackageAndBuild(const LauncherMetadata& configuration,
                                             const QString& error);
    void decide();
    void endUpdateWithFailure(const QString& error);
    void onClientStarted();
    void onClientEnded(bool cleanly, bool wantsRestart);
    void onShowRequested();

    PackageClient* packageClient;
    Installation installation;
    // What the installation knows of the server and of its files.
    QString& remoteVersion = installation.remoteVersion;
    QString& remoteAssetsHash = installation.remoteAssetsHash;
    bool& filesIncomplete = installation.filesIncomplete;
    bool busy = false;
    QElapsedTimer elapsed;
    QStackedLayout* pageStack = nullptr;
    shared::QTextBrowserWithNetwork* infoBrowser = nullptr;
    QLabel* logoLabel = nullptr;
    FittingLabel* versionLabel = nullptr;
    FittingLabel* statusLabel = nullptr;
    QLabel* revisionLabel = nullptr;
    QLabel* makerLogoLabel = nullptr;
    QCheckBox* defaultClientCheckBox = nullptr;
    QProgressBar* progressBar = nullptr;
    QPushButton* mainButton = nullptr;
    QGroupBox* packageGroup = nullptr;
    QGroupBox* hintGroup = nullptr;
    QPointer<QProcess> clientProcess;
    LicencePage* licencePage = nullptr;
    LauncherPage* launcherPage = nullptr;
    std::unique_ptr<HeightFitter> heightFitter;
    FlowGate flowGate{this};
    // Why the last update failed; empty after the next click.
    QString lastError;
    // Runs between the reports of an installation, whose last one these are.
    QTimer progressTimer{this};
    qint64 lastBytes = 0;
    qint64 lastTotal = 0;
};
