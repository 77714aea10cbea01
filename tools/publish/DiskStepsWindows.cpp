#include "package/HeldFile.h"
#include "package/WindowsFiles.h"
#include "publish/DiskSteps.h"

#include <QFileDevice>

#include <windows.h>

namespace publish {

bool moveInOneStep(const QString& from, const QString& to, QString* reason)
{
    DWORD code = 0;
    const auto attempt = [&from, &to, &code] {
        const FileAttempt result = windowsfiles::moveOver(from, to);
        code = GetLastError();
        return result;
    };
    if (tryWhileHeld(attempt, {}))
        return true;
    *reason = qt_error_string(static_cast<int>(code)).trimmed();
    return false;
}

bool flushToDisk(const QFileDevice& file)
{
    return windowsfiles::flushToDisk(file);
}

void letEverybodyRead() {}

// Only an administrator may flush a whole volume.
bool syncFileSystem(const QString&)
{
    return true;
}

} // namespace publish
