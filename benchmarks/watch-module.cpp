// Loaded into a Qt program through LD_PRELOAD, so that the launcher itself is measured and not a
// relative of it. Appends lines "name value" to the file that BENCH_WATCH_FILE names:
// "shown" is when the first window had been painted (CLOCK_MONOTONIC, in ns), the others come at
// the program's end. BENCH_WATCH_FIRST=1 ends the program as soon as it has shown a window.

#include "BenchSupport.h"
#include "LoopWatch.h"

#include <QCoreApplication>
#include <QEvent>
#include <QWindow>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

void report(const char* name, double value)
{
    std::FILE* file = std::fopen(std::getenv("BENCH_WATCH_FILE"), "a");
    if (!file)
        return;
    std::fprintf(file, "%s %.3f\n", name, value);
    std::fclose(file);
}

class FirstWindow : public QObject
{
public:
    // Pauses count from the first window on: before that nobody waits for one to answer.
    FirstWindow(QObject* parent, LoopWatch& watch)
        : QObject(parent)
        , m_watch(watch)
    {}

protected:
    // The event is delivered from here, so that the window has been painted when it returns.
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        auto* window = qobject_cast<QWindow*>(watched);
        if (event->type() != QEvent::Expose || !window || !window->isExposed())
            return false;
        QCoreApplication::instance()->removeEventFilter(this);
        QCoreApplication::sendEvent(watched, event);
        report("shown", static_cast<double>(monotonicNs()));
        if (qEnvironmentVariableIntValue("BENCH_WATCH_FIRST") == 1)
            _exit(0);
        m_watch.start();
        return true;
    }

private:
    LoopWatch& m_watch;
};

void reportEnd(const LoopWatch& watch)
{
    report("pause_ms", watch.longestPauseMs());
    report("flush_ms", static_cast<double>(flushTimes().longestNs) / 1e6);
    report("memory_mb", peakMemoryMb());
}

void begin()
{
    // The client that the launcher starts inherits the environment but is not meant.
    if (!std::getenv("BENCH_WATCH_FILE"))
        return;
    auto* application = QCoreApplication::instance();
    auto* watch = new LoopWatch(application);
    application->installEventFilter(new FirstWindow(application, *watch));
    QObject::connect(application, &QCoreApplication::aboutToQuit, watch,
                     [watch] { reportEnd(*watch); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(begin)
