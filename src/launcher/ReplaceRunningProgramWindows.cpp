#include "launcher/ReplaceRunningProgram.h"
#include "package/ReplacementNames.h"
#include "package/WindowsFiles.h"

#include <QFile>
#include <QFileInfo>

namespace {

/// A name beside `path` that no file bears. Files aside of earlier replacements may still be there,
/// held by launchers that run from them.
QString unusedAsideName(const QString& path)
{
    for (int number = 1;; ++number) {
        const QString name =
            path + QLatin1StringView(VORNAK_ASIDE_SUFFIX) + QString::number(number);
        if (!QFile::exists(name))
            return name;
    }
}

/// The two renames stay close together: the time without a file of that name is the time in which
/// a killed launcher leaves work for the starter. So a second rename that does not go is undone at
/// once and all of it tried again, and not waited for with the file missing.
FileAttempt swapByRenaming(const QString& fresh, const QString& destination, QString* reason)
{
    // A folder can be renamed as well; nobody would ever put it back.
    if (QFileInfo(destination).isDir())
        return FileAttempt::Failed;
    const QString aside = unusedAsideName(destination);
    const FileAttempt moved = windowsfiles::moveAside(destination, aside, reason);
    if (moved != FileAttempt::Done)
        return moved;
    const FileAttempt placed = windowsfiles::moveAside(fresh, destination, reason);
    if (placed == FileAttempt::Done) {
        // Succeeds only if the old file is not a running program.
        QFile::remove(aside);
        return placed;
    }
    return windowsfiles::moveAside(aside, destination) == FileAttempt::Done ? FileAttempt::Held
                                                                            : FileAttempt::Failed;
}

} // namespace

WriteResult replaceRunningProgram(const QString& fresh, const QString& destination,
                                  const TurnFunction& turn)
{
    QString reason;
    const auto attempt = [&] {
        const FileAttempt replaced = windowsfiles::moveOver(fresh, destination, &reason);
        return replaced == FileAttempt::Held ? swapByRenaming(fresh, destination, &reason)
                                             : replaced;
    };
    return tryWhileHeld(attempt, turn) ? WriteResult::done() : WriteResult::failed(reason);
}
