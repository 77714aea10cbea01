#include "package/HeldFile.h"
#include "package/ReplaceFile.h"
#include "package/WindowsFiles.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

// QSaveFile throws its work away when the last step fails once, would follow a shortcut to wherever
// that points, and gives its file another name each time, so that those of a launcher which was
// killed would gather. So the unfinished file and the last step are ours.

namespace {

// Others may read the file meanwhile, as virus scanners do; nobody else can write or remove it.
// What a killed launcher left is taken over.
HANDLE openUnfinished(const QString& path)
{
    return CreateFileW(windowsfiles::nativePath(path).c_str(),
                       GENERIC_READ | GENERIC_WRITE | DELETE, FILE_SHARE_READ, nullptr,
                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

WriteResult FileReplacement::open()
{
    const HANDLE handle = openUnfinished(m_unfinishedPath);
    if (handle == INVALID_HANDLE_VALUE)
        return WriteResult::failedCall();
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_BINARY);
    if (descriptor < 0) {
        CloseHandle(handle);
        return WriteResult::failed(std::errc::too_many_files_open);
    }
    if (m_file.open(descriptor, QIODevice::ReadWrite | QIODevice::Unbuffered,
                    QFileDevice::AutoCloseHandle))
        return WriteResult::done();
    return WriteResult::failed(m_file.errorString());
}

WriteResult FileReplacement::flush()
{
    return windowsfiles::flushToDisk(m_file) ? WriteResult::done() : WriteResult::failedCall();
}

// The open file itself is moved: one that was closed first might have given way to that of another
// launcher, which may not be whole.
FileAttempt FileReplacement::place(QString& reason)
{
    return windowsfiles::moveOpenFile(m_file, m_path, &reason);
}

void FileReplacement::removeUnfinished()
{
    FILE_DISPOSITION_INFO info{};
    info.DeleteFile = TRUE;
    SetFileInformationByHandle(windowsfiles::handleOf(m_file), FileDispositionInfo, &info,
                               sizeof info);
}

void FileReplacement::removeLeftover(const QString& unfinishedPath, const TurnFunction& turn)
{
    const auto remove = [&unfinishedPath] {
        return !QFile::exists(unfinishedPath) || QFile::remove(unfinishedPath) ? FileAttempt::Done
                                                                               : FileAttempt::Held;
    };
    [[maybe_unused]] const bool removed = tryWhileHeld(remove, turn);
}
