#include "launcher/FlowGate.h"

#include <chrono>

// A player who clicked and went away does not want the game to start when the server answers at
// last.
FlowGate::FlowGate(QObject* parent)
    : QObject(parent)
{
    m_clickTimer.setObjectName(QStringLiteral("clickTimer"));
    m_clickTimer.setSingleShot(true);
    m_clickTimer.setInterval(std::chrono::seconds(10));
    connect(&m_clickTimer, &QTimer::timeout, this, &FlowGate::clickHeldChanged);
}

void FlowGate::holdClick()
{
    m_clickTimer.start();
    Q_EMIT clickHeldChanged();
}

void FlowGate::forgetClick()
{
    m_clickTimer.stop();
    Q_EMIT clickHeldChanged();
}

void FlowGate::serveClick()
{
    const bool wasHeld = holdsClick();
    forgetClick();
    if (wasHeld)
        Q_EMIT clickDue();
}
