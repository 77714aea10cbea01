#pragma once

#include "package/FileStamp.h"

#include <QHash>
#include <QString>

/// Remembers, for one run of the program, which files were read and found to have which hash, so
/// that a file is read once and not at every look at the installation. It is never kept between
/// runs: the reading at every start is what finds a damaged disk.
///
/// An entry is believed only while the file's stamp is the one that was hashed, and is made only
/// when the file's times were older than the coarsest step of any file system's clock: a change
/// within the same step would leave the stamp as it is.
class VerifiedFiles
{
public:
    /// FAT counts file times in steps of two seconds.
    static constexpr qint64 coarsestStep = 2'000'000'000;

    /// Whether the file with this stamp is known to have this hash.
    [[nodiscard]] bool holds(const QString& path, const FileStamp& stamp,
                             const QString& hash) const;

    /// Remembers what was read. `before` is the stamp from before the reading, `readAt` the
    /// fileClock() of that moment.
    void addRead(const QString& path, const FileStamp& before, qint64 readAt, const QString& hash);

    /// Remembers a file that was just written with verified content. It counts from the next
    /// settle() on.
    void addWritten(const QString& path, const QString& hash);

    /// Ends a series of addWritten(): waits (for some milliseconds at most) until the clock has
    /// gone on, so that every later change shows in the stamps, and believes them from then on.
    void settle();

private:
    struct Entry
    {
        FileStamp stamp;
        QString hash;
    };

    QHash<QString, Entry> m_entries;
    QHash<QString, Entry> m_written;
};
