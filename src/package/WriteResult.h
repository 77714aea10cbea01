#pragma once

#include <QString>

#include <system_error>
#include <utility>

/// What came of writing to the disk. One that failed carries the system's own text for the reason,
/// for whoever logs it: a full disk, a folder that may not be written and a file that another
/// program holds are told apart by nothing else.
class [[nodiscard]] WriteResult
{
public:
    [[nodiscard]] static WriteResult done() { return {true, {}}; }
    /// The caller's TurnFunction ended the work, because the program ends. Nobody needs to be told.
    [[nodiscard]] static WriteResult stopped() { return {false, {}}; }
    [[nodiscard]] static WriteResult failed(const QString& reason);
    [[nodiscard]] static WriteResult failed(std::errc reason);
    /// For the reason of the system call before, which no other call may follow.
    [[nodiscard]] static WriteResult failedCall();

    [[nodiscard]] explicit operator bool() const { return m_isDone; }
    /// One line; empty when it was done or stopped, and only then.
    [[nodiscard]] QString reason() const { return m_reason; }

private:
    WriteResult(bool isDone, QString reason)
        : m_isDone(isDone)
        , m_reason(std::move(reason))
    {}

    bool m_isDone;
    QString m_reason;
};

/// What callers are told of a file or folder that could not be made or replaced.
[[nodiscard]] QString unwritableText(const QString& path);

/// Warns in the log that `path` could not be written, and why; says nothing of what was done or
/// stopped.
void logUnwritten(const QString& path, const WriteResult& result);
