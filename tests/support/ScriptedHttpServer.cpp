#include "support/ScriptedHttpServer.h"

#include <QHostAddress>
#include <QPointer>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <utility>
#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

struct ScriptedHttpServer::State
{
    QHash<QString, HttpAnswer> routes;
    std::function<void(const QString&)> hook;
    QList<Request> requests;
    QList<QPointer<QTcpSocket>> sockets;
    int active = 0;
    int most = 0;
};

/// One connection of a client. Owned by its socket, which deletes itself when it is disconnected.
class ScriptedHttpServer::Connection : public QObject
{
public:
    Connection(QTcpSocket* socket, State& state)
        : QObject(socket)
        , m_socket(socket)
        , m_state(state)
    {
        connect(socket, &QTcpSocket::readyRead, this, [this] { read(); });
        connect(socket, &QTcpSocket::bytesWritten, this, [this] { endWhenSent(); });
        connect(socket, &QTcpSocket::disconnected, this, [this] {
            endTransfer();
            m_socket->deleteLater();
        });
        connect(&m_drip, &QTimer::timeout, this, [this] { sendPiece(); });
    }

private:
    void read()
    {
        m_input += m_socket->readAll();
        const qsizetype end = m_input.indexOf("\r\n\r\n");
        if (m_busy || end < 0)
            return;
        const Request request = parse(m_input.first(end));
        m_input.remove(0, end + 4);
        m_busy = true;
        m_state.requests.append(request);
        m_state.most = std::max(m_state.most, ++m_state.active);
        answer(request);
    }

    static Request parse(const QByteArray& head)
    {
        QList<QByteArray> lines = head.split('\n');
        const QList<QByteArray> words = lines.takeFirst().trimmed().split(' ');
        Request request;
        request.method = words.value(0);
        request.path = QString::fromLatin1(words.value(1));
        for (const QByteArray& line : std::as_const(lines)) {
            const qsizetype colon = line.indexOf(':');
            if (colon > 0)
                request.headers.insert(line.first(colon).toLower(),
                                       line.sliced(colon + 1).trimmed());
        }
        return request;
    }

    void answer(const Request& request)
    {
        const QString& path = request.path;
        // A hook may turn an event loop in which the connection comes to its end.
        const QPointer<Connection> guard(this);
        if (m_state.hook)
            m_state.hook(path);
        if (!guard)
            return;
        m_answer = m_state.routes.value(path, HttpAnswer::error(404));
        if (m_answer.onRequest)
            m_answer.onRequest();
        if (!guard || (m_answer.end == HttpAnswer::End::Hang && m_answer.silent))
            return;
        m_rest = m_answer.end == HttpAnswer::End::Normal
                     ? m_answer.body
                     : m_answer.body.first(std::min(m_answer.sentBytes, m_answer.body.size()));
        if (request.method == "HEAD")
            m_rest.clear();
        m_allQueued = false;
        m_socket->write(header());
        if (m_answer.dripBytes > 0)
            m_drip.start(m_answer.dripMs);
        else
            sendPiece();
    }

    [[nodiscard]] QByteArray header() const
    {
        QByteArray text = "HTTP/1.1 " + QByteArray::number(m_answer.status) + " Scripted\r\n";
        for (const auto& [name, value] : m_answer.headers)
            text += name + ": " + value + "\r\n";
        if (m_answer.announcedLength != -2) {
            const qint64 length =
                m_answer.announcedLength < 0 ? m_answer.body.size() : m_answer.announcedLength;
            text += "Content-Length: " + QByteArray::number(length) + "\r\n";
        }
        return text + "\r\n";
    }

    void sendPiece()
    {
        const qsizetype size =
            m_answer.dripBytes > 0 ? std::min(m_answer.dripBytes, m_rest.size()) : m_rest.size();
        m_socket->write(m_rest.first(size));
        m_rest.remove(0, size);
        if (!m_rest.isEmpty())
            return;
        m_drip.stop();
        m_allQueued = true;
        m_socket->flush();
        endWhenSent();
    }

