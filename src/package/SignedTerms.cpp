#include "package/SignedTerms.h"

#include "package/JsonReading.h"

#include <QJsonDocument>

SignedTerms readSignedTerms(const QByteArray& document)
{
    const QJsonObject root = QJsonDocument::fromJson(document).object();
    SignedTerms terms;
    const qint64 serial = readJsonInt64(root.value(QLatin1StringView("serial")));
    if (serial > 0 && serial <= SignedTerms::largestSerial)
        terms.serial = serial;
    // One that is there without being a text is no time, and must not pass for none.
    if (root.contains(QLatin1StringView("expires")))
        terms.expires = readJsonString(root, "expires");
    terms.channel = readJsonString(root, "channel");
    return terms;
}

QString termsFault(const SignedTerms& terms, const QString& baseUrl, qint64 highest,
                   const QDateTime& now)
{
    if (terms.serial < 1)
        return QStringLiteral("it has no serial number");
    if (!terms.channel.isEmpty() && !baseUrl.endsWith(u'/' + terms.channel))
        return QStringLiteral("it is that of the channel %1").arg(terms.channel);
    if (terms.serial < highest)
        return QStringLiteral("its serial number is %1, and %2 was accepted before")
            .arg(terms.serial)
            .arg(highest);
    if (!terms.expires)
        return {};
    const QDateTime end = QDateTime::fromString(*terms.expires, Qt::ISODate);
    if (!end.isValid() || end.timeSpec() != Qt::UTC)
        return QStringLiteral("its time of expiry is no time");
    if (end <= now)
        return QStringLiteral("it expired at %1").arg(end.toString(Qt::ISODate));
    return {};
}
