#pragma once

#include "package/InstallFixture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>

/// Runs blocking work under the application's main loop, as a window does, and counts how long that
/// loop goes on after quit() was called.
class MainLoopRun
{
public:
    /// Starts the work and returns when both it and the main loop have ended.
    InstallOutcome run(const std::function<bool(QString*)>& work)
    {
        InstallOutcome outcome;
        QTimer::singleShot(0, qApp, [&] {
            outcome.ok = work(&outcome.error);
            if (!m_sinceQuit.isValid())
                QCoreApplication::quit();
        });
        QCoreApplication::exec();
        if (m_sinceQuit.isValid())
            m_afterQuit = m_sinceQuit.elapsed();
        return outcome;
    }

    void quit()
    {
        if (m_sinceQuit.isValid())
            return;
        m_sinceQuit.start();
        QCoreApplication::quit();
    }

    /// Quits at the first turn of the event loop at which the condition holds.
    void quitWhen(const std::function<bool()>& condition)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, condition] {
            if (condition())
                quit();
        });
        m_timer.start(0);
    }

    [[nodiscard]] bool hasQuit() const { return m_sinceQuit.isValid(); }
    /// Milliseconds from quit() to the end.
    [[nodiscard]] qint64 afterQuit() const { return m_afterQuit; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceQuit;
    qint64 m_afterQuit = 0;
};
