#pragma once

#include <QString>

#include <optional>

/// What the file system tells of a regular file without reading it. Two equal stamps of a path mean
/// the same file with the same content, as long as the times are older than the clock's step: every
/// change sets the change time, which no program can set back.
struct FileStamp
{
    qint64 size = 0;
    /// Nanoseconds since 1970.
    qint64 modified = 0;
    /// Change of content, name or attributes, in nanoseconds since 1970.
    qint64 changed = 0;
    /// Volume and file on it.
    quint64 volume = 0;
    quint64 identity = 0;

    bool operator==(const FileStamp&) const = default;
};

/// The stamp of the regular file that `path` leads to; nothing when there is none.
[[nodiscard]] std::optional<FileStamp> fileStamp(const QString& path);

/// The clock that file times are taken from, in nanoseconds since 1970. It moves in steps.
[[nodiscard]] qint64 fileClock();
