#include "publish/WebSource.h"

#include "package/SafeAddress.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QUrl>

namespace publish {

namespace {

// Qt opens six connections to a host; what waits for them fills the gaps.
constexpr int mostAtOnce = 12;
constexpr int patienceMs = 30'000;

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

} // namespace

QByteArray WebSource::fetch(const QString& address, QString* error)
{
    return m_client.fetchBytes(requested(m_client.baseUrl(), address), error,
                               transferlimits::packed);
}

void WebSource::look(const QStringList& addresses, const Found& found)
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

// The answer's header alone. What has to be unpacked on the way has no size to go by.
QNetworkReply* WebSource::ask(const QString& address)
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

} // namespace publish
