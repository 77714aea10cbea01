#include "package/FileLock.h"
#include "package/WriteResult.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

// flock(2) belongs to the open file: it ends with the last descriptor, and that with the process.
std::unique_ptr<FileLock> FileLock::take(const QString& path, QString* error, QString* reason)
{
    constexpr int everyone = 0666;
    const int file =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, everyone);
    if (file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) == 0)
        return std::unique_ptr<FileLock>(new FileLock(file));
    const int code = errno;
    const bool isHeld = file >= 0 && code == EWOULDBLOCK;
    if (file >= 0)
        ::close(file);
    if (!isHeld && error)
        *error = unwritableText(path);
    if (!isHeld && reason)
        *reason = qt_error_string(code);
    return nullptr;
}

FileLock::~FileLock()
{
    ::close(static_cast<int>(m_handle));
}
