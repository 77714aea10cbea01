#include "package/TransferFailure.h"

#include <QCoreApplication>
#include <QNetworkReply>
#include <QNetworkRequest>

std::optional<QString> transferFailure(const QNetworkReply& reply, qsizetype received)
{
    if (reply.error() != QNetworkReply::NoError)
        return reply.errorString();
    const QVariant length = reply.header(QNetworkRequest::ContentLengthHeader);
    // With an encoding the length, if it counts at all, counts other bytes than those that arrive.
    if (length.isValid() && received < length.toLongLong() &&
        !reply.hasRawHeader("Content-Encoding") && !reply.hasRawHeader("Transfer-Encoding"))
        return QCoreApplication::translate("QHttp", "Connection closed");
    return std::nullopt;
}
