#include "publish/Addresses.h"
#include "publish/ContentSource.h"
#include "publish/VerifyFixture.h"
#include "publish/VerifyOptions.h"
#include "publish/WebSource.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

// moc loses its place in raw literals that hold quotes.
// NOLINTBEGIN(modernize-raw-string-literal)

class VerifyServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void readsAServerAsALauncherDoes();
    void tellsAServersFaults();
    void tellsWhatCachesAreToldWrongly_data();
    void tellsWhatCachesAreToldWrongly();
    void quickAsksAServerForHeadersOnly();

private:
    std::unique_ptr<VerifyFixture> m_fixture;
};

void VerifyServerTest::init()
{
    m_fixture = std::make_unique<VerifyFixture>();
    QCOMPARE(m_fixture->fill(), QStringList());
}

void VerifyServerTest::readsAServerAsALauncherDoes()
{
    ScriptedHttpServer server;
    m_fixture->serve(server);
    const auto source = std::make_unique<WebSource>(server.baseUrl() + u'/');
    QCOMPARE(m_fixture->verify(*source, {}), QStringList());
    QCOMPARE(m_fixture->verified.files, 5);

    // Absolute addresses of another host are asked of this one.
    m_fixture->replaceIn(addresses::metadata, "\"/launcher/",
                         "\"https://cdn.example/game/launcher/");
    m_fixture->serve(server);
    QCOMPARE(m_fixture->verify(*source, {}), QStringList());
    QCOMPARE(m_fixture->verify(), QStringList());
}

void VerifyServerTest::tellsAServersFaults()
{
    ScriptedHttpServer server;
    m_fixture->serve(server);
    const QString packed = m_fixture->served().keys().filter(u".lzma"_s).first();
    const QByteArray body = m_fixture->served().value(packed);
    const auto source = std::make_unique<WebSource>(server.baseUrl());
    for (HttpAnswer answer :
         {HttpAnswer::error(404), HttpAnswer::error(503), HttpAnswer::truncated(body, 5),
          HttpAnswer::ok("<html>welcome</html>"), HttpAnswer::ok({})}) {
        answer.headers = VerifyFixture::servedAs(packed, body).headers;
        server.route(packed, answer);
        QCOMPARE(m_fixture->verify(*source, {}).size(), 1);
    }
}

void VerifyServerTest::tellsWhatCachesAreToldWrongly_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("isFine");
    const auto row = [](const char* end, const char* header, const char* value, bool isFine) {
        QTest::addRow("%s %s %s", end, header, value)
            << QString::fromLatin1(end) << QByteArray(header) << QByteArray(value) << isFine;
    };
    row("quelrametadata.json", "Cache-Control", "max-age=3600", false);
    row("quelrametadata.json", "Cache-Control", "", false);
    row("quelrametadata.json", "Cache-Control", "No-Cache, must-revalidate", true);
    row("quelrametadata.json", "Content-Type", "text/html", false);
    row("quelrametadata.json", "Content-Type", "application/json; charset=utf-8", true);
    row("hints.json", "Cache-Control", "public", false);
    row("a.png", "Cache-Control", "no-cache", false);
    row("a.png", "Content-Type", "application/octet-stream", false);
    row("1.0/windows-x86_64/package.json", "Cache-Control", "no-cache", false);
    row("1.0/windows-x86_64/package.json", "Content-Type", "text/plain", false);
    row("1.0/windows-x86_64/version.txt", "Content-Type", "application/json", false);
    row("1.0/windows-x86_64/assets.json", "Cache-Control", "max-age=31536000", false);
    row(".lzma", "Cache-Control", "public,max-age=31536000,immutable", true);
    row(".lzma", "Cache-Control", "public, max-age=60, immutable", false);
    row(".lzma", "Content-Type", "text/plain", false);
    row(".lzma", "Content-Encoding", "gzip", false);
}

void VerifyServerTest::tellsWhatCachesAreToldWrongly()
{
    QFETCH(QString, end);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, value);
    QFETCH(bool, isFine);
    ScriptedHttpServer server;
    m_fixture->serve(server);
    const auto source = std::make_unique<WebSource>(server.baseUrl());
    QCOMPARE(m_fixture->verify(*source, {true}), QStringList());
    const QString address = m_fixture->served().keys().filter(end).first();
    HttpAnswer answer = VerifyFixture::servedAs(address, m_fixture->served().value(address));
    answer.headers.removeIf([&header](const auto& pair) { return pair.first == header; });
    if (!value.isEmpty())
        answer.headers.append({header, value});
    server.route(address, answer);
    const QStringList faults = m_fixture->verify(*source, {true});
    QCOMPARE(faults.size(), isFine ? 0 : 1);
    if (!isFine) {
        QVERIFY2(faults.first().contains(address), qPrintable(faults.first()));
        QVERIFY2(faults.first().contains(QString::fromLatin1(header)), qPrintable(faults.first()));
    }
    // What can be unpacked on the way is none of the bodies that are read.
    if (header != "Content-Encoding")
        QCOMPARE(m_fixture->verify(*source, {}).size(), isFine ? 0 : 1);
}

void VerifyServerTest::quickAsksAServerForHeadersOnly()
{
    ScriptedHttpServer server;
    m_fixture->serve(server);
    const auto source = std::make_unique<WebSource>(server.baseUrl());
    QCOMPARE(m_fixture->verify(*source, {true}), QStringList());
    QCOMPARE(m_fixture->verified.files, 5);
    int heads = 0;
    for (const ScriptedHttpServer::Request& request : server.requests()) {
        const bool isBody = request.path.endsWith(u".lzma"_s) || request.path.endsWith(u".png"_s);
        if (isBody)
            QCOMPARE(request.method, QByteArray("HEAD"));
        heads += isBody ? 1 : 0;
    }
    QCOMPARE(heads, 6);

    const QString packed = m_fixture->served().keys().filter(u".lzma"_s).first();
    HttpAnswer cut = VerifyFixture::servedAs(packed, m_fixture->served().value(packed).chopped(1));
    HttpAnswer silent = cut;
    silent.announcedLength = -2;
    for (const HttpAnswer& answer : {cut, silent, HttpAnswer::error(404), HttpAnswer::error(503)}) {
        server.route(packed, answer);
        const QStringList faults = m_fixture->verify(*source, {true});
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().contains(packed), qPrintable(faults.first()));
    }
}

// NOLINTEND(modernize-raw-string-literal)

VORNAK_TEST_MAIN(VerifyServerTest)
#include "tst_verifyserver.moc"
