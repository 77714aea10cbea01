#pragma once

#include <QByteArray>
#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSet>
#include <QTextBrowser>
#include <QUrl>

namespace shared {

/// A text browser that also shows pictures from the web: it fetches "http" and "https" pictures in
/// the background, keeps their bytes for its lifetime and lays the text out again once the last of
/// those in flight has arrived. A picture that cannot be fetched stays missing, without a message,
/// and is asked for again by the next layout. So does one of more than 8 MiB, of the web or of this
/// machine.
class QTextBrowserWithNetwork : public QTextBrowser
{
    Q_OBJECT

public:
    explicit QTextBrowserWithNetwork(QWidget* parent = nullptr);

    QVariant loadResource(int type, const QUrl& name) override;

public Q_SLOTS:
    void onDownloadFinished(QUrl url, QByteArray data);
    void onDownloadFailed(QUrl url, QNetworkReply::NetworkError code, QString errorString);

private:
    void startDownload(const QUrl& url);

    QNetworkAccessManager m_network;
    QHash<QUrl, QByteArray> m_pictures;
    QSet<QUrl> m_pending;
};

} // namespace shared
