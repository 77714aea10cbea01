#pragma once

#include <QString>

class QFileDevice;

namespace publish {

/// Moves a file or folder on the same file system. A file at `to` is replaced in one step; where
/// there is a folder at `to`, and it is not empty, nothing is moved. On Windows, what a virus
/// scanner or a web server holds open is tried again for about two seconds. False, with the
/// system's reason, when nothing was moved.
[[nodiscard]] bool moveInOneStep(const QString& from, const QString& to, QString* reason);

/// Waits until what was written to the open file is on the disk. False when that failed.
[[nodiscard]] bool flushToDisk(const QFileDevice& file);

/// Whether syncFileSystem() does something. Where it does not, each file has to be flushed.
#ifdef Q_OS_LINUX
inline constexpr bool canSyncFileSystem = true;
#else
inline constexpr bool canSyncFileSystem = false;
#endif

/// Lets everybody read what the process writes from now on, and look into its folders, whatever the
/// user who runs it keeps from others otherwise: a web server is another user. Who may write stays
/// as it is. Does nothing on Windows, where folders hand their rights down.
void letEverybodyRead();

/// Waits until everything is on the disk that was written to the file system that `folder` lies on.
/// For many files that is many times faster than flushing each.
/// False when that failed; a file system without such a step counts as done.
[[nodiscard]] bool syncFileSystem(const QString& folder);

} // namespace publish
