#pragma once

#include <QElapsedTimer>

#include <chrono>

class BodyReception;

/// Keeps the window alive while long work runs on its thread: between slices of the work the event
/// loop gets a turn when the last one is long enough ago. It also knows whether the program is
/// ending, which the work must notice in order to write nothing more.
class EventLoopPacer
{
public:
    /// Work goes on without a turn for about this long, in milliseconds: one frame of a display, so
    /// that painting stays smooth.
    static constexpr qint64 turnIntervalMs = 15;

    /// Lets the event loop turn once when it is due. False when the program is ending: the caller
    /// stops its work at once.
    [[nodiscard]] bool turnIfDue();

    /// Runs the event loop until the reception says that it has ended, which it must not have said
    /// before; that its reply has finished already does not matter. When the program ends before
    /// that, the reception is stopped and the result is false.
    [[nodiscard]] bool waitForEnd(BodyReception& reception);

    /// Runs the event loop for that long. False when the program ends.
    [[nodiscard]] bool waitFor(std::chrono::milliseconds time);

    /// Whether the last turn or wait was ended by the program's end.
    [[nodiscard]] bool isQuitting() const { return m_quitting; }

    /// As isQuitting(), but asks anew, since an application may run more than one main loop.
    [[nodiscard]] bool checkQuitting();

private:
    bool turn();

    QElapsedTimer m_sinceTurn;
    bool m_quitting = false;
};
