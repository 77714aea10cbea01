#include "launcher/LauncherWindow.h"
#include "launcher/PlainToolTip.h"

#include <QPushButton>

#include <chrono>

// A player who clicked and went away does not want the game to start when the server answers at
// last.
void LauncherWindow::buildClickTimer()
{
    clickTimer.setObjectName(QStringLiteral("clickTimer"));
    clickTimer.setSingleShot(true);
    clickTimer.setInterval(std::chrono::seconds(10));
    connect(&clickTimer, &QTimer::timeout, this, [this] { setClickWaits(false); });
}

void LauncherWindow::onMainButtonClicked()
{
    lastError.clear();
    setClickWaits(flowDepth > 0 && !busy);
    if (flowDepth > 0)
        return;
    if (isUpToDate())
        play();
    else
        runUpdate(false);
}

void LauncherWindow::setClickWaits(bool waits)
{
    if (waits)
        clickTimer.start();
    else
        clickTimer.stop();
    mainButton->setCursor(waits ? Qt::BusyCursor : Qt::PointingHandCursor);
    explainMainButton();
}

bool LauncherWindow::takeWaitingClick()
{
    const bool waits = clickTimer.isActive();
    setClickWaits(false);
    return waits;
}

// The button's mode shows only as a picture; a word says it to a screen reader and on hovering. The
// status text of a failed update is gone at once, so its reason is told here until the next click.
void LauncherWindow::explainMainButton()
{
    const QString more =
        clickTimer.isActive() ? QStringLiteral("Waiting for the server\u2026") : lastError;
    mainButton->setAccessibleDescription(more);
    mainButton->setToolTip(more.isEmpty() ? mainButton->accessibleName() : plainToolTip(more));
}
