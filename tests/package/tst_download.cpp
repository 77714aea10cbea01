#include "package/PackageClient.h"
#include "support/ContentTree.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"
#include "support/TestTls.h"

#include <QElapsedTimer>
#include <QMetaMethod>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

const QByteArray page = "the whole body of a page, long enough to be cut somewhere";

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
        const QString reason = error.mid("Download failed: "_L1.size());
        return body.isEmpty() && error.startsWith("Download failed: "_L1) && !reason.isEmpty() &&
               logged == QStringList{u"Download failed: "_s + address + u' ' + reason};
    }

    QByteArray body;
    QString error = u"earlier"_s;
    QStringList logged;
};

} // namespace

class DownloadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fetchesABodyAndLeavesTheErrorAlone();
    void anEmptyBodyIsNoFailure();
    void sendsPlainRequestsOnly();
    void httpErrorNeverYieldsTheErrorPage_data();
    void httpErrorNeverYieldsTheErrorPage();
    void takesNoErrorPointer();
    void refusedConnectionFails();
    void relativeAddressWithoutABaseFailsAsItIs();
    void truncatedBodyFails_data();
    void truncatedBodyFails();
    void resetInMidBodyFails();
    void slowBodyArrivesWhole();
    void largeBodyArrivesWhole();
    void bodyWithoutALengthArrivesWhole();
    void waitsForAStalledServerWithTheLoopTurning();
    void followsRedirects_data();
    void followsRedirects();
    void followsARedirectToAnotherServer();
    void redirectLoopFails();
    void redirectToNothingFails();
    void redirectToALessSafeSchemeFails();
    void redirectFromTlsToTlsIsFollowed();
    void unknownCertificateFails();
    void fetchesWithinAFetch();
    void mapsAddresses_data();
    void mapsAddresses();
    void leavesAbsoluteAddressesAloneWithoutABase();
    void fetchesDocumentsOfOtherHostsFromTheBase();
    void fetchesPicturesWhereTheyLie();
    void resolvesRelativeRequestsAgainstTheBase();
    void stripsSlashesFromTheBase_data();
    void stripsSlashesFromTheBase();
    void failedDocumentsReadAsDefaults();
    void hasOneSignalAndNothingElse();
};

void DownloadTest::fetchesABodyAndLeavesTheErrorAlone()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, page);
    const Fetch fetch(server.url(u"/a"_s));
    QCOMPARE(fetch.body, page);
    QCOMPARE(fetch.error, u"earlier"_s);
    QVERIFY(fetch.logged.isEmpty());
}

void DownloadTest::anEmptyBodyIsNoFailure()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, QByteArray());
    const Fetch fetch(server.url(u"/a"_s));
    QVERIFY(fetch.body.isEmpty());
    QCOMPARE(fetch.error, u"earlier"_s);
    QVERIFY(fetch.logged.isEmpty());
}

void DownloadTest::sendsPlainRequestsOnly()
{
    ScriptedHttpServer server;
    server.route(u"/a?b=c"_s, page);
    QCOMPARE(Fetch(server.url(u"/a?b=c"_s)).body, page);
    QCOMPARE(server.requests().size(), 1);
    const ScriptedHttpServer::Request request = server.requests().at(0);
    QCOMPARE(request.method, QByteArray("GET"));
    // What Qt itself sends with every request.
    QList<QByteArray> names = request.headers.keys();
    std::sort(names.begin(), names.end());
    QCOMPARE(names, (QList<QByteArray>{"accept-encoding", "accept-language", "connection", "host",
                                       "user-agent"}));
}

void DownloadTest::httpErrorNeverYieldsTheErrorPage_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {400, 401, 403, 404, 410, 418, 429, 500, 502, 503})
        QTest::addRow("%d", status) << status;
}

void DownloadTest::httpErrorNeverYieldsTheErrorPage()
{
    QFETCH(int, status);
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::error(status, page));
    const QUrl url = server.url(u"/a"_s);
    QVERIFY(Fetch(url).failedFor(url.toString()));
    QCOMPARE(server.paths(), QStringList{u"/a"_s});
}

void DownloadTest::takesNoErrorPointer()
{
    ScriptedHttpServer server;
    PackageClient client(nullptr);
    const MessageCapture log;
    QVERIFY(client.fetchBytes(server.url(u"/missing"_s), nullptr).isEmpty());
    QCOMPARE(log.warnings().size(), 1);
}

void DownloadTest::refusedConnectionFails()
{
    ScriptedHttpServer server;
    const QUrl url = server.url(u"/a"_s);
    server.close();
    const Fetch fetch(url);
    QVERIFY(fetch.failedFor(url.toString()));
    QCOMPARE(fetch.error, u"Download failed: Connection refused"_s);
    QCOMPARE(fetch.logged,
             QStringList{u"Download failed: "_s + url.toString() + u" Connection refused"_s});
}

