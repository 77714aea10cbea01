#include "launcher/LauncherWindow.h"

#include "launcher/FocusMark.h"
#include "launcher/HeightFitter.h"
#include "launcher/LauncherPage.h"
#include "launcher/LicencePage.h"
#include "launcher/LinkLabel.h"
#include "launcher/ProgramIcon.h"
#include "launcher/StyleSheet.h"
#include "package/PackageClient.h"

#include <QCheckBox>
#include <QFile>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStackedLayout>

#include <chrono>

namespace {

QString licenceText()
{
    QFile file(QStringLiteral(":/documents/quelra-eula.md"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

LauncherWindow::LauncherWindow(PackageClient* client, QWidget* parent)
    : QMainWindow(parent)
    , packageClient(client)
    , installation(client)
{
    setWindowTitle(QStringLiteral("Vornak"));
    setWindowIcon(programIcon());
    setFixedWidth(800);
    setMaximumHeight(600);
    setCentralWidget(new QWidget(this));

    // Before there are widgets: setting it later would style each of them at once, and once more
    // when it is shown.
    setStyleSheet(loadStyleSheet("window.qss"));

    const QString licence = licenceText();
    // A build without a licence document has nothing to accept.
    const bool accepted = QSettings().value(QStringLiteral("eulaAccepted")).toBool();
    buildPages(licence);
    setLogo(Classic);
    connectWidgets();
    connectParts();
    setButtonStyle(QStringLiteral("Blue"), QStringLiteral("Download"));
    // Last, since the stack shows a page at once, which styles and lays out all that is on it.
    buildPageStack(!accepted && !licence.isEmpty());
    new FocusMark(this);
}

LauncherWindow::~LauncherWindow()
{
    // A client that still runs ends with its process object, after the window's own members: there
    // is nothing left then that could react.
    if (clientProcess)
        clientProcess->disconnect(this);
}

void LauncherWindow::buildPages(const QString& licence)
{
    licencePage = new LicencePage(licence, centralWidget());
    launcherPage = new LauncherPage(centralWidget());
    heightFitter = std::make_unique<HeightFitter>(*this, *launcherPage, *licencePage);
    infoBrowser = launcherPage->infoBrowser;
    logoLabel = launcherPage->logoLabel;
    versionLabel = launcherPage->versionLabel;
    statusLabel = launcherPage->statusLabel;
    revisionLabel = launcherPage->revisionLabel;
    makerLogoLabel = launcherPage->makerLogoLabel;
    defaultClientCheckBox = launcherPage->defaultClientCheckBox;
    progressBar = launcherPage->progressBar;
    mainButton = launcherPage->mainButton;
    packageGroup = launcherPage->packageGroup;
    hintGroup = launcherPage->hintGroup;
}

void LauncherWindow::buildPageStack(bool showsLicence)
{
    auto* layout = new QVBoxLayout(centralWidget());
    layout->setContentsMargins(0, 0, 0, 0);
    pageStack = new QStackedLayout(layout);
    pageStack->setObjectName(QStringLiteral("pageStack"));
    // The page that comes first is shown at once; the other is not styled until it is needed.
    if (showsLicence)
        pageStack->addWidget(licencePage);
    pageStack->addWidget(launcherPage);
    if (!showsLicence)
        pageStack->insertWidget(0, licencePage);
}

void LauncherWindow::connectWidgets()
{
    connect(mainButton, &QPushButton::clicked, this, &LauncherWindow::onMainButtonClicked);
    connect(licencePage->acceptButton, &QPushButton::clicked, this, [this] { acceptLicence(); });
    connect(launcherPage->aboutLabel, &QLabel::linkActivated, this, [this] { showAbout(); });
    connect(defaultClientCheckBox, &QCheckBox::toggled, this,
            [](bool checked) { QSettings().setValue(QStringLiteral("defaultClient"), checked); });
}

void LauncherWindow::connectParts()
{
    connect(packageClient, &PackageClient::progress, this, &LauncherWindow::onProgress);
    connect(&installation, &Installation::waitsForAnother, this,
            [this] { showStatus(QStringLiteral("Waiting for another launcher")); });
    connect(&installation, &Installation::goesOnAfterAnother, this, [this] { elapsed.start(); });
    connect(&flowGate, &FlowGate::clickHeldChanged, this, &LauncherWindow::showHeldClick);
    // Queued: the operation that has just ended is still about to return.
    connect(
        &flowGate, &FlowGate::clickDue, this,
        [this] {
            if (!packageClient->isQuitting())
                onMainButtonClicked();
        },
        Qt::QueuedConnection);
    progressTimer.setObjectName(QStringLiteral("progressTimer"));
    progressTimer.setInterval(std::chrono::seconds(1));
    connect(&progressTimer, &QTimer::timeout, this, &LauncherWindow::showProgressLine);
}

bool LauncherWindow::event(QEvent* event)
{
    const bool handled = QMainWindow::event(event);
    if (event->type() == QEvent::LayoutRequest)
        heightFitter->fit();
    return handled;
}

// The main button takes no focus, so that no focus frame covers its picture. Return is its key:
// whatever has the focus gets the key first and leaves it alone when it has no use for it. A key
// that is held down would start the game as soon as an update ends.
void LauncherWindow::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool isPress = isReturn && !event->isAutoRepeat();
    // Qt presses a button by Return in dialogs only.
    auto* focused = qobject_cast<QPushButton*>(focusWidget());
    if (isPress && focused)
        focused->click();
    else if (isPress && pageStack->currentIndex() == 1)
        mainButton->click();
    else
        QMainWindow::keyPressEvent(event);
}

void LauncherWindow::acceptLicence()
{
    QSettings().setValue(QStringLiteral("eulaAccepted"), true);
    if (pageStack)
        pageStack->setCurrentIndex(1);
}

void LauncherWindow::showAbout()
{
    const QString title = QStringLiteral("About");
    const QString text = QStringLiteral(
        "Vornak launcher\n\nSource code, including modifications, at the Vornak repository.");
    if (!flowGate.isRunning()) {
        QMessageBox::about(this, title, text);
        return;
    }
    // Its own event loop would keep the flow below it from going on until the box is closed.
    auto* box = new QMessageBox(QMessageBox::NoIcon, title, text, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIconPixmap(box->windowIcon().pixmap(QSize(64, 64)));
    box->open();
}
