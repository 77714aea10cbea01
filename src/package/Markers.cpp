#include "package/Markers.h"

#include "package/WriteSteps.h"

#include <QByteArray>
#include <QFile>

QString readTrimmedText(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).trimmed();
}

WriteResult writeMarker(const QString& path, const QString& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        return WriteResult::failed(file.errorString());
    return writeAll(file, text.toUtf8());
}
