#include "package/HeldFile.h"
#include "package/ReplaceFile.h"
#include "package/ReplacementNames.h"

#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t newFileMode = 0666;

// The folder itself may be made only when the file is complete; whatever is made below this one
// later is on the same file system.
QString nearestFolder(const QString& path)
{
    QString folder = QFileInfo(path).path();
    while (!QFileInfo(folder).isDir()) {
        const QString parent = QFileInfo(folder).path();
        if (parent == folder)
            break;
        folder = parent;
    }
    return folder;
}

QByteArray linkOf(int descriptor)
{
    return "/proc/self/fd/" + QByteArray::number(descriptor);
}

// -1 where there is no such file.
int openWithoutName([[maybe_unused]] const QString& folder)
{
#ifdef O_TMPFILE
    const int descriptor =
        ::open(QFile::encodeName(folder).constData(), O_TMPFILE | O_RDWR | O_CLOEXEC, newFileMode);
    // It gets its name by way of this link.
    if (descriptor >= 0 && ::access(linkOf(descriptor).constData(), F_OK) == 0)
        return descriptor;
    if (descriptor >= 0)
        ::close(descriptor);
#endif
    return -1;
}

bool isSameFile(int descriptor, const char* path)
{
    struct stat open
    {
    };
    struct stat named
    {
    };
    return ::fstat(descriptor, &open) == 0 && ::lstat(path, &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

// The lock tells a file that is being written from one that was left behind. It is gone with the
// program that held it.
bool lock(int descriptor)
{
    return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

// Whoever had it before may have moved it to its place between opening and locking here. -1 with
// the reason in errno.
int openLocked(const char* path, int flags)
{
    const int descriptor = ::open(path, flags | O_RDWR | O_NOFOLLOW | O_CLOEXEC, newFileMode);
    if (descriptor < 0 || (lock(descriptor) && isSameFile(descriptor, path)))
        return descriptor;
    ::close(descriptor);
    errno = EBUSY;
    return -1;
}

bool isLinked(int descriptor, const QByteArray& path)
{
    return ::linkat(AT_FDCWD, linkOf(descriptor).constData(), AT_FDCWD, path.constData(),
                    AT_SYMLINK_FOLLOW) == 0;
}

// A player's link stays a link; what it leads to is replaced.
QByteArray destination(const QString& path)
{
    const QFileInfo info(path);
    return QFile::encodeName(info.isSymLink() ? info.symLinkTarget() : path);
}

} // namespace

WriteResult FileReplacement::open()
{
    int descriptor = openWithoutName(nearestFolder(m_path));
    m_hasName = descriptor < 0;
    if (m_hasName)
        descriptor = openLocked(QFile::encodeName(m_unfinishedPath).constData(), O_CREAT);
    else
        lock(descriptor);
    if (descriptor < 0)
        return WriteResult::failedCall();
    struct stat old
    {
    };
    if (::stat(QFile::encodeName(m_path).constData(), &old) == 0)
        ::fchmod(descriptor, old.st_mode & 07777);
    if (m_file.open(descriptor, QIODevice::ReadWrite | QIODevice::Unbuffered,
                    QFileDevice::AutoCloseHandle) &&
        (!m_hasName || m_file.resize(0)))
        return WriteResult::done();
    return WriteResult::failed(m_file.errorString());
}

WriteResult FileReplacement::flush()
{
#if defined(_POSIX_SYNCHRONIZED_IO) && _POSIX_SYNCHRONIZED_IO > 0
    const int result = ::fdatasync(m_file.handle());
#else
    const int result = ::fsync(m_file.handle());
#endif
    return result == 0 ? WriteResult::done() : WriteResult::failedCall();
}

FileAttempt FileReplacement::place(QString& reason)
{
    const auto failed = [&reason](FileAttempt kind) {
        reason = qt_error_string(errno);
        return kind;
    };
    const QByteArray to = destination(m_path);
    QByteArray unfinished = QFile::encodeName(m_unfinishedPath);
    if (!m_hasName) {
        if (isLinked(m_file.handle(), to))
            return FileAttempt::Done;
        if (errno != EEXIST)
            return failed(FileAttempt::Failed);
        // Only a file with a name can take the place of another.
        removeLeftover(m_unfinishedPath);
        if (!isLinked(m_file.handle(), unfinished)) {
            if (errno != EXDEV)
                return failed(FileAttempt::Failed);
            unfinished = to + VORNAK_FRESH_SUFFIX;
            removeLeftover(QFile::decodeName(unfinished));
            if (!isLinked(m_file.handle(), unfinished))
                return failed(FileAttempt::Failed);
        }
    }
    if (::rename(unfinished.constData(), to.constData()) == 0)
        return FileAttempt::Done;
    const FileAttempt failure =
        failed(errno == EXDEV ? FileAttempt::OtherVolume : FileAttempt::Failed);
    if (!m_hasName)
        ::unlink(unfinished.constData());
    return failure;
}

void FileReplacement::removeUnfinished()
{
    ::unlink(QFile::encodeName(m_unfinishedPath).constData());
}

void FileReplacement::removeLeftover(const QString& unfinishedPath, const TurnFunction&)
{
    const QByteArray path = QFile::encodeName(unfinishedPath);
    const int descriptor = openLocked(path.constData(), 0);
    if (descriptor < 0)
        return;
    ::unlink(path.constData());
    ::close(descriptor);
}
