#include "client/RequestFiles.h"

#include <QDir>
#include <QFile>

RequestFiles RequestFiles::in(const QString& dataFolder)
{
    const QDir folder(dataFolder);
    return {folder.filePath(QStringLiteral(".restart")),
            folder.filePath(QStringLiteral(".show-launcher")),
            folder.filePath(QStringLiteral(".sso-switch"))};
}

void RequestFiles::removeAll() const
{
    QFile::remove(restart);
    QFile::remove(show);
    QFile::remove(ssoSwitch);
}

bool takeRequest(const QString& path)
{
    return QFile::remove(path);
}
