#include "publish/ContentSource.h"

#include "package/PackageClient.h"
#include "package/SafeAddress.h"
#include "package/SafePath.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/WrittenNotes.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
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
        , m_notes(m_tree)
    {
        m_client.setBaseUrl(m_base);
    }

    QByteArray fetch(const QString& address, QString* error) override
    {
        const QString path = servedPath(address);
        if (path.isEmpty()) {
            if (error)
                *error = leadsElsewhere();
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

    void look(const QStringList& addresses, const Found& found) override
    {
        for (qsizetype i = 0; i < addresses.size(); ++i)
            found(i, presenceOf(servedPath(addresses.at(i))));
    }

    QString notedHash(const QString& address) const override
    {
        return m_notes.hash(servedPath(address));
    }

    bool isServer() const override { return false; }

private:
    static QString leadsElsewhere() { return QStringLiteral("the address leads elsewhere"); }

    [[nodiscard]] Presence presenceOf(const QString& path) const
    {
        const QFileInfo file(m_tree.path(path));
        if (path.isEmpty())
            return {leadsElsewhere()};
        if (!file.exists())
            return {QStringLiteral("there is no such file")};
        return file.isFile() ? Presence{{}, file.size()}
                             : Presence{QStringLiteral("it is not a file")};
    }

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
    WrittenNotes m_notes;
    // Only its rule for addresses is used, which any thread may do.
    PackageClient m_client{nullptr};
};

Presence presenceOf(const QNetworkReply& reply)
{
    if (reply.error() != QNetworkReply::NoError)
        return {reply.errorString()};
    bool isNumber = false;
    const qint64 size = reply.rawHeader("Content-Length").toLongLong(&isNumber);
    return {{},
            isNumber ? size : -1,
            reply.rawHeader("Cache-Control"),
            reply.rawHeader("Content-Type"),
            reply.rawHeader("Content-Encoding")};
}

class WebSource : public ContentSource
{
public:
    explicit WebSource(const QString& baseUrl) { m_client.setBaseUrl(baseUrl); }

    QByteArray fetch(const QString& address, QString* error) override
    {
        return m_client.fetchBytes(requested(m_client.baseUrl(), address), error,
                                   transferlimits::packed);
    }

    void look(const QStringList& addresses, const Found& found) override
    {
        QEventLoop loop;
        qsizetype next = 0;
        int running = 0;
        const std::function<void()> askMore = [&] {
            for (; running < mostAtOnce && next < addresses.size(); ++next) {
                QNetworkReply* reply = ask(addresses.at(next));
                ++running;
                const auto ended = [&, index = next, reply] {
                    found(index, presenceOf(*reply));
                    reply->deleteLater();
                    --running;
                    askMore();
                    if (running == 0)
                        loop.quit();
                };
                QObject::connect(reply, &QNetworkReply::finished, &loop, ended);
            }
        };
        askMore();
        if (running > 0)
            loop.exec();
    }

    QString notedHash(const QString&) const override { return {}; }

    bool isServer() const override { return true; }

private:
    // Qt opens six connections to a host; what waits for them fills the gaps.
    static constexpr int mostAtOnce = 12;
    static constexpr int patienceMs = 30'000;

    // The answer's header alone. What has to be unpacked on the way has no size to go by.
    QNetworkReply* ask(const QString& address)
    {
        const QUrl url = m_client.resolveUrl(QUrl(m_client.baseUrl(), QUrl::TolerantMode),
                                             requested(m_client.baseUrl(), address).toString());
        QNetworkRequest request(leadsToAnotherMachine(url) ? QUrl() : url);
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::NoLessSafeRedirectPolicy);
        request.setRawHeader("Accept-Encoding", "identity");
        request.setTransferTimeout(patienceMs);
        return m_network.head(request);
    }

    PackageClient m_client{nullptr};
    QNetworkAccessManager m_network;
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
