#pragma once

#include "publish/Platform.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace publish {

// Where the launcher metadata has its builds: in "launcher" and in each element of "packages".
inline const QString launcherKey = QStringLiteral("launcher");
inline const QString packagesKey = QStringLiteral("packages");
inline const QString buildsKey = QStringLiteral("builds");

/// The addresses of one build.
struct BuildAddresses
{
    QString document;
    QString version;
    /// Empty when the build has no assets.
    QString assets;
    QString assetsVersion;
};

/// The addresses of the build in `folder`, with `prefix` before each. `identity` is the address of
/// the asset list's identity; empty when the build has no assets.
[[nodiscard]] BuildAddresses buildAddresses(const QString& prefix, const QString& folder,
                                            const QString& identity);

// A build as the launcher metadata has it: an object with its platform and its addresses.

[[nodiscard]] Platform platformOf(const QJsonObject& build);
void setPlatform(QJsonObject& build, const Platform& platform);

[[nodiscard]] BuildAddresses addressesOf(const QJsonObject& build);
void setAddresses(QJsonObject& build, const BuildAddresses& addresses);

/// The names of the members that are addresses.
[[nodiscard]] QStringList addressKeys();

/// Sets the member, or removes it when there is no value for it.
void setOrRemove(QJsonObject& object, const QString& key, const QString& value);

} // namespace publish
