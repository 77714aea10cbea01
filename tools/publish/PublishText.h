#pragma once

#include <QJsonObject>
#include <QString>

struct PublishReport;
struct PublishRequest;

/// What a publication did, or would do: lines for people.
[[nodiscard]] QString publishText(const PublishRequest& request, const PublishReport& report);

/// The same for scripts, with the lists of the files.
[[nodiscard]] QJsonObject publishObject(const PublishRequest& request, const PublishReport& report);
