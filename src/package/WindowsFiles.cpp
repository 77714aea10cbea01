#include "package/WindowsFiles.h"

#include <QDir>

#include <windows.h>

#include <io.h>

namespace {

bool isHeld(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE ||
           error == ERROR_DELETE_PENDING;
}

FileAttempt move(const QString& from, const QString& to, DWORD flags)
{
    if (MoveFileExW(windowsfiles::nativePath(from).c_str(), windowsfiles::nativePath(to).c_str(),
                    flags | MOVEFILE_WRITE_THROUGH))
        return FileAttempt::Done;
    return isHeld(GetLastError()) ? FileAttempt::Held : FileAttempt::Failed;
}

} // namespace

namespace windowsfiles {

std::wstring nativePath(const QString& path)
{
    const QString full =
        QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
    const bool isShare = full.startsWith(QLatin1StringView("\\\\"));
    return ((isShare ? QLatin1StringView("\\\\?\\UNC") : QLatin1StringView("\\\\?\\")) +
            (isShare ? full.sliced(1) : full))
        .toStdWString();
}

FileAttempt moveOver(const QString& from, const QString& to)
{
    return move(from, to, MOVEFILE_REPLACE_EXISTING);
}

FileAttempt moveAside(const QString& from, const QString& to)
{
    return move(from, to, 0);
}

bool flushToDisk(const QFileDevice& file)
{
    return FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()))) != 0;
}

} // namespace windowsfiles
