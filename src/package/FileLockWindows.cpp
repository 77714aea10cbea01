#include "package/FileLock.h"
#include "package/WindowsFiles.h"
#include "package/WriteResult.h"

#include <windows.h>

// A file that is open without sharing is nobody else's; the system closes it with the process.
std::unique_ptr<FileLock> FileLock::take(const QString& path, QString* error, QString* reason)
{
    const std::wstring name = windowsfiles::nativePath(path);
    HANDLE file = ::CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE)
        return std::unique_ptr<FileLock>(new FileLock(reinterpret_cast<Handle>(file)));
    const DWORD code = ::GetLastError();
    const bool isHeld = code == ERROR_SHARING_VIOLATION;
    if (!isHeld && error)
        *error = unwritableText(path);
    if (!isHeld && reason)
        *reason = qt_error_string(static_cast<int>(code)).trimmed();
    return nullptr;
}

FileLock::~FileLock()
{
    ::CloseHandle(reinterpret_cast<HANDLE>(m_handle));
}
