#include "launcher/LauncherWindow.h"

#include "launcher/ProgramIcon.h"
#include "launcher/StyleSheet.h"
#include "package/PackageClient.h"

#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QStackedLayout>

LauncherWindow::LauncherWindow(PackageClient* client, QWidget* parent)
    : QMainWindow(parent)
    , packageClient(client)
{
    setWindowTitle(QStringLiteral("Vornak"));
    setWindowIcon(programIcon());
    setFixedWidth(800);
    setMaximumHeight(600);
    setCentralWidget(new QWidget(this));

    buildLogo();
    buildMainButton();
    buildPackageWidgets();
    buildPackageGroup();
    buildHintGroup();
    buildMakerLogo();
    buildPages();

    connect(mainButton, &QPushButton::clicked, this, &LauncherWindow::onMainButtonClicked);
    connect(packageClient, &PackageClient::progress, this, &LauncherWindow::onProgress);
    setStyleSheet(loadStyleSheet("window.qss"));
    setButtonStyle(QStringLiteral("Blue"), QStringLiteral("Download"));
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
    QMessageBox::about(this, QStringLiteral("About"),
                       QStringLiteral("Vornak launcher\n\nSource code, including modifications, at "
                                      "the Vornak repository."));
}

// The main button takes no focus, so that no focus frame covers its picture. Return is its key:
// whatever has the focus gets the key first and leaves it alone when it has no use for it.
void LauncherWindow::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && pageStack->currentIndex() == 1 && mainButton->isEnabled())
        mainButton->click();
    else
        QMainWindow::keyPressEvent(event);
}
