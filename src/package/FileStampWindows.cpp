#include "package/FileStamp.h"
#include "package/WindowsFiles.h"

#include <windows.h>

namespace {

// FILETIME and its kin count 100 ns from 1601.
constexpr qint64 epochDifference = 116444736000000000;

qint64 nanoseconds(qint64 fileTime)
{
    return (fileTime - epochDifference) * 100;
}

class Handle
{
public:
    explicit Handle(const QString& path)
        : m_handle(CreateFileW(windowsfiles::nativePath(path).c_str(), FILE_READ_ATTRIBUTES,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {}
    ~Handle()
    {
        if (isValid())
            CloseHandle(m_handle);
    }
    Q_DISABLE_COPY_MOVE(Handle)

    [[nodiscard]] bool isValid() const { return m_handle != INVALID_HANDLE_VALUE; }
    [[nodiscard]] HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

} // namespace

std::optional<FileStamp> fileStamp(const QString& path)
{
    const Handle file(path);
    BY_HANDLE_FILE_INFORMATION info{};
    FILE_BASIC_INFO times{};
    if (!file.isValid() || !GetFileInformationByHandle(file.get(), &info) ||
        !GetFileInformationByHandleEx(file.get(), FileBasicInfo, &times, sizeof times) ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return std::nullopt;
    const auto joined = [](DWORD high, DWORD low) {
        return static_cast<quint64>(high) << 32 | low;
    };
    return FileStamp{static_cast<qint64>(joined(info.nFileSizeHigh, info.nFileSizeLow)),
                     nanoseconds(times.LastWriteTime.QuadPart),
                     nanoseconds(times.ChangeTime.QuadPart), info.dwVolumeSerialNumber,
                     joined(info.nFileIndexHigh, info.nFileIndexLow)};
}

qint64 fileClock()
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return nanoseconds(
        static_cast<qint64>(static_cast<quint64>(now.dwHighDateTime) << 32 | now.dwLowDateTime));
}
