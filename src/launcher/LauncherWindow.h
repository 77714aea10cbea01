#pragma once

#include "launcher/WindowHeight.h"
#include "package/FileLock.h"
#include "package/LauncherMetadata.h"
#include "package/OrlPackageDoc.h"
#include "shared/Hints.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPointer>
#include <QProcess>
#include <QTimer>

#include <memory>

class FittingLabel;
class PackageClient;
class QCheckBox;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QProgressBar;
class QPushButton;
class QStackedLayout;
class QTextEdit;

namespace shared {
class QTextBrowserWithNetwork;
}

/// The launcher's one window: a licence page and the launcher page, and the flow that leads from
/// start-up over installing to the running client. Everything runs on the GUI thread; long work
/// blocks its caller but keeps the event loop turning (see PackageClient), so that slots may run
/// while a flow operation is on the stack. Downloading and writing files is PackageClient's job.
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

    /// Shows one of the button's modes by the words that its pictures are named with.
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
    class FlowGuard;

    // Pixels, on a screen that has room for them.
    static constexpr int hintHeight = 110;
    static constexpr int licenceHeight = 330;

    QWidget* buildLauncherPage();
    QLayout* buildTopRow(QWidget* page);
    void buildLogo(QWidget* page);
    void buildPackageGroup(QWidget* page);
    void buildMainButton();
    void buildPackageWidgets();
    void buildHintGroup(QWidget* page);
    QLayout* buildBottomRow(QWidget* page);
    void buildMakerLogo(QWidget* page);
    QWidget* buildLicencePage(const QString& licence);
    void buildPageStack(QWidget* licencePage, QWidget* launcherPage, bool showsLicence);

    void acceptLicence();
    void showAbout();
    void showMessage(const QString& text);
    void applyMakerLogoLink();
    void fitHeight();
    [[nodiscard]] int roomForHeight() const;
    bool squeezeInto(int room);
    void keepOnScreen();
    void showStatus(const QString& text);
    void showProgressLine();
    void buildProgressTimer();
    void buildClickTimer();
    void setClickWaits(bool waits);
    [[nodiscard]] bool takeWaitingClick();
    void explainMainButton();
    void showCannotStart(const QString& reason = {});
    [[nodiscard]] bool isUpToDate() const;
    [[nodiscard]] bool assetsAreCurrent() const;
    [[nodiscard]] bool selectPackageAndBuild(const LauncherMetadata& configuration,
                                             const QString& error);
    [[nodiscard]] bool replaceLauncher(const QUrl& url, const OrlPackageDoc& launcher,
                                       QString* error);
    [[nodiscard]] QString fetchVersion(const QUrl& url);
    [[nodiscard]] OrlPackageDoc fetchDocument(const QUrl& url, QString* error);
    void fetchRemoteState();
    void decide();
    [[nodiscard]] bool updateAlone(QString* error);
    [[nodiscard]] std::unique_ptr<FileLock> lockPackages(bool* waited);
    [[nodiscard]] bool updatePackage(QString* error);
    [[nodiscard]] bool updateAssets(QString* error);
    [[nodiscard]] bool installAssetsAs(const QString& hash, QString* error);
    void endUpdateWithFailure(const QString& error);
    void onClientFinished(int exitCode, QProcess::ExitStatus exitStatus,
                          const QString& restartRequest);
    void onShowRequestPoll(const QString& showRequest);
    void bringToFront();

    PackageClient* packageClient;
    LauncherPackage package;
    LauncherBuild build;
    OrlPackageDoc document;
    QString remoteVersion;
    QString remoteAssetsHash;
    bool filesIncomplete = false;
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
    QTextEdit* eulaEdit = nullptr;
    QPointer<QProcess> clientProcess;
    // How many flow operations are on the stack. The timer runs while a click waits for their end.
    int flowDepth = 0;
    QTimer clickTimer{this};
    // Why the last update failed; empty after the next click.
    QString lastError;
    // Runs between the reports of an installation, whose last one these are.
    QTimer progressTimer{this};
    qint64 lastBytes = 0;
    qint64 lastTotal = 0;
    WindowHeight windowHeight;
    // Of the logo as it is; on a low screen its label has less.
    int logoHeight = 0;
};
