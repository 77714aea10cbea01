#include "shared/QTextBrowserWithNetwork.h"

#include "package/SafeAddress.h"
#include "package/TransferFailure.h"
#include "package/TransferLimits.h"
#include "shared/PictureHandler.h"

#include <QFileInfo>
#include <QNetworkRequest>
#include <QScrollBar>
#include <QTextDocument>

namespace shared {

namespace {

constexpr qint64 largestPicture = qint64(8) << 20;

// A device or a pipe may have no end, and a file that says that it is empty may be one of these.
bool isEndless(const QString& path)
{
    const QFileInfo file(path);
    const bool isSized = file.isFile() && file.size() > 0 && file.size() <= largestPicture;
    return file.exists() && !isSized;
}

bool isReadable(const QUrl& name)
{
    const bool isPath = name.scheme().isEmpty();
    return (!isPath && !name.isLocalFile()) ||
           !isEndless(isPath ? name.path() : name.toLocalFile());
}

// The document decodes a picture as soon as it has it.
QVariant unlessTooLarge(const QVariant& picture)
{
    return isTooLarge(pictureSize(picture.toByteArray())) ? QVariant(QByteArray()) : picture;
}

} // namespace

QTextBrowserWithNetwork::QTextBrowserWithNetwork(QWidget* parent)
    : QTextBrowser(parent)
{
    PictureHandler::install(*document());
}

QVariant QTextBrowserWithNetwork::loadResource(int type, const QUrl& name)
{
    // Nothing in it, but something: for nothing at all the document would open the file itself.
    if (leadsToAnotherMachine(name))
        return QByteArray();
    if (type != QTextDocument::ImageResource)
        return QTextBrowser::loadResource(type, name);
    const QUrl address = name.isRelative() ? source().resolved(name) : name;
    if (isWebAddress(address)) {
        const auto cached = m_pictures.constFind(address);
        if (cached != m_pictures.constEnd())
            return unlessTooLarge(*cached);
        startDownload(address);
        return {};
    }
    if (!isReadable(name))
        return QByteArray();
    const bool isBundled = address.isValid() && address.scheme() == QLatin1StringView("qrc");
    return unlessTooLarge(QTextBrowser::loadResource(type, isBundled ? address : name));
}

void QTextBrowserWithNetwork::startDownload(const QUrl& url)
{
    if (m_pending.contains(url) || m_pictures.contains(url))
        return;
    m_pending.insert(url);
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    QNetworkReply* reply = m_network.get(request);
    limitTransfer(*reply, largestPicture);
    connect(reply, &QNetworkReply::finished, this, [this, reply, url] {
        reply->deleteLater();
        m_pending.remove(url);
        const QByteArray picture = reply->readAll();
        if (const auto failure = transferFailure(*reply, picture.size()))
            onDownloadFailed(url, reply->error(), *failure);
        else if (picture.size() > largestPicture)
            // A fast one is here before it can be refused.
            onDownloadFailed(url, QNetworkReply::OperationCanceledError, {});
        else
            onDownloadFinished(url, picture);
    });
}

// By value, as a queued connection to these slots would hand the parameters over.
// NOLINTBEGIN(performance-unnecessary-value-param)

void QTextBrowserWithNetwork::onDownloadFinished(QUrl url, QByteArray picture)
{
    if (picture.isEmpty())
        return;
    m_pictures.insert(url, picture);
    document()->addResource(QTextDocument::ImageResource, url, picture);
    if (!m_pending.isEmpty()) {
        viewport()->update();
        return;
    }
    // Laying out again is costly and moves the text; once for all pictures in flight is enough. It
    // also goes back to the top, from where a player may have scrolled away.
    const int position = verticalScrollBar()->value();
    setHtml(toHtml());
    verticalScrollBar()->setValue(position);
}

void QTextBrowserWithNetwork::onDownloadFailed(QUrl url, QNetworkReply::NetworkError code,
                                               QString errorString)
{
    Q_UNUSED(url)
    Q_UNUSED(code)
    Q_UNUSED(errorString)
}

// NOLINTEND(performance-unnecessary-value-param)

} // namespace shared
