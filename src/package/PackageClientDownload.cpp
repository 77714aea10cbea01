#include "package/BodyReception.h"
#include "package/Hashes.h"
#include "package/IncomingFile.h"
#include "package/PackageClient.h"
#include "package/SafeAddress.h"
#include "package/Sizes.h"
#include "package/TransferFailure.h"
#include "package/TransferLimits.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <memory>
#include <optional>
#include <utility>

namespace {

QString failureText(const QString& reason)
{
    return QLatin1StringView("Download failed: ") + reason;
}

// Qt has the same text for a transfer that was aborted.
QString cancelledText()
{
    return failureText(QNetworkReply::tr("Operation canceled"));
}

// A small body may be here in whole before it can be refused.
std::optional<QString> failureOf(const QNetworkReply& reply, qint64 received, qint64 largest)
{
    if (received > largest)
        return QNetworkReply::tr("Operation canceled");
    return transferFailure(reply, received);
}

qint64 largestBodyOf(const IncomingFile* incoming)
{
    return incoming ? largestPacked(incoming->file()) : transferlimits::packed;
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
    const QString part = launcherPart(path);
    if (!part.isEmpty())
        return QUrl(m_baseUrl + part, QUrl::TolerantMode);
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
    limitTransfer(*reply, largest);
    return reply;
}

bool PackageClient::failWhenQuitting(QString* error)
{
    if (!m_pacer.checkQuitting())
        return false;
    if (error)
        *error = cancelledText();
    return true;
}

QByteArray PackageClient::receiveBody(QNetworkReply* reply, const QUrl& address, qint64 largest,
                                      IncomingFile* incoming, QString* error)
{
    // Deleted on return. deleteLater() would wait for the outermost event loop, and an installation
    // would gather thousands of replies before it comes to that.
    const std::unique_ptr<QNetworkReply> owner(reply);
    BodyReception reception(*reply, incoming);
    const bool ended = m_pacer.waitForEnd(reception);
    if (incoming && incoming->cannotBeWritten())
        return {};
    const auto failure = failureOf(*reply, reception.received(), largest);
    if (failure) {
        if (error)
            *error = failureText(*failure);
        qWarning("Download failed: %s %s", qUtf8Printable(address.toString()),
                 qUtf8Printable(*failure));
        if (incoming)
            incoming->dropBody();
    } else if (!ended && error) {
        *error = cancelledText();
    }
    return failure || !ended ? QByteArray() : reception.body();
}

QByteArray PackageClient::download(const QUrl& url, qint64 largest, QString* error,
                                   const RequiredHash& hash)
{
    if (failWhenQuitting(error))
        return {};
    const QUrl address = finalAddress(url);
    QByteArray body = receiveBody(startRequest(address, largest), address, largest, nullptr, error);
    if (!hash || body.isEmpty())
        return body;
    const QString computed =
        hashBytes(body, [this](QByteArrayView, qint64) { return m_pacer.turnIfDue(); });
    if (failWhenQuitting(error))
        return {};
    if (isSameHash(computed, *hash))
        return body;
    qWarning("Cannot trust %s: its SHA-256 is not the one that was signed",
             qUtf8Printable(address.toString()));
    return {};
}

QByteArray PackageClient::downloadWithProgress(const QUrl& url, qint64 bytesBefore,
                                               qint64 totalBytes, int fileIndex, int fileCount,
                                               QString* error)
{
    IncomingFile* const incoming = std::exchange(m_incoming, nullptr);
    const qint64 largest = largestBodyOf(incoming);
    if (failWhenQuitting(error))
        return {};
    const QUrl address = finalAddress(url);
    QNetworkReply* reply = startRequest(address, largest);
    connect(reply, &QNetworkReply::downloadProgress, this,
            [this, bytesBefore, totalBytes, fileIndex, fileCount](qint64 received, qint64) {
                Q_EMIT progress(addSizes(bytesBefore, received), totalBytes, fileIndex, fileCount);
            });
    return receiveBody(reply, address, largest, incoming, error);
}

void PackageClient::downloadAsync(const QUrl& url, DownloadCallback done)
{
    IncomingFile* const incoming = std::exchange(m_incoming, nullptr);
    const qint64 largest = largestBodyOf(incoming);
    const QUrl address = finalAddress(url);
    QNetworkReply* reply = startRequest(address, largest);
    if (m_forwardProgress) {
        connect(reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64) {
            Q_EMIT progress(addSizes(m_bytesBefore, received), m_totalBytes, m_fileIndex,
                            m_fileCount);
        });
    }
    const auto* reception = new BodyReception(*reply, incoming, reply);
    connect(reception, &BodyReception::ended, this,
            [reply, reception, incoming, address, largest, done = std::move(done)] {
                const auto failure = failureOf(*reply, reception->received(), largest);
                const bool isUseless = incoming && incoming->cannotBeWritten();
                QString message;
                if (failure && !isUseless) {
                    message = failureText(*failure);
                    qWarning("Download failed: %s %s", qUtf8Printable(address.toString()),
                             qUtf8Printable(message));
                }
                reply->deleteLater();
                if (done)
                    done(reception->body(), message);
            });
}
