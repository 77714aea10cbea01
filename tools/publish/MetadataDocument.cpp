#include "publish/MetadataDocument.h"

#include "package/OrlPackageDoc.h"

#include <QJsonDocument>

namespace {

const QString buildsKey = QStringLiteral("builds");
const QString historyKey = QStringLiteral("history");
const QString launcherKey = QStringLiteral("launcher");
const QString packagesKey = QStringLiteral("packages");

Platform platformOf(const QJsonObject& build)
{
    return {readJsonString(build, "os"), readJsonString(build, "architecture")};
}

qsizetype buildIndex(const QJsonArray& builds, const Platform& platform)
{
    for (qsizetype i = 0; i < builds.size(); ++i) {
        if (builds.at(i).isObject() && platformOf(builds.at(i).toObject()) == platform)
            return i;
    }
    return -1;
}

void setOrRemove(QJsonObject& object, const QString& key, const QString& value)
{
    if (value.isEmpty())
        object.remove(key);
    else
        object.insert(key, value);
}

} // namespace

std::optional<MetadataDocument> MetadataDocument::read(const QByteArray& bytes, QString* error)
{
    MetadataDocument document;
    if (bytes.isEmpty())
        return document;
    const QJsonDocument json = QJsonDocument::fromJson(bytes);
    if (!json.isObject()) {
        if (error)
            *error = QStringLiteral("the launcher metadata is not a JSON object");
        return std::nullopt;
    }
    document.m_root = json.object();
    return document;
}

QByteArray MetadataDocument::bytes() const
{
    return QJsonDocument(m_root).toJson(QJsonDocument::Indented);
}

qsizetype MetadataDocument::packageIndex(const QString& directory) const
{
    const QJsonArray packages = m_root.value(packagesKey).toArray();
    for (qsizetype i = 0; i < packages.size(); ++i) {
        if (packages.at(i).isObject() &&
            readJsonString(packages.at(i).toObject(), "directoryname") == directory)
            return i;
    }
    return -1;
}

QJsonObject MetadataDocument::productObject(const Product& product) const
{
    if (product.isLauncher)
        return m_root.value(launcherKey).toObject();
    const qsizetype index = packageIndex(product.directory);
    return index < 0 ? QJsonObject() : m_root.value(packagesKey).toArray().at(index).toObject();
}

void MetadataDocument::setProductObject(const Product& product, const QJsonObject& object)
{
    if (product.isLauncher) {
        m_root.insert(launcherKey, object);
        return;
    }
    QJsonArray packages = m_root.value(packagesKey).toArray();
    const qsizetype index = packageIndex(product.directory);
    if (index < 0)
        packages.append(object);
    else
        packages.replace(index, object);
    m_root.insert(packagesKey, packages);
}

void MetadataDocument::setPackage(const QString& directory, const PackageLabels& labels)
{
    const Product product{false, directory};
    const bool isNew = !hasProduct(product);
    QJsonObject package = productObject(product);
    package.insert(QStringLiteral("directoryname"), directory);
    if (labels.name || isNew)
        package.insert(QStringLiteral("name"), labels.name.value_or(directory));
    if (labels.variant)
        setOrRemove(package, QStringLiteral("variant"), *labels.variant);
    if (labels.logoLink)
        setOrRemove(package, QStringLiteral("logolinktarget"), *labels.logoLink);
    if (labels.installAutomatically || isNew)
        package.insert(QStringLiteral("installautomatically"),
                       labels.installAutomatically.value_or(false));
    setProductObject(product, package);
}

void MetadataDocument::setBuild(const Product& product, const Platform& platform,
                                const BuildAddresses& addresses)
{
    QJsonObject object = productObject(product);
    QJsonArray builds = object.value(buildsKey).toArray();
    const qsizetype index = buildIndex(builds, platform);
    QJsonObject build = index < 0 ? QJsonObject() : builds.at(index).toObject();
    build.insert(QStringLiteral("os"), platform.os);
    build.insert(QStringLiteral("architecture"), platform.architecture);
    build.insert(QStringLiteral("url"), addresses.document);
    build.insert(QStringLiteral("versionurl"), addresses.version);
    setOrRemove(build, QStringLiteral("assetsurl"), addresses.assets);
    setOrRemove(build, QStringLiteral("assetsversionurl"), addresses.assetsVersion);
    if (index < 0)
        builds.append(build);
    else
        builds.replace(index, build);
    object.insert(buildsKey, builds);
    setProductObject(product, object);
}

void MetadataDocument::setHints(const QString& address)
{
    m_root.insert(QStringLiteral("hints"), address);
}

bool MetadataDocument::hasProduct(const Product& product) const
{
    return product.isLauncher ? m_root.value(launcherKey).isObject()
                              : packageIndex(product.directory) >= 0;
}

QList<Product> MetadataDocument::products() const
{
    QList<Product> found;
    for (const auto& package : m_root.value(packagesKey).toArray()) {
        if (package.isObject())
            found.append({false, readJsonString(package.toObject(), "directoryname")});
    }
    if (m_root.value(launcherKey).isObject())
        found.append({true, QString()});
    return found;
}

QList<Platform> MetadataDocument::platforms(const Product& product) const
{
    QList<Platform> found;
    for (const auto& build : productObject(product).value(buildsKey).toArray()) {
        if (build.isObject())
            found.append(platformOf(build.toObject()));
    }
    return found;
}

BuildAddresses MetadataDocument::build(const Product& product, const Platform& platform) const
{
    const QJsonArray builds = productObject(product).value(buildsKey).toArray();
    const qsizetype index = buildIndex(builds, platform);
    if (index < 0)
        return {};
    const QJsonObject build = builds.at(index).toObject();
    return {readJsonString(build, "url"), readJsonString(build, "versionurl"),
            readJsonString(build, "assetsurl"), readJsonString(build, "assetsversionurl")};
}

QStringList MetadataDocument::history(const Product& product) const
{
    QStringList versions;
    for (const auto& version : productObject(product).value(historyKey).toArray())
        versions.append(version.toString());
    return versions;
}

void MetadataDocument::setHistory(const Product& product, const QStringList& versions)
{
    QJsonObject object = productObject(product);
    object.insert(historyKey, QJsonArray::fromStringList(versions));
    setProductObject(product, object);
}
