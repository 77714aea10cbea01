#pragma once

#include "support/HttpAnswer.h"

#include <QHash>
#include <QList>
#include <QSslConfiguration>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <memory>

class QTcpServer;
class QTcpSocket;

/// A web server on loopback that answers as a test tells it to and writes down what it was asked.
/// It runs on the test's own thread, so that it is served by whatever event loop is turning, nested
/// ones included.
class ScriptedHttpServer
{
public:
    struct Request
    {
        QByteArray method;
        /// Path and query as they stood in the request.
        QString path;
        /// Names in lower case.
        QHash<QByteArray, QByteArray> headers;
    };

    /// Listens on a free port at once.
    ScriptedHttpServer();
    /// The same with TLS.
    explicit ScriptedHttpServer(const QSslConfiguration& tls);
    ~ScriptedHttpServer();
    Q_DISABLE_COPY_MOVE(ScriptedHttpServer)

    /// "http://127.0.0.1:port" without a "/" at the end.
    [[nodiscard]] QString baseUrl() const;
    /// The address of a path that begins with "/".
    [[nodiscard]] QUrl url(const QString& path) const;

    /// What is answered for a path from now on; anything else gets a 404. HEAD gets no body.
    void route(const QString& path, const HttpAnswer& answer);
    void route(const QString& path, const QByteArray& body);
    void removeRoute(const QString& path);
    /// Called for every request before its answer's own hook.
    void setRequestHook(std::function<void(const QString& path)> hook);

    [[nodiscard]] QList<Request> requests() const;
    /// The paths asked for, in order.
    [[nodiscard]] QStringList paths() const;
    [[nodiscard]] qsizetype count(const QString& path) const;
    /// Forgets the requests and the highest number of transfers.
    void clearLog();

    /// Transfers going on: a request has arrived, its answer is not wholly sent, and the connection
    /// stands.
    [[nodiscard]] int activeTransfers() const;
    /// The most that went on at once.
    [[nodiscard]] int mostTransfers() const;

    /// Ends every connection and refuses new ones.
    void close();

private:
    class Connection;
    struct State;

    void start(std::unique_ptr<QTcpServer> server);

    std::unique_ptr<State> m_state;
    std::unique_ptr<QTcpServer> m_server;
    QString m_scheme;
    quint16 m_port = 0;
};
