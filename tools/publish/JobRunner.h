#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace publish {

/// A piece of work for a thread of its own.
struct Job
{
    /// What it takes while it runs, in bytes.
    qint64 memory = 0;
    /// False with a text when it fails.
    std::function<bool(QString*)> run;
};

/// Bounds for many jobs at once.
struct JobLimits
{
    int threads = 1;
    /// Jobs wait until what runs stays within this many bytes. One that needs more runs alone.
    qint64 memory = 0;
};

/// Runs all jobs, in the order given as threads get free, and waits for them. After the first
/// failure no further job starts; its text is handed out and the result is false.
[[nodiscard]] bool runJobs(const std::vector<Job>& jobs, const JobLimits& limits, QString* error);

/// What a job takes that only reads.
inline constexpr qint64 readingMemory = qint64(2) << 20;

} // namespace publish
