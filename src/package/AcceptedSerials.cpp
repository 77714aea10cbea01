#include "package/AcceptedSerials.h"

#include "package/JsonReading.h"
#include "package/ReplaceFile.h"
#include "package/WriteSteps.h"

#include <QFile>
#include <QJsonDocument>

namespace {

QJsonObject readAll(const QString& dataFolder)
{
    QFile file(acceptedserials::filePath(dataFolder));
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    return QJsonDocument::fromJson(bytes).object();
}

} // namespace

QString acceptedserials::filePath(const QString& dataFolder)
{
    return dataFolder + QLatin1StringView("/accepted-serials.json");
}

qint64 acceptedserials::highest(const QString& dataFolder, const QString& address)
{
    return readJsonInt64(readAll(dataFolder).value(address));
}

WriteResult acceptedserials::note(const QString& dataFolder, const QString& address, qint64 serial)
{
    QJsonObject serials = readAll(dataFolder);
    if (readJsonInt64(serials.value(address)) >= serial)
        return WriteResult::done();
    serials.insert(address, serial);
    const WriteResult made = makeFolder(dataFolder);
    return made ? replaceFile(filePath(dataFolder), QJsonDocument(serials).toJson()) : made;
}
