#include "package/Fetch.h"
#include "support/IsolatedHome.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestTls.h"

#include <QTest>

using namespace Qt::StringLiterals;

class RedirectsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void followsRedirects_data();
    void followsRedirects();
    void followsARedirectToAnotherServer();
    void redirectLoopFails();
    void redirectToNothingFails();
    void redirectToALessSafeSchemeFails();
    void redirectFromTlsToTlsIsFollowed();
    void unknownCertificateFails();
};

void RedirectsTest::followsRedirects_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {301, 302, 303, 307, 308})
        QTest::addRow("%d", status) << status;
}

void RedirectsTest::followsRedirects()
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

void RedirectsTest::followsARedirectToAnotherServer()
{
    ScriptedHttpServer first;
    ScriptedHttpServer second;
    first.route(u"/a"_s, HttpAnswer::redirect(second.baseUrl() + u"/b"_s));
    second.route(u"/b"_s, page);
    QCOMPARE(Fetch(first.url(u"/a"_s)).body, page);
}

void RedirectsTest::redirectLoopFails()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::redirect(u"/b"_s));
    server.route(u"/b"_s, HttpAnswer::redirect(u"/a"_s));
    const Fetch fetch(server.url(u"/a"_s));
    QVERIFY(fetch.failedFor(server.url(u"/a"_s).toString()));
    QCOMPARE(fetch.error, u"Download failed: Too many redirects"_s);
}

void RedirectsTest::redirectToNothingFails()
{
    ScriptedHttpServer server;
    server.route(u"/a"_s, HttpAnswer::redirect(u"/missing"_s));
    QVERIFY(Fetch(server.url(u"/a"_s)).failedFor(server.url(u"/a"_s).toString()));
}

void RedirectsTest::redirectToALessSafeSchemeFails()
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

void RedirectsTest::redirectFromTlsToTlsIsFollowed()
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

void RedirectsTest::unknownCertificateFails()
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

VORNAK_TEST_MAIN(RedirectsTest)
#include "tst_redirects.moc"
