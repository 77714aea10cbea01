#include "package/HintsDocument.h"
#include "package/PackageClient.h"
#include "package/ReplaceFile.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace {

void saveCopy(const QByteArray& data, const QString& folder)
{
    QDir().mkpath(folder);
    [[maybe_unused]] const bool saved =
        replaceFile(folder + QLatin1StringView("/launchermetadata.json"), data);
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
    return parsePackageDoc(download(url, transferlimits::manifest, error), error);
}

QList<OrlFile> PackageClient::fetchAssetList(const QUrl& url, QString* error)
{
    return parseAssetList(download(url, transferlimits::manifest, error), error);
}

LauncherMetadata PackageClient::fetchLauncherMetadata(QString* error)
{
    const QUrl address(m_baseUrl + QLatin1StringView("/launcher/quelrametadata.json"),
                       QUrl::TolerantMode);
    return parseLauncherMetadata(download(address, transferlimits::document, error), error);
}

LauncherMetadata PackageClient::parseLauncherMetadata(const QByteArray& data, QString* error)
{
    bool isDocument = false;
    LauncherMetadata metadata = readLauncherMetadata(data, error, &isDocument);
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
