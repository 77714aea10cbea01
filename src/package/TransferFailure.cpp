#include "package/TransferFailure.h"

#include <QCoreApplication>
#include <QNetworkReply>
#include <QNetworkRequest>

std::optional<QString> transferFailure(const QNetworkReply& reply, qsizetype received)
{
    if (reply.error() != QNetworkReply::NoError)
        return reply.errorString();
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    // With a content encoding the length counts other bytes than those that arrive here.
    if (length.isValid() && received < length.toLongLong() &&
        !reply.hasRawHeader("Content-Encoding"))
        return QCoreApplication::translate("QHttp", "Connection closed");
    return std::nullopt;
}
