#include "package/VerifiedFiles.h"

#include <QThread>

#include <algorithm>

namespace {

constexpr int settleAttempts = 40;

qint64 latestTime(const FileStamp& stamp)
{
    return std::max(stamp.modified, stamp.changed);
}

// A file system that counts in whole seconds shows no change within the same second.
bool hasFineTimes(const FileStamp& stamp)
{
    constexpr qint64 second = 1'000'000'000;
    return stamp.changed % second != 0 && stamp.modified % second != 0;
}

} // namespace

bool VerifiedFiles::holds(const QString& path, const FileStamp& stamp, const QString& hash) const
{
    const auto entry = m_entries.constFind(path);
    return entry != m_entries.constEnd() && entry->stamp == stamp && entry->hash == hash;
}

void VerifiedFiles::addRead(const QString& path, const FileStamp& before, qint64 readAt,
                            const QString& hash)
{
    const auto after = fileStamp(path);
    if (after == before && latestTime(before) < readAt - coarsestStep)
        m_entries.insert(path, {before, hash});
    else
        m_entries.remove(path);
}

void VerifiedFiles::addWritten(const QString& path, const QString& hash)
{
    m_entries.remove(path);
    const auto stamp = fileStamp(path);
    if (stamp && hasFineTimes(*stamp))
        m_written.insert(path, {*stamp, hash});
}

void VerifiedFiles::settle()
{
    qint64 latest = 0;
    for (const Entry& entry : std::as_const(m_written))
        latest = std::max(latest, latestTime(entry.stamp));
    for (int i = 0; i < settleAttempts && fileClock() <= latest; ++i)
        QThread::msleep(1);
    if (fileClock() > latest)
        m_entries.insert(m_written);
    m_written.clear();
}
