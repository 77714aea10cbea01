#include "package/Failure.h"
#include "package/HintsDocument.h"
#include "package/JsonReading.h"
#include "package/PackageClient.h"
#include "package/ReplaceFile.h"
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

QByteArray PackageClient::fetchBytes(const QUrl& url, QString* error, qint64 largest)
{
    return download(url, largest, error);
}

QString PackageClient::fetchText(const QUrl& url, QString* error)
{
    return QString::fromUtf8(download(url, transferlimits::text, error)).trimmed();
}

OrlPackageDoc PackageClient::fetchPackageDoc(const QUrl& url, QString* error)
{
    const QByteArray data = download(url, transferlimits::manifest, error);
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
    return parseLauncherMetadata(download(metadataAddress(), transferlimits::document, error),
                                 error);
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
