#include "launcher/SelfUpdateFiles.h"

#include "launcher/ReplaceRunningProgram.h"
#include "package/Failure.h"
#include "package/LauncherMetadata.h"
#include "package/ReplaceFile.h"
#include "package/ReplacementNames.h"
#include "package/SafePath.h"
#include "package/WriteSteps.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

bool isInstallationRecord(const QString& relative)
{
    return relative == QLatin1StringView("package.json") ||
           relative == QLatin1StringView("assets.json") ||
           relative == QLatin1StringView("assets.json.sha256");
}

// What a listing of the folder leaves out: on Windows that is no matter of the name.
bool isHidden([[maybe_unused]] const QString& relative)
{
#ifdef Q_OS_WIN
    return false;
#else
    return relative.startsWith(u'.') || relative.contains(QLatin1StringView("/."));
#endif
}

QString freshName(const QString& path)
{
    return path + QLatin1StringView(VORNAK_FRESH_SUFFIX);
}

/// Relative paths of the files to copy.
QStringList programFiles(const QString& source)
{
    const QDir from(source);
    QStringList found;
    QDirIterator files(source, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString relative = from.relativeFilePath(files.next());
        if (!isInstallationRecord(relative))
            found.append(relative);
    }
    return found;
}

// QFile::copy() leaves it to the system when the bytes reach the disk; after a power failure the
// name would be the new one's and the file empty.
WriteResult copyToDisk(const QString& from, const QString& to, const TurnFunction& turn)
{
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly))
        return WriteResult::failed(in.errorString());
    const QByteArray bytes = in.readAll();
    if (bytes.size() != in.size())
        return WriteResult::failed(in.errorString());
    WriteResult result = replaceFile(to, bytes, turn);
    // Not every file system knows them.
    if (result)
        QFile::setPermissions(to, in.permissions());
    return result;
}

WriteResult replaceProgramFile(const QString& source, const QString& destination,
                               const TurnFunction& turn)
{
    const QString fresh = freshName(destination);
    WriteResult result = makeFolder(QFileInfo(destination).path());
    if (result)
        result = copyToDisk(source, fresh, turn);
    if (result)
        result = replaceRunningProgram(fresh, destination, turn);
    if (!result)
        QFile::remove(fresh);
    return result;
}

/// The files beside `path` whose names begin with its own and the suffix, newest first.
QStringList filesBeside(const QString& path, QLatin1StringView suffix)
{
    const QFileInfo info(path);
    QStringList found;
    const QString start = info.fileName() + suffix;
    const QDir folder = info.dir();
    for (const QString& name : folder.entryList(QDir::Files | QDir::Hidden, QDir::Time)) {
        if (name.startsWith(start))
            found.append(folder.filePath(name));
    }
    return found;
}

void settleProgramFile(const QString& path)
{
    // While it is being written, the name has an ending of its own.
    for (const QString& fresh : filesBeside(path, QLatin1StringView(VORNAK_FRESH_SUFFIX)))
        QFile::remove(fresh);
    for (const QString& aside : filesBeside(path, QLatin1StringView(VORNAK_ASIDE_SUFFIX))) {
        // rename() does nothing when there is a file already.
        if (!QFile::rename(aside, path))
            QFile::remove(aside);
    }
}

} // namespace

QString selfUpdateFolder(const QString& dataFolder)
{
    return pathBelowFolder(dataFolder, selfUpdateFolderName);
}

bool copyProgramFiles(const QString& source, const QString& destination, const QString& executable,
                      QString* error, const TurnFunction& turn)
{
    QStringList files = programFiles(source);
    std::stable_partition(files.begin(), files.end(), [&executable](const QString& file) {
        return file != QDir::cleanPath(executable);
    });
    for (const QString& file : std::as_const(files)) {
        const QString target = QDir(destination).filePath(file);
        const WriteResult replaced = replaceProgramFile(QDir(source).filePath(file), target, turn);
        logUnwritten(target, replaced);
        if (!replaced)
            return fail(error, unwritableText(target));
    }
    return true;
}

std::unique_ptr<FileLock> lockSelfUpdate(const QString& folder, QString* error)
{
    return FileLock::take(folder + QLatin1StringView(".lock"), error);
}

OrlPackageDoc copiedPart(const OrlPackageDoc& launcher)
{
    OrlPackageDoc copied = launcher;
    copied.files.removeIf([](const OrlFile& file) {
        const QString path = QDir::cleanPath(file.localfile);
        return isInstallationRecord(path) || isHidden(path);
    });
    return copied;
}

void settleProgramFiles(const QString& source, const QString& destination)
{
    if (source.isEmpty() || !QFileInfo::exists(source))
        return;
    const auto lock = lockSelfUpdate(source);
    if (!lock)
        return;
    for (const QString& file : programFiles(source))
        settleProgramFile(QDir(destination).filePath(file));
}
