#include "publish/DiskSteps.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace publish {

bool moveInOneStep(const QString& from, const QString& to, QString* reason)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    *reason = qt_error_string(errno);
    return false;
}

bool flushToDisk(const QFileDevice& file)
{
    return ::fsync(file.handle()) == 0;
}

void letEverybodyRead()
{
    constexpr mode_t writing = 0222;
    ::umask(::umask(writing) & writing);
}

bool syncFileSystem([[maybe_unused]] const QString& folder)
{
#ifdef Q_OS_LINUX
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const int result = ::syncfs(descriptor);
    const int reason = errno;
    ::close(descriptor);
    errno = reason;
    return result == 0;
#else
    return true;
#endif
}

} // namespace publish
