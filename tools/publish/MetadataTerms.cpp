// What launchers that take signed metadata only go by.

#include "publish/Addresses.h"
#include "publish/MetadataDocument.h"

#include <QJsonArray>

#include <functional>

namespace publish {

namespace {

const QString serialKey = QStringLiteral("serial");
const QString expiresKey = QStringLiteral("expires");
const QString channelKey = QStringLiteral("channel");

using ChangeBuild = std::function<bool(QJsonObject& build)>;

bool changeBuilds(QJsonObject& product, const ChangeBuild& change)
{
    QJsonArray builds = product.value(buildsKey).toArray();
    for (auto&& element : builds) {
        if (!element.isObject())
            continue;
        QJsonObject build = element.toObject();
        if (!change(build))
            return false;
        element = build;
    }
    if (!builds.isEmpty())
        product.insert(buildsKey, builds);
    return true;
}

// Launchers look at all of them, whatever their folders are called.
bool changeAllBuilds(QJsonObject& root, const ChangeBuild& change)
{
    if (root.value(launcherKey).isObject()) {
        QJsonObject launcher = root.value(launcherKey).toObject();
        if (!changeBuilds(launcher, change))
            return false;
        root.insert(launcherKey, launcher);
    }
    QJsonArray packages = root.value(packagesKey).toArray();
    for (auto&& element : packages) {
        if (!element.isObject())
            continue;
        QJsonObject package = element.toObject();
        if (!changeBuilds(package, change))
            return false;
        element = package;
    }
    if (!packages.isEmpty())
        root.insert(packagesKey, packages);
    return true;
}

QString hashKey(const QString& addressKey)
{
    return addressKey + QLatin1StringView("sha256");
}

} // namespace

bool MetadataDocument::setHashes(const HashOf& hashOf)
{
    return changeAllBuilds(m_root, [&hashOf](QJsonObject& build) {
        for (const QString& key : addressKeys()) {
            const QString address = addresses::onServer(build.value(key).toString());
            const QString hash = address.isEmpty() ? QString() : hashOf(address);
            if (hash.isEmpty() && !address.isEmpty())
                return false;
            setOrRemove(build, hashKey(key), hash);
        }
        return true;
    });
}

void MetadataDocument::setTerms(const SignedTerms& terms)
{
    m_root.insert(serialKey, terms.serial);
    setOrRemove(m_root, expiresKey, terms.expires.value_or(QString()));
    setOrRemove(m_root, channelKey, terms.channel);
}

void MetadataDocument::removeTerms()
{
    for (const QString& key : {serialKey, expiresKey, channelKey})
        m_root.remove(key);
    [[maybe_unused]] const bool changed = changeAllBuilds(m_root, [](QJsonObject& build) {
        for (const QString& key : addressKeys())
            build.remove(hashKey(key));
        return true;
    });
}

} // namespace publish
