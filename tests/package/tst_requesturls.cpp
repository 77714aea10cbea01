#include "package/Fetch.h"
#include "support/IsolatedHome.h"
#include "support/ScriptedHttpServer.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// Where requests go, given the address of the content server.
class RequestUrlsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mapsAddresses_data();
    void mapsAddresses();
    void leavesAbsoluteAddressesAloneWithoutABase();
    void fetchesDocumentsOfOtherHostsFromTheBase();
    void fetchesPicturesWhereTheyLie();
    void resolvesRelativeRequestsAgainstTheBase();
    void stripsSlashesFromTheBase_data();
    void stripsSlashesFromTheBase();
};

void RequestUrlsTest::mapsAddresses_data()
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

void RequestUrlsTest::mapsAddresses()
{
    QFETCH(QString, text);
    PackageClient client(nullptr);
    client.setBaseUrl(u"http://cdn.test:80/"_s);
    const QUrl base(u"http://base.test/folder/list.json"_s);
    const QUrl resolved = client.resolveUrl(base, text);
    QTEST(QString::fromLatin1(resolved.toEncoded()), "address");
}

void RequestUrlsTest::leavesAbsoluteAddressesAloneWithoutABase()
{
    const PackageClient client(nullptr);
    for (const QString& text :
         {u"https://o.example/launcher/x?v=1"_s, u"https://o.example/hints.json"_s})
        QCOMPARE(client.resolveUrl(QUrl(u"http://base.test/"_s), text), QUrl(text));
}

void RequestUrlsTest::fetchesDocumentsOfOtherHostsFromTheBase()
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

void RequestUrlsTest::fetchesPicturesWhereTheyLie()
{
    ScriptedHttpServer content;
    ScriptedHttpServer pictures;
    pictures.route(u"/images/a.png?b"_s, page);
    QCOMPARE(Fetch(pictures.url(u"/images/a.png?b"_s), content.baseUrl()).body, page);
    QVERIFY(content.paths().isEmpty());
}

void RequestUrlsTest::resolvesRelativeRequestsAgainstTheBase()
{
    ScriptedHttpServer server;
    server.route(u"/launcher/a"_s, page);
    QCOMPARE(Fetch(QUrl(u"launcher/a"_s), server.baseUrl()).body, page);
    QCOMPARE(Fetch(QUrl(u"/launcher/a"_s), server.baseUrl() + u"/"_s).body, page);
}

void RequestUrlsTest::stripsSlashesFromTheBase_data()
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

void RequestUrlsTest::stripsSlashesFromTheBase()
{
    QFETCH(QString, given);
    PackageClient client(nullptr);
    QVERIFY(client.baseUrl().isEmpty());
    client.setBaseUrl(given);
    QTEST(client.baseUrl(), "kept");
}

VORNAK_TEST_MAIN(RequestUrlsTest)
#include "tst_requesturls.moc"
