#include "package/WindowsFiles.h"

#include <QDir>

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <io.h>
#include <memory>

namespace {

bool isHeld(DWORD error)
{
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE ||
           error == ERROR_DELETE_PENDING;
}

// What the system's error means for an attempt.
FileAttempt failedAttempt(DWORD error, QString* reason)
{
    if (reason)
        *reason = qt_error_string(static_cast<int>(error)).trimmed();
    return isHeld(error) ? FileAttempt::Held : FileAttempt::Failed;
}

FileAttempt move(const QString& from, const QString& to, DWORD flags, QString* reason)
{
    const std::wstring source = windowsfiles::nativePath(from);
    const std::wstring target = windowsfiles::nativePath(to);
    if (MoveFileExW(source.c_str(), target.c_str(), flags | MOVEFILE_WRITE_THROUGH))
        return FileAttempt::Done;
    return failedAttempt(GetLastError(), reason);
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

FileAttempt moveOver(const QString& from, const QString& to, QString* reason)
{
    return move(from, to, MOVEFILE_REPLACE_EXISTING, reason);
}

FileAttempt moveAside(const QString& from, const QString& to, QString* reason)
{
    return move(from, to, 0, reason);
}

FileAttempt moveOpenFile(const QFileDevice& file, const QString& to, QString* reason)
{
    const std::wstring name = nativePath(to);
    const std::size_t bytes = name.size() * sizeof(wchar_t);
    // The structure ends in the first character of the name and leaves room for no more.
    const std::size_t size = sizeof(FILE_RENAME_INFO) + bytes;
    const auto space = std::make_unique<std::byte[]>(size);
    auto* info = reinterpret_cast<FILE_RENAME_INFO*>(space.get());
    info->ReplaceIfExists = TRUE;
    info->FileNameLength = static_cast<DWORD>(bytes);
    std::memcpy(info->FileName, name.data(), bytes);
    if (SetFileInformationByHandle(handleOf(file), FileRenameInfo, info, static_cast<DWORD>(size)))
        return FileAttempt::Done;
    const DWORD error = GetLastError();
    return error == ERROR_NOT_SAME_DEVICE ? FileAttempt::OtherVolume : failedAttempt(error, reason);
}

void* handleOf(const QFileDevice& file)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(file.handle()));
}

bool flushToDisk(const QFileDevice& file)
{
    return FlushFileBuffers(handleOf(file)) != 0;
}

OpenPath::OpenPath(const QString& path, For purpose)
    : m_handle(CreateFileW(nativePath(path).c_str(),
                           purpose == For::Reading ? GENERIC_READ : FILE_READ_ATTRIBUTES,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr))
{}

OpenPath::~OpenPath()
{
    if (isValid())
        CloseHandle(m_handle);
}

bool OpenPath::isValid() const
{
    return m_handle != INVALID_HANDLE_VALUE;
}

} // namespace windowsfiles
