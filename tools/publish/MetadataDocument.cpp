#include "publish/MetadataDocument.h"

#include "package/Failure.h"
#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QJsonDocument>

namespace publish {

namespace {

const QString historyKey = QStringLiteral("history");
const QString otherPlatformsKey = QStringLiteral("otherplatforms");

qsizetype buildIndex(const QJsonArray& builds, const Platform& platform)
{
    for (qsizetype i = 0; i < builds.size(); ++i) {
        if (builds.at(i).isObject() && platformOf(builds.at(i).toObject()) == platform)
            return i;
    }
    return -1;
}

// A launcher in a channel resolves it against its base address, whose last segment is the channel.
QString inChannel(const QString& address)
{
    return addresses::onServer(address).mid(1);
}

BuildAddresses inChannel(const BuildAddresses& build)
{
    return {inChannel(build.document), inChannel(build.version), inChannel(build.assets),
            inChannel(build.assetsVersion)};
}

} // namespace

std::optional<MetadataDocument> MetadataDocument::read(const QByteArray& bytes, QString* error)
{
    MetadataDocument document;
    if (bytes.isEmpty())
        return document;
    const QJsonDocument json = QJsonDocument::fromJson(bytes);
    if (!json.isObject()) {
        fail(error, QStringLiteral("the launcher metadata is not a JSON object"));
        return std::nullopt;
    }
    document.m_root = json.object();
    return document;
}

QByteArray MetadataDocument::bytes() const
{
    return QJsonDocument(m_root).toJson(QJsonDocument::Indented);
}

void MetadataDocument::makeChannel()
{
    m_isChannel = true;
    for (const Product& product : products()) {
        QJsonObject object = productObject(product);
        object.remove(historyKey);
        object.remove(otherPlatformsKey);
        setProductObject(product, object);
        for (const Platform& platform : platforms(product))
            setBuild(product, platform, build(product, platform));
    }
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

void MetadataDocument::addProductOf(const MetadataDocument& other, const Product& product)
{
    if (hasProduct(product))
        return;
    QJsonObject object = other.productObject(product);
    for (const QString& key : {buildsKey, historyKey, otherPlatformsKey})
        object.remove(key);
    setProductObject(product, object);
}

void MetadataDocument::setBuild(const Product& product, const Platform& platform,
                                const BuildAddresses& addresses)
{
    QJsonObject object = productObject(product);
    QJsonArray builds = object.value(buildsKey).toArray();
    const qsizetype index = buildIndex(builds, platform);
    QJsonObject build = index < 0 ? QJsonObject() : builds.at(index).toObject();
    setPlatform(build, platform);
    setAddresses(build, m_isChannel ? inChannel(addresses) : addresses);
    if (index < 0)
        builds.append(build);
    else
        builds.replace(index, build);
    object.insert(buildsKey, builds);
    setProductObject(product, object);
}

void MetadataDocument::removeBuild(const Product& product, const Platform& platform)
{
    if (!hasProduct(product))
        return;
    QJsonObject object = productObject(product);
    for (const QString& key : {buildsKey, otherPlatformsKey}) {
        QJsonArray builds = object.value(key).toArray();
        for (qsizetype index = 0; (index = buildIndex(builds, platform)) >= 0;)
            builds.removeAt(index);
        if (object.contains(key))
            object.insert(key, builds);
    }
    if (object.value(otherPlatformsKey).toArray().isEmpty())
        object.remove(otherPlatformsKey);
    setProductObject(product, object);
}

void MetadataDocument::removeProduct(const Product& product)
{
    if (product.isLauncher) {
        m_root.remove(launcherKey);
        return;
    }
    QJsonArray packages = m_root.value(packagesKey).toArray();
    const qsizetype index = packageIndex(product.directory);
    if (index < 0)
        return;
    packages.removeAt(index);
    m_root.insert(packagesKey, packages);
}

void MetadataDocument::setHints(const QString& address)
{
    setOrRemove(m_root, QStringLiteral("hints"), address);
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

QList<Platform> MetadataDocument::publishedPlatforms(const Product& product) const
{
    QList<Platform> found = platforms(product);
    for (const auto& other : productObject(product).value(otherPlatformsKey).toArray()) {
        const Platform platform = platformOf(other.toObject());
        if (!found.contains(platform))
            found.append(platform);
    }
    return found;
}

void MetadataDocument::addPublished(const Product& product, const Platform& platform)
{
    if (publishedPlatforms(product).contains(platform))
        return;
    QJsonObject object = productObject(product);
    QJsonArray others = object.value(otherPlatformsKey).toArray();
    QJsonObject build;
    setPlatform(build, platform);
    others.append(build);
    object.insert(otherPlatformsKey, others);
    setProductObject(product, object);
}

BuildAddresses MetadataDocument::build(const Product& product, const Platform& platform) const
{
    const QJsonArray builds = productObject(product).value(buildsKey).toArray();
    const qsizetype index = buildIndex(builds, platform);
    if (index < 0)
        return {};
    return addressesOf(builds.at(index).toObject());
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

} // namespace publish