    void endWhenSent()
    {
        if (!m_busy || !m_allQueued || m_socket->bytesToWrite() > 0)
            return;
        m_allQueued = false;
        if (m_answer.end == HttpAnswer::End::Hang)
            return;
        if (m_answer.end == HttpAnswer::End::Reset) {
            // Not at once: a reset would also throw away what the client has not read yet.
            QTimer::singleShot(20, this, [this] { reset(); });
            return;
        }
        endTransfer();
        if (m_answer.end == HttpAnswer::End::Close || m_answer.announcedLength == -2)
            m_socket->disconnectFromHost();
        else
            QMetaObject::invokeMethod(
                this, [this] { read(); }, Qt::QueuedConnection);
    }

    void reset()
    {
        const linger now{1, 0};
#ifdef Q_OS_WIN
        const auto descriptor = static_cast<SOCKET>(m_socket->socketDescriptor());
#else
        const auto descriptor = static_cast<int>(m_socket->socketDescriptor());
#endif
        ::setsockopt(descriptor, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&now),
                     sizeof now);
        m_socket->abort();
    }

    void endTransfer()
    {
        if (m_busy)
            --m_state.active;
        m_busy = false;
        m_drip.stop();
    }

    QTcpSocket* m_socket;
    State& m_state;
    HttpAnswer m_answer;
    QByteArray m_input;
    QByteArray m_rest;
    QTimer m_drip;
    bool m_busy = false;
    bool m_allQueued = false;
};

ScriptedHttpServer::ScriptedHttpServer()
    : m_state(std::make_unique<State>())
    , m_scheme(QStringLiteral("http"))
{
    start(std::make_unique<QTcpServer>());
}

ScriptedHttpServer::ScriptedHttpServer(const QSslConfiguration& tls)
    : m_state(std::make_unique<State>())
    , m_scheme(QStringLiteral("https"))
{
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(tls);
    start(std::move(server));
}

ScriptedHttpServer::~ScriptedHttpServer()
{
    close();
}

void ScriptedHttpServer::start(std::unique_ptr<QTcpServer> server)
{
    m_server = std::move(server);
    QObject::connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, m_server.get(),
                     [this] {
                         while (QTcpSocket* socket = m_server->nextPendingConnection()) {
                             m_state->sockets.append(socket);
                             new Connection(socket, *m_state);
                         }
                     });
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("No free port on loopback: %s", qUtf8Printable(m_server->errorString()));
    m_port = m_server->serverPort();
}

QString ScriptedHttpServer::baseUrl() const
{
    return m_scheme + QStringLiteral("://127.0.0.1:%1").arg(m_port);
}

QUrl ScriptedHttpServer::url(const QString& path) const
{
    return QUrl(baseUrl() + path);
}

void ScriptedHttpServer::route(const QString& path, const HttpAnswer& answer)
{
    m_state->routes.insert(path, answer);
}

void ScriptedHttpServer::route(const QString& path, const QByteArray& body)
{
    route(path, HttpAnswer::ok(body));
}

void ScriptedHttpServer::removeRoute(const QString& path)
{
    m_state->routes.remove(path);
}

void ScriptedHttpServer::setRequestHook(std::function<void(const QString&)> hook)
{
    m_state->hook = std::move(hook);
}

QList<ScriptedHttpServer::Request> ScriptedHttpServer::requests() const
{
    return m_state->requests;
}

QStringList ScriptedHttpServer::paths() const
{
    QStringList paths;
    for (const Request& request : std::as_const(m_state->requests))
        paths.append(request.path);
    return paths;
}

qsizetype ScriptedHttpServer::count(const QString& path) const
{
    return paths().count(path);
}

void ScriptedHttpServer::clearLog()
{
    m_state->requests.clear();
    m_state->most = m_state->active;
}

int ScriptedHttpServer::activeTransfers() const
{
    return m_state->active;
}

int ScriptedHttpServer::mostTransfers() const
{
    return m_state->most;
}

void ScriptedHttpServer::close()
{
    m_server->close();
    const auto sockets = std::exchange(m_state->sockets, {});
    for (const auto& socket : sockets) {
        if (socket)
            delete socket.data();
    }
}
