#include "publish/BuildFields.h"

#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"

namespace publish {

namespace {

constexpr const char* osKey = "os";
constexpr const char* architectureKey = "architecture";
constexpr const char* documentKey = "url";
constexpr const char* versionKey = "versionurl";
constexpr const char* assetsKey = "assetsurl";
constexpr const char* assetsVersionKey = "assetsversionurl";

} // namespace

Platform platformOf(const QJsonObject& build)
{
    return {readJsonString(build, osKey), readJsonString(build, architectureKey)};
}

void setPlatform(QJsonObject& build, const Platform& platform)
{
    build.insert(QLatin1StringView(osKey), platform.os);
    build.insert(QLatin1StringView(architectureKey), platform.architecture);
}

BuildAddresses addressesOf(const QJsonObject& build)
{
    return {readJsonString(build, documentKey), readJsonString(build, versionKey),
            readJsonString(build, assetsKey), readJsonString(build, assetsVersionKey)};
}

void setAddresses(QJsonObject& build, const BuildAddresses& addresses)
{
    build.insert(QLatin1StringView(documentKey), addresses.document);
    build.insert(QLatin1StringView(versionKey), addresses.version);
    setOrRemove(build, QLatin1StringView(assetsKey), addresses.assets);
    setOrRemove(build, QLatin1StringView(assetsVersionKey), addresses.assetsVersion);
}

QStringList addressKeys()
{
    return {QLatin1StringView(documentKey), QLatin1StringView(versionKey),
            QLatin1StringView(assetsKey), QLatin1StringView(assetsVersionKey)};
}

BuildAddresses buildAddresses(const QString& prefix, const QString& folder, const QString& identity)
{
    const QString base = prefix + folder;
    BuildAddresses build{base + addresses::packageDocument, base + addresses::versionText, {}, {}};
    if (!identity.isEmpty()) {
        build.assets = base + addresses::assetList;
        build.assetsVersion = prefix + identity;
    }
    return build;
}

void setOrRemove(QJsonObject& object, const QString& key, const QString& value)
{
    if (value.isEmpty())
        object.remove(key);
    else
        object.insert(key, value);
}

} // namespace publish
