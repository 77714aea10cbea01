#pragma once

#include "package/PackageClient.h"
#include "publish/ContentSource.h"

#include <QNetworkAccessManager>

namespace publish {

/// Reads from a launcher's base address (a server, or a channel on it): whole bodies with the
/// launcher's own client.
class WebSource : public ContentSource
{
public:
    explicit WebSource(const QString& baseUrl) { m_client.setBaseUrl(baseUrl); }

    QByteArray fetch(const QString& address, QString* error) override;
    void look(const QStringList& addresses, const Found& found) override;
    /// A server does not tell it.
    [[nodiscard]] QString notedHash(const QString&) const override { return {}; }
    [[nodiscard]] QString baseUrl() const override { return m_client.baseUrl(); }
    [[nodiscard]] bool isServer() const override { return true; }

private:
    [[nodiscard]] QNetworkReply* ask(const QString& address);

    PackageClient m_client{nullptr};
    QNetworkAccessManager m_network;
};

} // namespace publish
