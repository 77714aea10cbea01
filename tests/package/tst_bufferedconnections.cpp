#include "package/BufferedConnections.h"
#include "package/PackageClient.h"
#include "support/IsolatedHome.h"
#include "support/ScriptedHttpServer.h"

#include <QFile>
#include <QHostInfo>
#include <QNetworkProxy>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Proxies = QList<QNetworkProxy>;

const QNetworkProxy direct(QNetworkProxy::NoProxy);
const QNetworkProxy http(QNetworkProxy::HttpProxy, u"proxy.example"_s, 3128);
const QNetworkProxy caching(QNetworkProxy::HttpCachingProxy, u"proxy.example"_s, 3128);
const QNetworkProxy socks(QNetworkProxy::Socks5Proxy, u"proxy.example"_s, 1080);

/// The application's settings: what it answers for addresses and for sockets.
class Settings : public QNetworkProxyFactory
{
public:
    Settings(Proxies forAddresses, Proxies forSockets)
        : m_forAddresses(std::move(forAddresses))
        , m_forSockets(std::move(forSockets))
    {}

    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override
    {
        return query.queryType() == QNetworkProxyQuery::UrlRequest ? m_forAddresses : m_forSockets;
    }

private:
    Proxies m_forAddresses;
    Proxies m_forSockets;
};

void set(const Proxies& forAddresses, const Proxies& forSockets)
{
    QNetworkProxyFactory::setApplicationProxyFactory(new Settings(forAddresses, forSockets));
}

Proxies proxiesFor(const QString& address)
{
    return BufferedConnections().queryProxy(QNetworkProxyQuery(QUrl(address)));
}

bool leavesItToTheSocket(const Proxies& proxies)
{
    return proxies.size() == 1 && proxies[0].type() == QNetworkProxy::DefaultProxy &&
           proxies[0].capabilities() == QNetworkProxy::TunnelingCapability;
}

// How often this process has called the system to read; -1 where that is not told.
qint64 readCalls()
{
#ifdef Q_OS_LINUX
    QFile file(u"/proc/self/io"_s);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("syscr: "))
            return line.sliced(7).toLongLong();
    }
#endif
    return -1;
}

} // namespace

class BufferedConnectionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        qunsetenv("http_proxy");
        qunsetenv("no_proxy");
        QNetworkProxyFactory::setUseSystemConfiguration(true);
    }

    void leavesDirectPlainConnectionsToTheSocket_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("name") << u"http://content.quelra.example/a"_s;
        QTest::newRow("port") << u"http://content.quelra.example:8080/a"_s;
        QTest::newRow("this machine by name") << u"http://localhost/a"_s;
        QTest::newRow("this machine by number") << u"http://127.0.0.1:1/a"_s;
        QTest::newRow("this machine, IPv6") << u"http://[::1]:1/a"_s;
    }
    void leavesDirectPlainConnectionsToTheSocket()
    {
        QFETCH(QString, address);
        set({direct}, {direct});
        QVERIFY(leavesItToTheSocket(proxiesFor(address)));
    }

    void leavesEncryptedConnectionsAlone()
    {
        set({direct}, {direct});
        QCOMPARE(proxiesFor(u"https://content.quelra.example/a"_s), Proxies{direct});
    }

    void followsTheApplicationsProxies_data()
    {
        QTest::addColumn<Proxies>("proxies");
        QTest::newRow("HTTP") << Proxies{http};
        QTest::newRow("HTTP that caches") << Proxies{caching};
        QTest::newRow("SOCKS") << Proxies{socks};
        QTest::newRow("HTTP, then direct") << Proxies{http, direct};
        QTest::newRow("SOCKS, then HTTP") << Proxies{socks, http};
    }
    void followsTheApplicationsProxies()
    {
        QFETCH(Proxies, proxies);
        set(proxies, {direct});
        QCOMPARE(proxiesFor(u"http://content.quelra.example/a"_s), proxies);
        QCOMPARE(proxiesFor(u"https://content.quelra.example/a"_s), proxies);
    }

    // A socket asks for itself, and settings may tell an address from a connection.
    void staysDirectWhereTheSocketWouldTakeAProxy_data()
    {
        QTest::addColumn<Proxies>("forSockets");
        QTest::addColumn<bool>("isLeftToIt");
        QTest::newRow("SOCKS") << Proxies{socks} << false;
        QTest::newRow("SOCKS, then direct") << Proxies{socks, direct} << false;
        QTest::newRow("HTTP") << Proxies{http} << false;
        QTest::newRow("none that carries a connection") << Proxies{caching} << false;
        QTest::newRow("first that carries one is direct") << Proxies{caching, direct} << true;
    }
    void staysDirectWhereTheSocketWouldTakeAProxy()
    {
        QFETCH(Proxies, forSockets);
        QFETCH(bool, isLeftToIt);
        set({direct}, forSockets);
        const Proxies proxies = proxiesFor(u"http://content.quelra.example/a"_s);
        QCOMPARE(leavesItToTheSocket(proxies), isLeftToIt);
        if (!isLeftToIt)
            QCOMPARE(proxies, Proxies{direct});
    }

    void fetchesFromAHostByItsName()
    {
        if (QHostInfo::fromName(u"localhost"_s).addresses().isEmpty())
            QSKIP("this machine does not know localhost; put \"127.0.0.1 localhost\" into "
                  "/etc/hosts");
        ScriptedHttpServer server;
        server.route(u"/a"_s, "body");
        QUrl url = server.url(u"/a"_s);
        url.setHost(u"localhost"_s);
        PackageClient client(nullptr);
        QString error;
        QCOMPARE(client.fetchBytes(url, &error), QByteArray("body"));
        QCOMPARE(error, QString());
    }

    void fetchesThroughTheSystemsProxy()
    {
#ifdef Q_OS_WIN
        QSKIP("the system's settings are the registry's here: see tests/windows/test_player.py");
#endif
        ScriptedHttpServer proxy;
        proxy.route(u"http://content.quelra.example/a"_s, "through the proxy");
        qputenv("http_proxy", proxy.baseUrl().toUtf8());
        PackageClient client(nullptr);
        const QUrl url(u"http://content.quelra.example/a"_s);
        QCOMPARE(client.fetchBytes(url, nullptr), QByteArray("through the proxy"));

        ScriptedHttpServer server;
        server.route(u"/a"_s, "directly");
        QCOMPARE(client.fetchBytes(server.url(u"/a"_s), nullptr), QByteArray("directly"));

        qputenv("no_proxy", "content.quelra.example");
        QString error;
        QCOMPARE(client.fetchBytes(url, &error), QByteArray());
        QCOMPARE(proxy.requests().size(), 1);
        QVERIFY2(error.contains("content.quelra.example"_L1), qPrintable(error));
    }

    void readsTheHeadOfAnAnswerInOnePiece()
    {
        if (readCalls() < 0)
            QSKIP("only Linux counts the calls of a process, in /proc/self/io");
        constexpr int bytes = 4000;
        ScriptedHttpServer server;
        HttpAnswer answer = HttpAnswer::ok("body");
        answer.headers.append({"X-Filling", QByteArray(bytes, 'x')});
        server.route(u"/a"_s, answer);
        PackageClient client(nullptr);
        const qint64 before = readCalls();
        QCOMPARE(client.fetchBytes(server.url(u"/a"_s), nullptr), QByteArray("body"));
        const qint64 calls = readCalls() - before;
        QVERIFY2(calls < bytes / 10, qPrintable(QString::number(calls)));
    }
};

VORNAK_TEST_MAIN(BufferedConnectionsTest)
#include "tst_bufferedconnections.moc"
