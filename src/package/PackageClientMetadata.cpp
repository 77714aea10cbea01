#include "package/AcceptedSerials.h"
#include "package/Failure.h"
#include "package/Hashes.h"
#include "package/HintsDocument.h"
#include "package/JsonReading.h"
#include "package/PackageClient.h"
#include "package/ReplaceFile.h"
#include "package/SignedTerms.h"
#include "package/WriteSteps.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {

void saveCopy(const QByteArray& data, const QString& folder)
{
    const QString path = folder + QLatin1StringView("/launchermetadata.json");
    WriteResult result = makeFolder(folder);
    if (result)
        result = replaceFile(path, data);
    logUnwritten(path, result);
}

// `fault` is the parser's text, empty when it had no complaint. It does not say what is wrong, so
// the log does.
void reportUnreadable(const QUrl& address, const QByteArray& data, const QString& fault,
                      QString* error)
{
    if (fault.isEmpty())
        return;
    qWarning("Cannot read %s: %s", qUtf8Printable(address.toString()),
             qUtf8Printable(jsonObjectFault(data)));
    fail(error, fault);
}

} // namespace

QByteArray PackageClient::fetchBytes(const QUrl& url, QString* error, qint64 largest,
                                     const RequiredHash& hash)
{
    return download(url, largest, error, hash);
}

QString PackageClient::fetchText(const QUrl& url, QString* error, const RequiredHash& hash)
{
    return QString::fromUtf8(download(url, transferlimits::text, error, hash)).trimmed();
}

OrlPackageDoc PackageClient::fetchPackageDoc(const QUrl& url, QString* error,
                                             const RequiredHash& hash)
{
    const QByteArray data = download(url, transferlimits::manifest, error, hash);
    QString fault;
    OrlPackageDoc document = parsePackageDoc(data, &fault);
    reportUnreadable(finalAddress(url), data, fault, error);
    return document;
}

QList<OrlFile> PackageClient::fetchAssetList(const QUrl& url, QString* error)
{
    const QByteArray data = download(url, transferlimits::manifest, error);
    QString fault;
    QList<OrlFile> files = parseAssetList(data, &fault);
    reportUnreadable(finalAddress(url), data, fault, error);
    return files;
}

QUrl PackageClient::metadataAddress() const
{
    return QUrl(m_baseUrl + QLatin1StringView("/launcher/quelrametadata.json"), QUrl::TolerantMode);
}

LauncherMetadata PackageClient::fetchLauncherMetadata(QString* error)
{
    const QByteArray data = download(metadataAddress(), transferlimits::document, error);
    if (m_takesSignedOnly && !data.isEmpty() && !isTrusted(data, error))
        return {};
    return parseLauncherMetadata(data, error);
}

// Nothing is read from the document before its signature holds.
bool PackageClient::isTrusted(const QByteArray& metadata, QString* error)
{
    const QString address = metadataAddress().toString();
    const QUrl signatureAddress(m_baseUrl + QLatin1StringView("/launcher/signatures/") +
                                    hashBytes(metadata) + QLatin1StringView(".minisig"),
                                QUrl::TolerantMode);
    const QByteArray signature = download(signatureAddress, transferlimits::signature, error);
    if (isQuitting())
        return false;
    QString fault = signature.isEmpty()
                        ? QStringLiteral("there is no signature of it")
                        : minisign::signatureFault(metadata, signature, m_publisherKeys);
    SignedTerms terms;
    if (fault.isEmpty()) {
        terms = readSignedTerms(metadata);
        fault = termsFault(terms, m_baseUrl, acceptedserials::highest(m_dataFolder, address),
                           QDateTime::currentDateTimeUtc());
    }
    if (!fault.isEmpty()) {
        qWarning("Cannot trust %s: %s", qUtf8Printable(address), qUtf8Printable(fault));
        return false;
    }
    // A disk that is full keeps nobody from playing.
    if (!m_dataFolder.isEmpty())
        logUnwritten(acceptedserials::filePath(m_dataFolder),
                     acceptedserials::note(m_dataFolder, address, terms.serial));
    return true;
}

LauncherMetadata PackageClient::parseLauncherMetadata(const QByteArray& data, QString* error)
{
    bool isDocument = false;
    QString fault;
    LauncherMetadata metadata = readLauncherMetadata(data, &fault, &isDocument);
    reportUnreadable(metadataAddress(), data, fault, error);
    if (isDocument && !m_dataFolder.isEmpty())
        saveCopy(data, m_dataFolder);
    return metadata;
}

QString PackageClient::fetchHintTexts(const QUrl& url, QString* error)
{
    QStringList texts;
    const QJsonArray elements =
        hintElements(QJsonDocument::fromJson(download(url, transferlimits::document, error)));
    for (const auto& element : elements) {
        if (element.isString()) {
            texts.append(element.toString());
        } else if (element.isObject()) {
            const QJsonObject object = element.toObject();
            const QString text =
                object.value(QLatin1StringView("text")).toString(readJsonString(object, "hint"));
            if (!text.isEmpty())
                texts.append(text);
        }
    }
    return texts.join(QLatin1StringView("\n\n"));
}

QString PackageClient::currentOs()
{
    return QStringLiteral("windows");
}

QString PackageClient::currentArchitecture()
{
    return QStringLiteral("x86_64");
}
