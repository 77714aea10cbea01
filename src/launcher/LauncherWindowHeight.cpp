#include "launcher/LauncherWindow.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QEvent>
#include <QLabel>
#include <QScreen>
#include <QStackedLayout>
#include <QTextEdit>

#include <algorithm>

namespace {

// From the inside out: a layout takes the smallest size of what is in it only when it is activated.
// Left to the event loop, each level would take a turn of its own, with the window painted in
// between.
void activateLayouts(const QWidget& widget)
{
    for (QObject* child : widget.children()) {
        const auto* inner = qobject_cast<QWidget*>(child);
        // What was never shown counts as hidden too.
        const bool isKeptOut =
            inner && inner->isHidden() && inner->testAttribute(Qt::WA_WState_ExplicitShowHide);
        if (inner && !inner->isWindow() && !isKeptOut)
            activateLayouts(*inner);
    }
    if (widget.layout())
        widget.layout()->activate();
}

} // namespace

bool LauncherWindow::event(QEvent* event)
{
    const bool handled = QMainWindow::event(event);
    if (event->type() == QEvent::LayoutRequest)
        fitHeight();
    return handled;
}

// A window grows with its contents but does not shrink with them; too tall a window would show the
// name on the background under the panels.
void LauncherWindow::fitHeight()
{
    if (!isVisible() || isMaximized() || isFullScreen())
        return;
    const int before = height();
    const int smallest = minimumHeight();
    activateLayouts(*this);
    if (squeezeInto(roomForHeight()))
        activateLayouts(*this);
    const int content = std::min(sizeHint().height(), maximumHeight());
    resize(width(), windowHeight.wanted(before, smallest, content));
    if (height() != before)
        keepOnScreen();
}

int LauncherWindow::roomForHeight() const
{
    return screen()->availableGeometry().height() - (frameGeometry().height() - height());
}

// On a low screen (768 pixels at 150 percent have 512) the hint and the licence scroll sooner, and
// the logo's empty place gets smaller, so that the buttons and links below stay in reach. True when
// something has changed.
bool LauncherWindow::squeezeInto(int room)
{
    constexpr int leastHint = 40;
    constexpr int leastLicence = 60;
    const int fromHint = hintHeight - infoBrowser->minimumHeight();
    const int fromLogo = logoHeight - logoLabel->minimumHeight();
    const int licence = eulaEdit->minimumHeight();
    if (room >= maximumHeight() && fromHint == 0 && fromLogo == 0 && licence == licenceHeight)
        return false;
    const int wanted = pageStack->widget(1)->sizeHint().height() + fromHint + fromLogo;
    const int lacking = std::max(wanted - room, 0);
    const int newFromHint = std::min(lacking, hintHeight - leastHint);
    const int newFromLogo = std::min(lacking - newFromHint, logoHeight);
    const int besideLicence = pageStack->widget(0)->sizeHint().height() - licence;
    const int newLicence = std::clamp(room - besideLicence, leastLicence, licenceHeight);
    if (newFromHint == fromHint && newFromLogo == fromLogo && newLicence == licence)
        return false;
    infoBrowser->setFixedHeight(hintHeight - newFromHint);
    logoLabel->setFixedHeight(logoHeight - newFromLogo);
    eulaEdit->setFixedHeight(newLicence);
    // The one that is not shown has its share in the window's smallest size.
    activateLayouts(*pageStack->widget(0));
    activateLayouts(*pageStack->widget(1));
    return true;
}

void LauncherWindow::keepOnScreen()
{
    const QRect room = screen()->availableGeometry();
    const QRect frame = frameGeometry();
    const int below = frame.bottom() - room.bottom();
    if (below > 0 && frame.top() > room.top())
        move(x(), std::max(room.top(), frame.top() - below));
}
