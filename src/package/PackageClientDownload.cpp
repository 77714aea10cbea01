#include "package/PackageClient.h"
#include "package/SafeAddress.h"
#include "package/Sizes.h"
#include "package/TransferFailure.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <memory>
#include <optional>

namespace {

QString failureText(const QString& reason)
{
    return QLatin1StringView("Download failed: ") + reason;
}

void appendAvailable(QNetworkReply& reply, QByteArray& body)
{
    const qint64 available = reply.isOpen() ? reply.bytesAvailable() : 0;
    if (available <= 0)
        return;
    const qsizetype before = body.size();
    body.resize(before + available);
    const qint64 read = reply.read(body.data() + before, body.size() - before);
    body.resize(before + qMax<qint64>(read, 0));
}

// A server that never comes to an end must not fill the memory.
void limitBody(QNetworkReply& reply, qint64 largest)
{
    const auto check = [&reply, largest](qint64 bytes) {
        if (bytes > largest)
            reply.abort();
    };
    QObject::connect(&reply, &QNetworkReply::metaDataChanged, &reply, [&reply, check] {
        check(reply.header(QNetworkRequest::ContentLengthHeader).toLongLong());
    });
    QObject::connect(&reply, &QNetworkReply::downloadProgress, &reply, check);
}

// A small body may be here in whole before it can be refused.
std::optional<QString> failureOf(const QNetworkReply& reply, qint64 received, qint64 largest)
{
    if (received > largest)
        return QNetworkReply::tr("Operation canceled");
    return transferFailure(reply, received);
}

} // namespace

QUrl PackageClient::resolveUrl(const QUrl& base, const QString& text) const
{
    QUrl url(text, QUrl::TolerantMode);
    if (url.isRelative())
        return base.resolved(url);
    if (m_baseUrl.isEmpty())
        return url;
    const QString path = url.path(QUrl::FullyDecoded);
    const qsizetype launcher = path.indexOf(QLatin1StringView("/launcher/"));
    if (launcher >= 0)
        return QUrl(m_baseUrl + path.sliced(launcher), QUrl::TolerantMode);
    if (path.endsWith(QLatin1StringView("/hints.json")))
        return QUrl(m_baseUrl + QLatin1StringView("/hints.json"), QUrl::TolerantMode);
    return url;
}

QUrl PackageClient::finalAddress(const QUrl& url) const
{
    const QUrl base(m_baseUrl, QUrl::TolerantMode);
    QUrl address = url.isRelative() ? url : resolveUrl(base, url.toString());
    return address.isRelative() && !m_baseUrl.isEmpty() ? base.resolved(address) : address;
}

QNetworkReply* PackageClient::startRequest(const QUrl& address, qint64 largest)
{
    QNetworkRequest request(leadsToAnotherMachine(address) ? QUrl() : address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    QNetworkReply* reply = m_network->get(request);
    limitBody(*reply, largest);
    return reply;
}

bool PackageClient::failWhenQuitting(QString* error)
{
    if (!m_pacer.checkQuitting())
        return false;
    // The text that a transfer gets which is aborted on the way.
    if (error)
        *error = failureText(QNetworkReply::tr("Operation canceled"));
    return true;
}

QByteArray PackageClient::receiveBody(QNetworkReply* reply, const QUrl& address, qint64 largest,
                                      QString* error)
{
    // The body is taken while it arrives: reading a large one in a single piece at the end would
    // hold up the event loop and keep it in memory twice.
    QByteArray body;
    // Deleted on return. deleteLater() would wait for the outermost event loop, and an installation
    // would gather thousands of replies before it comes to that.
    const std::unique_ptr<QNetworkReply> owner(reply);
    const auto reading = connect(reply, &QIODevice::readyRead, this,
                                 [reply, &body] { appendAvailable(*reply, body); });
    const bool finished = m_pacer.waitForFinished(reply);
    appendAvailable(*reply, body);
    disconnect(reading);
    const auto failure = failureOf(*reply, body.size(), largest);
    if (finished && !failure)
        return body;
    const QString reason = failure.value_or(reply->errorString());
    if (error)
        *error = failureText(reason);
    qWarning("Download failed: %s %s", qUtf8Printable(address.toString()), qUtf8Printable(reason));
    return {};
}

QByteArray PackageClient::download(const QUrl& url, qint64 largest, QString* error)
{
    if (failWhenQuitting(error))
        return {};
    const QUrl address = finalAddress(url);
    return receiveBody(startRequest(address, largest), address, largest, error);
}

QByteArray PackageClient::downloadWithProgress(const QUrl& url, qint64 largest, qint64 bytesBefore,
                                               qint64 totalBytes, int fileIndex, int fileCount,
                                               QString* error,
                                               const std::function<void()>& meanwhile)
{
    if (failWhenQuitting(error))
        return {};
    const QUrl address = finalAddress(url);
    QNetworkReply* reply = startRequest(address, largest);
    connect(reply, &QNetworkReply::downloadProgress, this,
            [this, bytesBefore, totalBytes, fileIndex, fileCount](qint64 received, qint64) {
                Q_EMIT progress(addSizes(bytesBefore, received), totalBytes, fileIndex, fileCount);
            });
    meanwhile();
    return receiveBody(reply, address, largest, error);
}

void PackageClient::downloadAsync(const QUrl& url, qint64 largest, DownloadCallback done)
{
    const QUrl address = finalAddress(url);
    QNetworkReply* reply = startRequest(address, largest);
    if (m_forwardProgress) {
        connect(reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64) {
            Q_EMIT progress(addSizes(m_bytesBefore, received), m_totalBytes, m_fileIndex,
                            m_fileCount);
        });
    }
    connect(reply, &QNetworkReply::finished, this,
            [reply, address, largest, done = std::move(done)] {
                const QByteArray body = reply->readAll();
                QString message;
                if (const auto reason = failureOf(*reply, body.size(), largest)) {
                    message = failureText(*reason);
                    qWarning("Download failed: %s %s", qUtf8Printable(address.toString()),
                             qUtf8Printable(message));
                }
                reply->deleteLater();
                if (done)
                    done(body, message);
            });
}
