#include "package/FileStamp.h"
#include "package/WindowsFiles.h"

#include <windows.h>

namespace {

// FILETIME and its kin count 100 ns from 1601.
constexpr qint64 epochDifference = 116444736000000000;

qint64 toNanoseconds(qint64 fileTime)
{
    return (fileTime - epochDifference) * 100;
}

} // namespace

std::optional<FileStamp> fileStamp(const QString& path)
{
    const windowsfiles::OpenPath file(path, windowsfiles::OpenPath::For::Attributes);
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
                     toNanoseconds(times.LastWriteTime.QuadPart),
                     toNanoseconds(times.ChangeTime.QuadPart), info.dwVolumeSerialNumber,
                     joined(info.nFileIndexHigh, info.nFileIndexLow)};
}

qint64 fileClock()
{
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return toNanoseconds(
        static_cast<qint64>(static_cast<quint64>(now.dwHighDateTime) << 32 | now.dwLowDateTime));
}
