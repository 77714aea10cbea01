#include "package/PackageClient.h"

#include "package/BufferedConnections.h"

#include <QNetworkAccessManager>

PackageClient::PackageClient(QObject* parent)
    : QObject(parent)
    , m_network(new QNetworkAccessManager(this))
{
    m_network->setProxyFactory(new BufferedConnections);
}

PackageClient::~PackageClient() = default;

void PackageClient::setBaseUrl(const QString& baseUrl)
{
    m_baseUrl = baseUrl;
    while (m_baseUrl.endsWith(u'/'))
        m_baseUrl.chop(1);
}

void PackageClient::setDataFolder(const QString& dataFolder)
{
    m_dataFolder = dataFolder;
}

void PackageClient::setPublisherKeys(const QStringList& keys)
{
    m_takesSignedOnly = !keys.isEmpty();
    m_publisherKeys.clear();
    for (const QString& text : keys) {
        if (const auto key = minisign::readPublicKey(text.toUtf8()))
            m_publisherKeys.append(*key);
    }
}