void DownloadTest::relativeAddressWithoutABaseFailsAsItIs()
{
    const Fetch fetch(QUrl(u"launcher/a.json"_s));
    QVERIFY2(fetch.failedFor(u"launcher/a.json"_s), qUtf8Printable(fetch.error));
    QCOMPARE(fetch.error, u"Download failed: Protocol \"\" is unknown"_s);
}

void DownloadTest::truncatedBodyFails_data()
{
    QTest::addColumn<qsizetype>("sent");
    QTest::newRow("nothing") << qsizetype(0);
    QTest::newRow("a byte") << qsizetype(1);
    QTest::newRow("all but one") << page.size() - 1;
}

void DownloadTest::truncatedBodyFails()
{
    QFETCH(qsizetype, sent);
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::truncated(page, sent));
    const Fetch fetch(server.url(u"/a"_s));
    QVERIFY(fetch.failedFor(server.url(u"/a"_s).toString()));
}

void DownloadTest::resetInMidBodyFails()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::resetAfter(page, 10));
    // Qt tells some resets from a success by the length alone, which ones depends on the moment.
    for (int i = 0; i < 30; ++i)
        QVERIFY(Fetch(server.url(u"/a"_s)).failedFor(server.url(u"/a"_s).toString()));
}

void DownloadTest::slowBodyArrivesWhole()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::drip(page, 3, 2));
    QCOMPARE(Fetch(server.url(u"/a"_s)).body, page);
}

void DownloadTest::largeBodyArrivesWhole()
{
    const QByteArray large = testfiles::randomBytes(6'000'000, 21);
    ScriptedHttpServer server;
    server.route(u"/a"_s, large);
    QVERIFY(Fetch(server.url(u"/a"_s)).body == large);
}

void DownloadTest::bodyWithoutALengthArrivesWhole()
{
    ScriptedHttpServer server;
    HttpAnswer answer = HttpAnswer::drip(page, 10, 1);
    answer.announcedLength = -2;
    server.route(u"/a"_s, answer);
    QCOMPARE(Fetch(server.url(u"/a"_s)).body, page);
}

void DownloadTest::waitsForAStalledServerWithTheLoopTurning()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::stallAfter(page, 10));
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        if (++ticks == 20)
            server.close();
    });
    timer.start(5);
    const Fetch fetch(server.url(u"/a"_s));
    QVERIFY(fetch.failedFor(server.url(u"/a"_s).toString()));
    QVERIFY(ticks >= 20);
}

void DownloadTest::followsRedirects_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {301, 302, 303, 307, 308})
        QTest::addRow("%d", status) << status;
}

void DownloadTest::followsRedirects()
{
    QFETCH(int, status);
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::redirect(u"/b"_s, status));
    server.route(u"/b"_s, HttpAnswer::redirect(server.baseUrl() + u"/c"_s, status));
    server.route(u"/c"_s, page);
    const Fetch fetch(server.url(u"/a"_s));
    QCOMPARE(fetch.body, page);
    // Qt asks twice now and then when it leaves a connection for the redirect's target.
    QStringList paths = server.paths();
    paths.removeDuplicates();
    QCOMPARE(paths, (QStringList{u"/a"_s, u"/b"_s, u"/c"_s}));
    QVERIFY(fetch.logged.isEmpty());
}

void DownloadTest::followsARedirectToAnotherServer()
{
    ScriptedHttpServer first;
    ScriptedHttpServer second;
    first.route(u"/a"_s, HttpAnswer::redirect(second.baseUrl() + u"/b"_s));
    second.route(u"/b"_s, page);
    QCOMPARE(Fetch(first.url(u"/a"_s)).body, page);
}

void DownloadTest::redirectLoopFails()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::redirect(u"/b"_s));
    server.route(u"/b"_s, HttpAnswer::redirect(u"/a"_s));
    const Fetch fetch(server.url(u"/a"_s));
    QVERIFY(fetch.failedFor(server.url(u"/a"_s).toString()));
    QCOMPARE(fetch.error, u"Download failed: Too many redirects"_s);
}

void DownloadTest::redirectToNothingFails()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::redirect(u"/missing"_s));
    QVERIFY(Fetch(server.url(u"/a"_s)).failedFor(server.url(u"/a"_s).toString()));
}

