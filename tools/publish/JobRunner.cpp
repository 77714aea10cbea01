#include "publish/JobRunner.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace publish {

namespace {

class Runner
{
public:
    Runner(const std::vector<Job>& jobs, qint64 memory)
        : m_jobs(jobs)
        , m_memory(memory)
    {}

    void work()
    {
        while (const Job* job = next()) {
            QString error;
            const bool ok = job->run(&error);
            const std::lock_guard lock(m_mutex);
            m_used -= job->memory;
            if (!ok && !m_failed) {
                m_failed = true;
                m_error = error;
            }
            m_freed.notify_all();
        }
    }

    bool result(QString* error) const
    {
        if (m_failed && error)
            *error = m_error;
        return !m_failed;
    }

private:
    const Job* next()
    {
        std::unique_lock lock(m_mutex);
        m_freed.wait(lock, [this] {
            return m_failed || m_next == m_jobs.size() || m_used == 0 ||
                   m_used + m_jobs[m_next].memory <= m_memory;
        });
        if (m_failed || m_next == m_jobs.size())
            return nullptr;
        const Job* job = &m_jobs[m_next++];
        m_used += job->memory;
        return job;
    }

    const std::vector<Job>& m_jobs;
    const qint64 m_memory;
    std::mutex m_mutex;
    std::condition_variable m_freed;
    std::size_t m_next = 0;
    qint64 m_used = 0;
    bool m_failed = false;
    QString m_error;
};

} // namespace

bool runJobs(const std::vector<Job>& jobs, const JobLimits& limits, QString* error)
{
    Runner runner(jobs, limits.memory);
    const auto count = std::min(static_cast<std::size_t>(std::max(limits.threads, 1)), jobs.size());
    // A single thread is the caller's own, for jobs that belong there.
    if (limits.threads <= 1)
        runner.work();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; limits.threads > 1 && i < count; ++i)
        threads.emplace_back([&runner] { runner.work(); });
    for (std::thread& thread : threads)
        thread.join();
    return runner.result(error);
}

} // namespace publish
