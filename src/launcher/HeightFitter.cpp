#include "launcher/HeightFitter.h"

#include "launcher/LauncherPage.h"
#include "launcher/LicencePage.h"
#include "shared/QTextBrowserWithNetwork.h"

#include <QLabel>
#include <QLayout>
#include <QMainWindow>
#include <QScreen>
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

HeightFitter::HeightFitter(QMainWindow& window, LauncherPage& page, LicencePage& licence)
    : m_window(window)
    , m_page(page)
    , m_licence(licence)
{}

void HeightFitter::logoChanged()
{
    m_logoHeight = m_page.logoLabel->minimumHeight();
}

void HeightFitter::fit()
{
    if (!m_window.isVisible() || m_window.isMaximized() || m_window.isFullScreen())
        return;
    const int before = m_window.height();
    const int smallest = m_window.minimumHeight();
    activateLayouts(m_window);
    if (squeezeInto(roomForHeight()))
        activateLayouts(m_window);
    const int content = std::min(m_window.sizeHint().height(), m_window.maximumHeight());
    m_window.resize(m_window.width(), m_wantedHeight.choose(before, smallest, content));
    if (m_window.height() != before)
        keepOnScreen();
}

int HeightFitter::roomForHeight() const
{
    return m_window.screen()->availableGeometry().height() -
           (m_window.frameGeometry().height() - m_window.height());
}

// On a low screen (768 pixels at 150 percent have 512) the hint and the licence scroll sooner, and
// the logo's empty place gets smaller, so that the buttons and links below stay in reach. True when
// something has changed.
bool HeightFitter::squeezeInto(int room)
{
    constexpr int leastHint = 40;
    constexpr int leastLicence = 60;
    const int fromHint = LauncherPage::hintHeight - m_page.infoBrowser->minimumHeight();
    const int fromLogo = m_logoHeight - m_page.logoLabel->minimumHeight();
    const int licence = m_licence.eulaEdit->minimumHeight();
    if (room >= m_window.maximumHeight() && fromHint == 0 && fromLogo == 0 &&
        licence == LicencePage::licenceHeight)
        return false;
    const int wanted = m_page.sizeHint().height() + fromHint + fromLogo;
    const int lacking = std::max(wanted - room, 0);
    const int newFromHint = std::min(lacking, LauncherPage::hintHeight - leastHint);
    const int newFromLogo = std::min(lacking - newFromHint, m_logoHeight);
    const int besideLicence = m_licence.sizeHint().height() - licence;
    const int newLicence =
        std::clamp(room - besideLicence, leastLicence, LicencePage::licenceHeight);
    if (newFromHint == fromHint && newFromLogo == fromLogo && newLicence == licence)
        return false;
    m_page.infoBrowser->setFixedHeight(LauncherPage::hintHeight - newFromHint);
    m_page.logoLabel->setFixedHeight(m_logoHeight - newFromLogo);
    m_licence.eulaEdit->setFixedHeight(newLicence);
    // The one that is not shown has its share in the window's smallest size.
    activateLayouts(m_licence);
    activateLayouts(m_page);
    return true;
}

void HeightFitter::keepOnScreen()
{
    const QRect room = m_window.screen()->availableGeometry();
    const QRect frame = m_window.frameGeometry();
    const int below = frame.bottom() - room.bottom();
    if (below > 0 && frame.top() > room.top())
        m_window.move(m_window.x(), std::max(room.top(), frame.top() - below));
}