void DownloadTest::redirectToALessSafeSchemeFails()
{
    QString problem;
    const auto tls = makeTestTls(problem);
    if (!tls)
        QSKIP(qUtf8Printable(problem));
    ScriptedHttpServer safe(*tls);
    ScriptedHttpServer unsafe;
    safe.route(u"/a"_s, HttpAnswer::redirect(unsafe.baseUrl() + u"/a"_s));
    unsafe.route(u"/a"_s, page);
    const Fetch fetch(safe.url(u"/a"_s));
    QVERIFY2(fetch.failedFor(safe.url(u"/a"_s).toString()), qUtf8Printable(fetch.error));
    QCOMPARE(safe.paths(), QStringList{u"/a"_s});
    QVERIFY(unsafe.paths().isEmpty());
}

void DownloadTest::redirectFromTlsToTlsIsFollowed()
{
    QString problem;
    const auto tls = makeTestTls(problem);
    if (!tls)
        QSKIP(qUtf8Printable(problem));
    ScriptedHttpServer safe(*tls);
    ScriptedHttpServer plain;
    plain.route(u"/up"_s, HttpAnswer::redirect(safe.baseUrl() + u"/a"_s));
    safe.route(u"/a"_s, HttpAnswer::redirect(u"/b"_s));
    safe.route(u"/b"_s, page);
    QCOMPARE(Fetch(safe.url(u"/a"_s)).body, page);
    QCOMPARE(Fetch(plain.url(u"/up"_s)).body, page);
}

void DownloadTest::unknownCertificateFails()
{
    QString problem;
    const auto tls = makeTestTls(problem);
    if (!tls)
        QSKIP(qUtf8Printable(problem));
    const QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    QSslConfiguration strict = trusting;
    strict.setCaCertificates({});
    QSslConfiguration::setDefaultConfiguration(strict);
    ScriptedHttpServer safe(*tls);
    safe.route(u"/a"_s, page);
    const Fetch fetch(safe.url(u"/a"_s));
    QSslConfiguration::setDefaultConfiguration(trusting);
    QVERIFY(fetch.body.isEmpty());
    QVERIFY(fetch.error.startsWith("Download failed: "_L1));
    QVERIFY(safe.paths().isEmpty());
}

void DownloadTest::fetchesWithinAFetch()
{
    ScriptedHttpServer server;
    PackageClient client(nullptr);
    QByteArray inner;
    QTimer::singleShot(0, &client,
                       [&] { inner = client.fetchBytes(server.url(u"/b"_s), nullptr); });
    server.route(u"/a"_s, HttpAnswer::drip("outer", 1, 5));
    server.route(u"/b"_s, HttpAnswer::drip("inner", 1, 10));
    QCOMPARE(client.fetchBytes(server.url(u"/a"_s), nullptr), QByteArray("outer"));
    QCOMPARE(inner, QByteArray("inner"));
}

void DownloadTest::mapsAddresses_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("address");
    const auto row = [](const char* text, const char* address) {
        QTest::newRow(text) << QString::fromUtf8(text) << QString::fromUtf8(address);
    };
    row("https://o.example/launcher/x/package.json", "http://cdn.test:80/launcher/x/package.json");
    row("https://o.example/launcher/x?v=1#part", "http://cdn.test:80/launcher/x");
    row("https://u:p@o.example:444/deep/launcher/x", "http://cdn.test:80/launcher/x");
    row("http://o.example/launcher/a/launcher/b", "http://cdn.test:80/launcher/a/launcher/b");
    row("http://o.example/%6Cauncher/a", "http://cdn.test:80/launcher/a");
    row("http://o.example/launcher/a%20b", "http://cdn.test:80/launcher/a%20b");
    row("http://o.example/launcher/größe", "http://cdn.test:80/launcher/gr%C3%B6%C3%9Fe");
    row("http://o.example/launcher/hints.json", "http://cdn.test:80/launcher/hints.json");
    row("http://o.example/hints.json", "http://cdn.test:80/hints.json");
    row("https://o.example/static/hints.json?x", "http://cdn.test:80/hints.json");
    row("https://o.example/otherhints.json?x", "https://o.example/otherhints.json?x");
    row("https://o.example/hints.json/more", "https://o.example/hints.json/more");
    row("https://o.example/launcher", "https://o.example/launcher");
    row("https://o.example/Launcher/x", "https://o.example/Launcher/x");
    row("https://o.example/images/a.png?b#c", "https://o.example/images/a.png?b#c");
    row("https://o.example/a?path=/launcher/x", "https://o.example/a?path=/launcher/x");
    row("files/1.lzma", "http://base.test/folder/files/1.lzma");
    row("/files/1.lzma", "http://base.test/files/1.lzma");
    row("../up", "http://base.test/up");
    row("//o.example/launcher/x", "http://o.example/launcher/x");
    row("", "http://base.test/folder/list.json");
}

void DownloadTest::mapsAddresses()
{
    QFETCH(QString, text);
    PackageClient client(nullptr);
    client.setBaseUrl(u"http://cdn.test:80/"_s);
    const QUrl base(u"http://base.test/folder/list.json"_s);
    const QUrl resolved = client.resolveUrl(base, text);
    QTEST(QString::fromLatin1(resolved.toEncoded()), "address");
}

