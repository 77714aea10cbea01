#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1String>
#include <QString>

#include <optional>

/// The object in one of the content server's JSON documents; nothing when the data is empty or
/// holds no object. Only the latter is an error of the document: it sets `error` to "JSON <kind>
/// configuration file could not be parsed, using default package.", while empty data leaves it
/// alone, because the download that failed has already set it.
[[nodiscard]] std::optional<QJsonObject> readJsonObject(const QByteArray& data,
                                                        QLatin1StringView kind, QString* error);

/// Why the data holds no object, for the log.
[[nodiscard]] QString jsonObjectFault(const QByteArray& data);

/// The member's text; empty when it is missing or not a string.
[[nodiscard]] QString readJsonString(const QJsonObject& object, const char* key);

/// A JSON number truncated toward zero (held at the limits of 64 bits), or a string that is a
/// decimal integer; 0 for anything else.
[[nodiscard]] qint64 readJsonInt64(const QJsonValue& value);
