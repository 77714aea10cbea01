#pragma once

#include <QString>

#include <cstdint>
#include <memory>

/// Keeps other processes that take the same lock from working on the same files, for as long as the
/// object lives. The system releases it when its holder dies, however that happens; what lies on
/// the disk afterwards, an empty file, means nothing. Processes that are started meanwhile do not
/// inherit it.
class FileLock
{
public:
    /// Null when another process has the lock, and with an `error` when none can be made there, or
    /// when the file system knows no locks; `reason` is the system's own text for that. Does not
    /// wait.
    [[nodiscard]] static std::unique_ptr<FileLock>
    take(const QString& path, QString* error = nullptr, QString* reason = nullptr);

    ~FileLock();
    Q_DISABLE_COPY_MOVE(FileLock)

private:
    using Handle = std::intptr_t;

    explicit FileLock(Handle handle)
        : m_handle(handle)
    {}

    Handle m_handle;
};