void DownloadTest::leavesAbsoluteAddressesAloneWithoutABase()
{
    const PackageClient client(nullptr);
    for (const QString& text :
         {u"https://o.example/launcher/x?v=1"_s, u"https://o.example/hints.json"_s})
        QCOMPARE(client.resolveUrl(QUrl(u"http://base.test/"_s), text), QUrl(text));
}

void DownloadTest::fetchesDocumentsOfOtherHostsFromTheBase()
{
    ScriptedHttpServer server;
    server.route(u"/launcher/x/package.json"_s, R"({"version":"7"})");
    server.route(u"/hints.json"_s, R"(["h"])");
    PackageClient client(nullptr);
    client.setBaseUrl(server.baseUrl());
    const QUrl named(u"https://elsewhere.invalid/launcher/x/package.json?signature=1"_s);
    QCOMPARE(client.fetchPackageDoc(named, nullptr).version, u"7"_s);
    const QUrl hints(u"https://elsewhere.invalid/static/hints.json"_s);
    QCOMPARE(client.fetchHintTexts(hints, nullptr), u"h"_s);
    QCOMPARE(server.paths(), (QStringList{u"/launcher/x/package.json"_s, u"/hints.json"_s}));
}

void DownloadTest::fetchesPicturesWhereTheyLie()
{
    ScriptedHttpServer content;
    ScriptedHttpServer pictures;
    pictures.route(u"/images/a.png?b"_s, page);
    QCOMPARE(Fetch(pictures.url(u"/images/a.png?b"_s), content.baseUrl()).body, page);
    QVERIFY(content.paths().isEmpty());
}

void DownloadTest::resolvesRelativeRequestsAgainstTheBase()
{
    ScriptedHttpServer server;
    server.route(u"/launcher/a"_s, page);
    QCOMPARE(Fetch(QUrl(u"launcher/a"_s), server.baseUrl()).body, page);
    QCOMPARE(Fetch(QUrl(u"/launcher/a"_s), server.baseUrl() + u"/"_s).body, page);
}

void DownloadTest::stripsSlashesFromTheBase_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("kept");
    QTest::newRow("none") << u"http://a.test"_s << u"http://a.test"_s;
    QTest::newRow("one") << u"http://a.test/"_s << u"http://a.test"_s;
    QTest::newRow("several") << u"http://a.test///"_s << u"http://a.test"_s;
    QTest::newRow("path") << u"http://a.test/b/"_s << u"http://a.test/b"_s;
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("slashes alone") << u"//"_s << QString();
}

void DownloadTest::stripsSlashesFromTheBase()
{
    QFETCH(QString, given);
    PackageClient client(nullptr);
    QVERIFY(client.baseUrl().isEmpty());
    client.setBaseUrl(given);
    QTEST(client.baseUrl(), "kept");
}

void DownloadTest::failedDocumentsReadAsDefaults()
{
    ScriptedHttpServer server;
    PackageClient client(nullptr);
    const MessageCapture log;
    QString error;
    QCOMPARE(client.fetchPackageDoc(server.url(u"/a"_s), &error), OrlPackageDoc());
    QVERIFY(error.startsWith("Download failed: "_L1));
    error.clear();
    QVERIFY(client.fetchAssetList(server.url(u"/a"_s), &error).isEmpty());
    QVERIFY(error.startsWith("Download failed: "_L1));
    server.route(u"/a"_s, "<html>");
    client.fetchPackageDoc(server.url(u"/a"_s), &error);
    QCOMPARE(error,
             u"JSON package configuration file could not be parsed, using default package."_s);
    client.fetchAssetList(server.url(u"/a"_s), &error);
    QCOMPARE(error, u"JSON asset configuration file could not be parsed, using default package."_s);
}

void DownloadTest::hasOneSignalAndNothingElse()
{
    const QMetaObject& meta = PackageClient::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("PackageClient"));
    QCOMPARE(QByteArray(meta.superClass()->className()), QByteArray("QObject"));
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.enumeratorCount(), meta.enumeratorOffset());
    QCOMPARE(meta.classInfoCount(), meta.classInfoOffset());
    const QMetaMethod method = meta.method(meta.methodOffset());
    QCOMPARE(method.methodType(), QMetaMethod::Signal);
    QCOMPARE(method.methodSignature(), QByteArray("progress(qlonglong,qlonglong,int,int)"));
    QCOMPARE(method.parameterNames(),
             (QList<QByteArray>{"bytes", "totalBytes", "fileIndex", "fileCount"}));
}

VORNAK_TEST_MAIN(DownloadTest)
#include "tst_download.moc"
