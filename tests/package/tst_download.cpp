#include "package/Fetch.h"
#include "support/ContentTree.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/PackLzma.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <limits>

using namespace Qt::StringLiterals;

class DownloadTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
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
    void bodyWithoutEndIsCutOff();
    void whatIsLargerThanItMayBeFails_data();
    void whatIsLargerThanItMayBeFails();
    void packedFilesMayBeAsLargeAsTheirSizesAllow();
    void fileOfAnotherMachineIsNotAskedFor();
    void localFileReportsItsProgress();
    void waitsForAStalledServerWithTheLoopTurning();
    void fetchesWithinAFetch();
    void failedDocumentsReadAsDefaults();
    void hasOneSignalAndNothingElse();
};

// Wine cannot list Windows' ciphers, and Qt says so when it first looks for them: not in the middle
// of a test that counts the lines.
void DownloadTest::initTestCase()
{
    [[maybe_unused]] const auto configuration = QSslConfiguration::defaultConfiguration();
}

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
    QVERIFY2(fetch.failedFor(u"launcher/a.json"_s), qUtf8Printable(fetch.logged.join(u'\n')));
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

void DownloadTest::bodyWithoutEndIsCutOff()
{
    ScriptedHttpServer server;
    HttpAnswer answer = HttpAnswer::stallAfter(page, 10);
    answer.announcedLength = 5'000'000'000;
    server.route(u"/a"_s, answer);
    QVERIFY(Fetch(server.url(u"/a"_s)).failedFor(server.url(u"/a"_s).toString()));
    answer.announcedLength = page.size();
    answer.end = HttpAnswer::End::Normal;
    server.route(u"/a"_s, answer);
    QCOMPARE(Fetch(server.url(u"/a"_s)).body, page);
}

void DownloadTest::fileOfAnotherMachineIsNotAskedFor()
{
    const Fetch fetch(QUrl(u"file://host.invalid/share/a"_s));
    QVERIFY2(fetch.failedFor(u"file://host.invalid/share/a"_s),
             qUtf8Printable(fetch.logged.join(u'\n')));
    // Qt's words for an address that it does not even look at.
    QCOMPARE(fetch.error, u"Download failed: Protocol \"\" is unknown"_s);
}

void DownloadTest::localFileReportsItsProgress()
{
    QTemporaryDir folder;
    const QByteArray packed = packLzma(page);
    testfiles::write(folder.filePath(u"a.lzma"_s), packed);
    PackageClient client(nullptr);
    const QSignalSpy progress(&client, &PackageClient::progress);
    OrlPackageDoc package;
    package.version = u"1"_s;
    package.files = {fileEntry(u"a"_s, u"a.lzma"_s, page, packed)};
    QVERIFY(client.installPackage(QUrl::fromLocalFile(folder.filePath(u"package.json"_s)), package,
                                  folder.filePath(u"installed"_s), nullptr));
    QVERIFY2(progress.size() > 1, "nothing came while the file was being read");
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

void DownloadTest::failedDocumentsReadAsDefaults()
{
    ScriptedHttpServer server;
    PackageClient client(nullptr);
    MessageCapture log;
    QString error;
    QCOMPARE(client.fetchPackageDoc(server.url(u"/a"_s), &error), OrlPackageDoc());
    QVERIFY(error.startsWith("Download failed: "_L1));
    error.clear();
    QVERIFY(client.fetchAssetList(server.url(u"/a"_s), &error).isEmpty());
    QVERIFY(error.startsWith("Download failed: "_L1));
    QCOMPARE(log.warnings().size(), 2);
    server.route(u"/a"_s, "<html>");
    log.clear();
    client.fetchPackageDoc(server.url(u"/a"_s), &error);
    QCOMPARE(error,
             u"JSON package configuration file could not be parsed, using default package."_s);
    client.fetchAssetList(server.url(u"/a"_s), &error);
    QCOMPARE(error, u"JSON asset configuration file could not be parsed, using default package."_s);
    server.route(u"/a"_s, "[]");
    client.fetchAssetList(server.url(u"/a"_s), nullptr);
    const QString address = server.url(u"/a"_s).toString();
    const QString noJson = u"Cannot read %1: illegal value at byte 1"_s.arg(address);
    QCOMPARE(log.warnings(),
             (QStringList{noJson, noJson, u"Cannot read %1: no JSON object"_s.arg(address)}));
}

void DownloadTest::whatIsLargerThanItMayBeFails_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("as large as it may be") << 64 * 1024 << true;
    QTest::newRow("one byte more") << 64 * 1024 + 1 << false;
    QTest::newRow("much more") << 30'000'000 << false;
}

void DownloadTest::whatIsLargerThanItMayBeFails()
{
    QFETCH(int, size);
    QFETCH(bool, isTaken);
    ScriptedHttpServer server;
    server.route(u"/v"_s, QByteArray(size, 'v'));
    PackageClient client;
    client.setBaseUrl(server.baseUrl());
    const MessageCapture log;
    QString error;
    QCOMPARE(client.fetchText(server.url(u"/v"_s), &error).size(), isTaken ? size : 0);
    QCOMPARE(error, isTaken ? QString() : u"Download failed: Operation canceled"_s);
    QCOMPARE(log.warnings().size(), isTaken ? 0 : 1);
    // The same body is none too large for what else it may be.
    error.clear();
    QCOMPARE(client.fetchBytes(server.url(u"/v"_s), &error).size(), size);
    QCOMPARE(error, QString());
}

void DownloadTest::packedFilesMayBeAsLargeAsTheirSizesAllow()
{
    OrlFile file;
    QCOMPARE(largestPacked(file), 64 * 1024);
    file.packedsize = 1'000'000;
    QCOMPARE(largestPacked(file), 1'000'000);
    file.unpackedsize = 1'000'000;
    QCOMPARE(largestPacked(file), 16'065'536);
    file.unpackedsize = std::numeric_limits<qint64>::max();
    file.packedsize = std::numeric_limits<qint64>::min();
    QCOMPARE(largestPacked(file), 0x100000000);
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
