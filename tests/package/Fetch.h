#pragma once

#include "package/PackageClient.h"
#include "support/MessageCapture.h"

#include <QString>
#include <QStringList>
#include <QUrl>

inline const QByteArray page = "the whole body of a page, long enough to be cut somewhere";

/// Fetches the address with a client of its own and keeps what came of it.
struct Fetch
{
    explicit Fetch(const QUrl& url, const QString& baseUrl = {})
    {
        PackageClient client(nullptr);
        client.setBaseUrl(baseUrl);
        const MessageCapture log;
        body = client.fetchBytes(url, &error);
        logged = log.lines();
    }

    // Failures all look alike: no body, the reason for the caller, the same with the address in the
    // log.
    [[nodiscard]] bool failedFor(const QString& address) const
    {
        const QString reason = error.mid(QLatin1StringView("Download failed: ").size());
        return body.isEmpty() && error.startsWith(QLatin1StringView("Download failed: ")) &&
               !reason.isEmpty() &&
               logged == QStringList{QStringLiteral("Download failed: ") + address + u' ' + reason};
    }

    QByteArray body;
    QString error = QStringLiteral("earlier");
    QStringList logged;
};
