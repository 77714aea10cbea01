#include "package/HeldFile.h"

#include <QDeadlineTimer>
#include <QThread>

namespace {

constexpr std::chrono::milliseconds betweenAttempts{50};
constexpr unsigned long napMs = 5;

/// False when `turn` ended the waiting.
bool waitForNextAttempt(const TurnFunction& turn)
{
    const QDeadlineTimer over(betweenAttempts);
    while (!over.hasExpired()) {
        if (turn && !turn())
            return false;
        QThread::msleep(napMs);
    }
    return true;
}

} // namespace

bool tryWhileHeld(const std::function<FileAttempt()>& attempt, const TurnFunction& turn,
                  std::chrono::milliseconds patience)
{
    const QDeadlineTimer over(patience);
    for (;;) {
        const FileAttempt result = attempt();
        if (result != FileAttempt::Held)
            return result == FileAttempt::Done;
        if (over.hasExpired() || !waitForNextAttempt(turn))
            return false;
    }
}
