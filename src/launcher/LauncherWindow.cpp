#include "launcher/LauncherWindow.h"

#include "launcher/FocusMark.h"
#include "launcher/ProgramIcon.h"
#include "launcher/StyleSheet.h"
#include "package/PackageClient.h"

#include <QFile>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStackedLayout>

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
    const bool showsLicence = !accepted && !licence.isEmpty();
    auto* licencePage = buildLicencePage(licence);
    auto* launcherPage = buildLauncherPage();
    connect(mainButton, &QPushButton::clicked, this, &LauncherWindow::onMainButtonClicked);
    connect(packageClient, &PackageClient::progress, this, &LauncherWindow::onProgress);
    setButtonStyle(QStringLiteral("Blue"), QStringLiteral("Download"));
    // Last, since the stack shows a page at once, which styles and lays out all that is on it.
    buildPageStack(licencePage, launcherPage, showsLicence);
    new FocusMark(this);
    buildClickTimer();
    buildProgressTimer();
}

LauncherWindow::~LauncherWindow()
{
    // A client that still runs ends with its process object, after the window's own members: there
    // is nothing left then that could react.
    if (clientProcess)
        clientProcess->disconnect(this);
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
    if (flowDepth == 0) {
        QMessageBox::about(this, title, text);
        return;
    }
    // Its own event loop would keep the flow below it from going on until the box is closed.
    auto* box = new QMessageBox(QMessageBox::NoIcon, title, text, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIconPixmap(box->windowIcon().pixmap(QSize(64, 64)));
    box->open();
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
