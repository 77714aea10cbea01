#pragma once

#include <QJsonObject>
#include <QStringList>

namespace publish {

struct PublishReport;
struct PublishRequest;

/// What a publication did, or would do: lines for people.
[[nodiscard]] QStringList publishLines(const PublishRequest& request, const PublishReport& report);

/// The same for scripts, with the lists of the files.
[[nodiscard]] QJsonObject publishObject(const PublishRequest& request, const PublishReport& report);

/// What has to be done with the file before it can become current.
[[nodiscard]] QString toSignLine(const QString& path);

} // namespace publish
