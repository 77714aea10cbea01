#include "package/WindowsFiles.h"
#include "publish/EntryFacts.h"

#include <QDir>
#include <QFileInfo>

#include <windows.h>

#include <string>

namespace publish {

namespace {

using windowsfiles::OpenPath;

constexpr DWORD longestPath = 32768;

QString finalPath(const OpenPath& handle)
{
    std::wstring path(longestPath, L'\0');
    const DWORD size = GetFinalPathNameByHandleW(handle.get(), path.data(), longestPath,
                                                 FILE_NAME_NORMALIZED | VOLUME_NAME_DOS);
    if (size == 0 || size >= longestPath)
        return {};
    const QString native = QString::fromWCharArray(path.data(), static_cast<qsizetype>(size));
    const QLatin1StringView share(R"(\\?\UNC\)");
    const QLatin1StringView local(R"(\\?\)");
    if (native.startsWith(share))
        return QDir::fromNativeSeparators(QLatin1StringView(R"(\\)") + native.sliced(share.size()));
    return QDir::fromNativeSeparators(native.startsWith(local) ? native.sliced(local.size())
                                                               : native);
}

} // namespace

// Asked of the system: Qt takes a shortcut (".lnk") for a link and tells of the file that it leads
// to, but opens the shortcut itself, which is a file like any other and is delivered as such.
EntryFacts entryFacts(const QFileInfo& entry)
{
    const QString path = entry.absoluteFilePath();
    const OpenPath handle(path, OpenPath::For::Attributes);
    BY_HANDLE_FILE_INFORMATION info{};
    if (!handle.isValid() || !GetFileInformationByHandle(handle.get(), &info))
        return {};
    const bool isFolder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {
        finalPath(handle), isFolder ? EntryFacts::Kind::Folder : EntryFacts::Kind::File,
        OpenPath(path, OpenPath::For::Reading).isValid(),
        static_cast<qint64>(static_cast<quint64>(info.nFileSizeHigh) << 32 | info.nFileSizeLow)};
}

FolderNames namesIn(const QString& folder)
{
    return {QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                       QDir::NoDotAndDotDot,
                                   QDir::Unsorted),
            {}};
}

} // namespace publish
