#include "launcher/ProgramFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

namespace {

bool isInstallationRecord(const QString& relative)
{
    return relative == QLatin1StringView("package.json") ||
           relative == QLatin1StringView("assets.json") ||
           relative == QLatin1StringView("assets.json.sha256");
}

// rename(2) replaces a file in one step and leaves a running program its old one.
bool replaceByRename(const QString& source, const QString& destination)
{
    return ::rename(QFile::encodeName(source).constData(),
                    QFile::encodeName(destination).constData()) == 0;
}

bool replaceProgramFile(const QString& source, const QString& destination)
{
    QDir().mkpath(QFileInfo(destination).path());
    const QString fresh = destination + QLatin1StringView(".new");
    QFile::remove(fresh);
    if (QFile::copy(source, fresh) && replaceByRename(fresh, destination))
        return true;
    QFile::remove(fresh);
    return false;
}

} // namespace

bool copyProgramFiles(const QString& source, const QString& destination, QString* error)
{
    const QDir from(source);
    const QDir to(destination);
    QDirIterator files(source, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const QString relative = from.relativeFilePath(file);
        if (isInstallationRecord(relative))
            continue;
        const QString target = to.filePath(relative);
        if (!replaceProgramFile(file, target)) {
            *error = QStringLiteral("Failed to create folder: '%1'.").arg(target);
            return false;
        }
    }
    return true;
}
