#include "package/PackageClient.h"
#include "package/SafePath.h"
#include "publish/Addresses.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "support/IsolatedHome.h"

#include <QSet>
#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

const QStringList awkwardTexts{u"1.0"_s,
                               u"1.0 beta"_s,
                               u"1.0_beta"_s,
                               u"größe"_s,
                               u"grosse"_s,
                               u"a/b"_s,
                               u"a%2Fb"_s,
                               u".."_s,
                               u"."_s,
                               u""_s,
                               u"#1"_s,
                               u"?x=1"_s,
                               u"/launcher/"_s,
                               u"a;b"_s,
                               u"a\\b"_s,
                               u"~"_s,
                               u"1.0~beta"_s,
                               u"A"_s,
                               QString(64, u'x'),
                               QString(65, u'x'),
                               QString(66, u'x'),
                               u"\U0001f600"_s,
                               u"-"_s,
                               u".a"_s,
                               u"1."_s,
                               u"aux"_s,
                               u"aux.1"_s};

} // namespace

class AddressesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void plainTextsAreTheirOwnSegments();
    void noTwoTextsShareASegment();
    void addressesSurviveTheLaunchersRule();
    void relativeAddressesLeadBack_data();
    void relativeAddressesLeadBack();
    void judgesPublicAddresses_data();
    void judgesPublicAddresses();
    void findsTheServersPart();
};

void AddressesTest::plainTextsAreTheirOwnSegments()
{
    for (const QString& text : {u"1.0"_s, u"Quelra"_s, u"2026-11-20_b"_s, QString(64, u'x')})
        QCOMPARE(addresses::segment(text), text);
}

void AddressesTest::noTwoTextsShareASegment()
{
    QSet<QString> segments;
    for (const QString& text : awkwardTexts) {
        const QString segment = addresses::segment(text);
        QVERIFY2(!segments.contains(segment), qPrintable(text));
        segments.insert(segment);
        QVERIFY(!segment.contains(u'/'));
        QVERIFY(!segment.startsWith(u'.'));
        QVERIFY2(staysBelowFolder(segment, PathRules::Windows), qPrintable(segment));
        // A segment of one text must not be another text's own.
        QVERIFY(segment == text || addresses::segment(segment) != segment);
    }
}

void AddressesTest::addressesSurviveTheLaunchersRule()
{
    PackageClient client(nullptr);
    client.setBaseUrl(u"http://127.0.0.1:8080"_s);
    for (const QString& version : awkwardTexts) {
        const Product product{false, version};
        const QString address = product.versionFolder(version) +
                                Platform{u"windows"_s, version}.folderName() +
                                addresses::packageDocument;
        QCOMPARE(client.resolveUrl({}, u"https://cdn.example/game"_s + address).toString(),
                 u"http://127.0.0.1:8080"_s + address);
        QCOMPARE(addresses::onServer(u"https://cdn.example/game"_s + address), address);
    }
}

void AddressesTest::relativeAddressesLeadBack_data()
{
    QTest::addColumn<QString>("from");
    const Platform platform{u"windows"_s, u"x86_64"_s};
    QTest::newRow("package") << Product{false, u"Quelra"_s}.versionFolder(u"1.0"_s) +
                                    platform.folderName();
    QTest::newRow("launcher") << Product{true, {}}.versionFolder(u"1.0"_s) + platform.folderName();
}

void AddressesTest::relativeAddressesLeadBack()
{
    QFETCH(QString, from);
    const QString file = addresses::packedFile(QString(64, u'a'));
    const QString relative = addresses::relativeTo(file, from);
    QVERIFY(relative.startsWith(u"../"_s));
    QCOMPARE(QUrl(from + u"package.json"_s).adjusted(QUrl::RemoveFilename).resolved(QUrl(relative)),
             QUrl(file));
    const QUrl absolute(u"https://cdn.example/game"_s + from);
    QCOMPARE(absolute.resolved(QUrl(relative)).toString(), u"https://cdn.example/game"_s + file);
}

void AddressesTest::judgesPublicAddresses_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("fine");
    for (const char* url : {"https://cdn.example", "http://cdn.example:8080", "https://c.example/a",
                            "http://127.0.0.1:1", "https://cdn.example/launcherx"})
        QTest::newRow(url) << QString::fromLatin1(url) << true;
    for (const char* url : {"", "cdn.example", "/launcher", "ftp://cdn.example", "https://",
                            "https://c.example/?x", "https://c.example/#x", "https://c.example/%41",
                            "https://c.example/a b", "https://c.example/launcher",
                            "https://c.example/launcher/v1", "https://c.example/\xc3\xa4"})
        QTest::newRow(qPrintable(u"not "_s + QString::fromUtf8(url)))
            << QString::fromUtf8(url) << false;
}

void AddressesTest::judgesPublicAddresses()
{
    QFETCH(QString, url);
    QTEST(addresses::publicUrlFault(url).isEmpty(), "fine");
}

void AddressesTest::findsTheServersPart()
{
    QCOMPARE(addresses::onServer(u"/launcher/a"_s), u"/launcher/a"_s);
    QCOMPARE(addresses::onServer(u"https://h.example/x/launcher/a"_s), u"/launcher/a"_s);
    QCOMPARE(addresses::onServer(u"https://h.example/images/a.png"_s), QString());
    QCOMPARE(addresses::onServer(QString()), QString());
}

VORNAK_TEST_MAIN(AddressesTest)
#include "tst_addresses.moc"
