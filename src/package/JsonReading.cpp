#include "package/JsonReading.h"

#include "package/Failure.h"
#include "package/Sizes.h"

#include <QJsonDocument>

std::optional<QJsonObject> readJsonObject(const QByteArray& data, QLatin1StringView kind,
                                          QString* error)
{
    if (data.isEmpty())
        return std::nullopt;
    const QJsonDocument json = QJsonDocument::fromJson(data);
    if (json.isObject())
        return json.object();
    fail(error,
         QStringLiteral("JSON %1 configuration file could not be parsed, using default package.")
             .arg(kind));
    return std::nullopt;
}

QString jsonObjectFault(const QByteArray& data)
{
    QJsonParseError fault;
    QJsonDocument::fromJson(data, &fault);
    if (fault.error == QJsonParseError::NoError)
        return QStringLiteral("no JSON object");
    return QStringLiteral("%1 at byte %2").arg(fault.errorString()).arg(fault.offset);
}

QString readJsonString(const QJsonObject& object, const char* key)
{
    return object.value(QLatin1StringView(key)).toString();
}

qint64 readJsonInt64(const QJsonValue& value)
{
    if (value.isDouble())
        return saturatedInt64(value.toDouble());
    return value.toString().toLongLong(nullptr, 10);
}
