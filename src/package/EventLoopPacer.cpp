#include "package/EventLoopPacer.h"

#include "package/BodyReception.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace {

// A loop that ends for its own reason returns this. When the application quits, it makes every
// nested loop return its own exit code, and later ones -1 without running.
constexpr int ownExit = 0x5157;

void endByItself(QEventLoop& loop)
{
    // A quit that came first in the same pass must stay visible in the result.
    if (loop.isRunning())
        loop.exit(ownExit);
}

// True when the loop ended by itself. The end of the last window is an event that is still on its
// way, and that entering a loop would drop.
bool runToItsOwnEnd(QEventLoop& loop)
{
    QCoreApplication::sendPostedEvents(QCoreApplication::instance(), QEvent::Quit);
    return loop.exec() == ownExit;
}

} // namespace

bool EventLoopPacer::turnIfDue()
{
    if (m_sinceTurn.isValid() && m_sinceTurn.elapsed() < turnIntervalMs)
        return !m_quitting;
    return turn();
}

bool EventLoopPacer::turn()
{
    if (!QCoreApplication::instance())
        return true;
    QEventLoop loop;
    loop.processEvents();
    // processEvents() does not tell whether a quit was among the events; running a loop does.
    QMetaObject::invokeMethod(
        &loop, [&loop] { endByItself(loop); }, Qt::QueuedConnection);
    m_quitting = !runToItsOwnEnd(loop);
    m_sinceTurn.restart();
    return !m_quitting;
}

bool EventLoopPacer::waitForEnd(BodyReception& reception)
{
    QEventLoop loop;
    QObject::connect(&reception, &BodyReception::ended, &loop, [&loop] { endByItself(loop); });
    m_quitting = !runToItsOwnEnd(loop);
    m_sinceTurn.restart();
    if (m_quitting)
        reception.stop();
    return !m_quitting;
}

bool EventLoopPacer::waitFor(std::chrono::milliseconds time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, [&loop] { endByItself(loop); });
    m_quitting = !runToItsOwnEnd(loop);
    m_sinceTurn.restart();
    return !m_quitting;
}

bool EventLoopPacer::checkQuitting()
{
    if (m_quitting)
        turn();
    return m_quitting;
}
