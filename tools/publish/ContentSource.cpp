#include "package/PackageClient.h"
#include "package/SafePath.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/Verification.h"

#include <QFile>
#include <QUrl>

namespace {

// What launchers ask for by itself lies below their base address, even where that has a path; what
// documents name is resolved against it.
QUrl requested(const QString& base, const QString& address)
{
    const bool isOwn = address == addresses::metadata || address == addresses::hints ||
                       address.startsWith(addresses::images);
    return QUrl(isOwn ? base + address : address, QUrl::TolerantMode);
}

class FolderSource : public ContentSource
{
public:
    FolderSource(const QString& content, const QString& channel)
        : m_base(channel.isEmpty() ? m_server : m_server + u'/' + channel)
        , m_tree(content)
    {
        m_client.setBaseUrl(m_base);
    }

    QByteArray fetch(const QString& address, QString* error) override
    {
        const QString path = servedPath(address);
        if (path.isEmpty()) {
            if (error)
                *error = QStringLiteral("the address leads elsewhere");
            return {};
        }
        QFile file(m_tree.path(path));
        const bool opened = file.open(QIODevice::ReadOnly);
        const QByteArray body = opened ? file.readAll() : QByteArray();
        if (opened && file.error() == QFileDevice::NoError)
            return body;
        if (error)
            *error = file.errorString();
        return {};
    }

    bool isParallel() const override { return true; }

private:
    // What a server would be asked for: absolute addresses move to it by the launcher's rule.
    [[nodiscard]] QString servedPath(const QString& address) const
    {
        const QUrl url = m_client.resolveUrl(QUrl(m_base), requested(m_base, address).toString());
        const QString path = url.path(QUrl::FullyDecoded);
        return url.toString().startsWith(m_server + u'/') && staysBelowFolder(path.sliced(1))
                   ? path
                   : QString();
    }

    const QString m_server = QStringLiteral("http://content");
    const QString m_base;
    ContentFolder m_tree;
    // Only its rule for addresses is used, which any thread may do.
    PackageClient m_client{nullptr};
};

class WebSource : public ContentSource
{
public:
    explicit WebSource(const QString& baseUrl) { m_client.setBaseUrl(baseUrl); }

    QByteArray fetch(const QString& address, QString* error) override
    {
        return m_client.fetchBytes(requested(m_client.baseUrl(), address), error,
                                   transferlimits::packed);
    }

    bool isParallel() const override { return false; }

private:
    PackageClient m_client{nullptr};
};

} // namespace

std::unique_ptr<ContentSource> folderSource(const QString& content, const QString& channel)
{
    return std::make_unique<FolderSource>(content, channel);
}

std::unique_ptr<ContentSource> webSource(const QString& baseUrl)
{
    return std::make_unique<WebSource>(baseUrl);
}
