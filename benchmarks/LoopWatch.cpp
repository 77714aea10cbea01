#include "LoopWatch.h"

#include <algorithm>
#include <atomic>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<qint64> flushTotal = 0;
std::atomic<qint64> flushLongest = 0;

int flush(long call, int descriptor)
{
    QElapsedTimer timer;
    timer.start();
    const auto result = static_cast<int>(syscall(call, descriptor));
    const qint64 took = timer.nsecsElapsed();
    flushTotal += took;
    flushLongest = std::max<qint64>(flushLongest, took);
    return result;
}

} // namespace

// These take the place of the C library's for everything that the process has loaded.
extern "C" int fsync(int descriptor)
{
    return flush(SYS_fsync, descriptor);
}

extern "C" int fdatasync(int descriptor)
{
    return flush(SYS_fdatasync, descriptor);
}

FlushTimes flushTimes()
{
    return {flushTotal, flushLongest};
}

LoopWatch::LoopWatch(QObject* parent)
    : QObject(parent)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &LoopWatch::onTick);
}

void LoopWatch::start()
{
    m_longestMs = 0;
    m_flushedBefore = flushTimes().totalNs;
    m_sinceTick.start();
    m_timer.start(1);
}

void LoopWatch::onTick()
{
    const qint64 flushed = flushTimes().totalNs;
    const qint64 pause = m_sinceTick.nsecsElapsed() - (flushed - m_flushedBefore);
    m_longestMs = std::max(m_longestMs, static_cast<double>(pause) / 1e6);
    m_flushedBefore = flushed;
    m_sinceTick.start();
}
