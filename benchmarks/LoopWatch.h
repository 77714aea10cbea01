#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>

/// Finds out for how long a thread's event loop did not turn: a timer of one millisecond notes how
/// late it is. Time that the operating system spent in flushing a file to disk (see flushTimes())
/// is taken off a pause, since nothing in the program can shorten it.
class LoopWatch : public QObject
{
public:
    explicit LoopWatch(QObject* parent = nullptr);

    void start();
    /// The longest pause since start(), in milliseconds.
    [[nodiscard]] double longestPauseMs() const { return m_longestMs; }

private:
    void onTick();

    QTimer m_timer;
    QElapsedTimer m_sinceTick;
    qint64 m_flushedBefore = 0;
    double m_longestMs = 0;
};

/// What fsync() and fdatasync() took in this process, which are replaced by measuring ones.
struct FlushTimes
{
    qint64 totalNs = 0;
    qint64 longestNs = 0;
};
[[nodiscard]] FlushTimes flushTimes();
