#include "package/FileStamp.h"

#include <QFile>

#include <ctime>
#include <sys/stat.h>

namespace {

qint64 toNanoseconds(const timespec& time)
{
    return static_cast<qint64>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

} // namespace

std::optional<FileStamp> fileStamp(const QString& path)
{
    struct stat info
    {
    };
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
    return FileStamp{info.st_size, toNanoseconds(info.st_mtim), toNanoseconds(info.st_ctim),
                     info.st_dev, info.st_ino};
}

qint64 fileClock()
{
    timespec now{};
#ifdef CLOCK_REALTIME_COARSE
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
#else
    clock_gettime(CLOCK_REALTIME, &now);
#endif
    return toNanoseconds(now);
}
