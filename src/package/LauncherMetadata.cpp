#include "package/LauncherMetadata.h"

#include "package/JsonReading.h"
#include "package/OrlPackageDoc.h"

#include <QStringList>

namespace {

QUrl readUrl(const QJsonObject& object, const char* key)
{
    return QUrl(readJsonString(object, key), QUrl::TolerantMode);
}

LauncherBuild readBuild(const QJsonObject& object)
{
    LauncherBuild build;
    build.os = readJsonString(object, "os");
    build.architecture = readJsonString(object, "architecture");
    build.url = readUrl(object, "url");
    build.versionurl = readUrl(object, "versionurl");
    build.assetsurl = readUrl(object, "assetsurl");
    build.assetsversionurl = readUrl(object, "assetsversionurl");
    build.urlsha256 = readJsonString(object, "urlsha256");
    build.versionurlsha256 = readJsonString(object, "versionurlsha256");
    build.assetsurlsha256 = readJsonString(object, "assetsurlsha256");
    build.assetsversionurlsha256 = readJsonString(object, "assetsversionurlsha256");
    return build;
}

QList<LauncherBuild> readBuilds(const QJsonObject& owner)
{
    QList<LauncherBuild> builds;
    for (const auto& element : owner.value(QLatin1StringView("builds")).toArray()) {
        if (element.isObject())
            builds.append(readBuild(element.toObject()));
    }
    return builds;
}

LauncherPackage readPackage(const QJsonObject& object)
{
    LauncherPackage package;
    package.name = readJsonString(object, "name");
    package.variant = readJsonString(object, "variant");
    package.directoryname = readJsonString(object, "directoryname");
    package.logolinktarget = readJsonString(object, "logolinktarget");
    package.installautomatically =
        object.value(QLatin1StringView("installautomatically")).toBool(false);
    package.builds = readBuilds(object);
    return package;
}

} // namespace

QString LauncherPackage::folderName() const
{
    return directoryname.isEmpty() ? QStringLiteral("Quelra") : directoryname;
}

LauncherMetadata readLauncherMetadata(const QByteArray& data, QString* error, bool* isDocument)
{
    LauncherMetadata metadata;
    const auto root = readJsonObject(data, QLatin1StringView("package"), error);
    if (isDocument)
        *isDocument = root.has_value();
    if (!root)
        return metadata;
    metadata.launcherBuilds = readBuilds(root->value(QLatin1StringView("launcher")).toObject());
    for (const auto& element : root->value(QLatin1StringView("packages")).toArray()) {
        if (element.isObject())
            metadata.packages.append(readPackage(element.toObject()));
    }
    metadata.hints = readUrl(*root, "hints");
    return metadata;
}

const LauncherBuild* selectBuild(const QList<LauncherBuild>& builds, const QString& os,
                                 const QString& architecture)
{
    const LauncherBuild* fallback = nullptr;
    for (const LauncherBuild& build : builds) {
        if (build.os != os)
            continue;
        if (build.architecture.split(u';').contains(architecture) ||
            build.architecture == architecture)
            return &build;
        if (!fallback)
            fallback = &build;
    }
    return fallback;
}
