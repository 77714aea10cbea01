#include "package/LauncherMetadata.h"
#include "publish/Addresses.h"
#include "publish/HintsPublication.h"
#include "publish/PublishKit.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

// moc loses its place in raw literals that hold quotes.
// NOLINTBEGIN(modernize-raw-string-literal)

const QByteArray picture = QByteArray("\x89PNG\r\n\x1a\n") + "picture";

QByteArray hintWith(const QByteArray& html)
{
    const QJsonObject hint{{u"title"_s, u"T"_s}, {u"richText"_s, QString::fromUtf8(html)}};
    return QJsonDocument(QJsonArray{hint}).toJson();
}

} // namespace

class HintsPublicationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void judgesDocuments_data();
    void judgesDocuments();
    void acceptsTheCompiledInHints();
    void warnsOfALongTitle();
    void installsPicturesDocumentAndAddress();
    void refusesAndWritesNothing_data();
    void refusesAndWritesNothing();
    void pictureMayBeThereAlready();
    void pictureNeverChanges();
    void packageNamesHintsThatAreThere();
};

void HintsPublicationTest::judgesDocuments_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<int>("faults");
    QTest::addColumn<QStringList>("pictures");
    const auto row = [](const char* name, const QByteArray& document, int faults,
                        const QStringList& pictures = {}) {
        QTest::newRow(name) << document << faults << pictures;
    };
    row("table", hintWith("<table></table>"), 0);
    row("picture", hintWith("<img src=\"/images/news/a.png\">"), 0, {u"news/a.png"_s});
    row("picture with more", hintWith(R"(<p><IMG width="80" SRC = "/images/a.png" height=80></p>)"),
        0, {u"a.png"_s});
    row("picture twice",
        hintWith(R"(<img src="/images/a.png"><img src="/images/a.png"><img src="/images/b.png">)"),
        0, {u"a.png"_s, u"b.png"_s});
    row("picture elsewhere", hintWith("<img src=\"https://pictures.example/a.png\">"), 0);
    row("object", R"({"hints":["<table>","plain"]})", 0);
    row("stand-ins", R"([{"text":"<table>"},{"hint":"x"}])", 0);
    row("not JSON", "[", 1);
    row("empty", "", 1);
    row("number", "1", 1);
    row("object without hints", "{\"hint\":[]}", 1);
    row("no hint", "[]", 1);
    row("nothing rich", "[\"plain\"]", 1);
    row("too many tables", "[\"" + QByteArray("<table><tr><td>").repeated(9) + "\"]", 1);
    row("number among hints", "[\"<table>\",1]", 1);
    row("empty hint", R"(["<table>",{"title":"T","richText":""}])", 1);
    row("text of another type", R"(["<table>",{"richText":1}])", 1);
    row("single quotes", hintWith("<img src='/images/a.png'>"), 1);
    row("no quotes", hintWith("<img src=/images/a.png>"), 1);
    row("relative picture", hintWith("<img src=\"images/a.png\">"), 1);
    row("picture of the machine", hintWith("<img src=\"file:///etc/a.png\">"), 1);
    row("picture above", hintWith("<img src=\"/images/../a.png\">"), 1);
    row("picture with a blank", hintWith("<img src=\"/images/a b.png\">"), 1);
    row("picture with a query", hintWith("<img src=\"/images/a.png?1\">"), 1);
}

void HintsPublicationTest::judgesDocuments()
{
    QFETCH(QByteArray, document);
    QFETCH(int, faults);
    QStringList pictures;
    const QStringList found = checkHints(document, pictures, nullptr);
    QVERIFY2(found.size() == faults, qPrintable(found.join(u'\n')));
    QTEST(pictures, "pictures");
}

void HintsPublicationTest::acceptsTheCompiledInHints()
{
    QStringList pictures;
    HintsReport report;
    QCOMPARE(checkHints(testfiles::read(QStringLiteral(VORNAK_HINTS_FILE)), pictures, &report),
             QStringList());
    QVERIFY(report.hints > 0);
    QCOMPARE(report.warnings, QStringList());
    QVERIFY(!pictures.isEmpty());
}

void HintsPublicationTest::warnsOfALongTitle()
{
    const auto hint = [](qsizetype length) {
        return QJsonObject{{u"title"_s, QString(length, u'T')}, {u"richText"_s, u"<table>"_s}};
    };
    QStringList pictures;
    HintsReport report;
    QCOMPARE(checkHints(QJsonDocument(QJsonArray{hint(60), hint(61)}).toJson(), pictures, &report),
             QStringList());
    QCOMPARE(report.warnings, QStringList(u"hint 2: the title has 61 characters, over 60"_s));
}

void HintsPublicationTest::installsPicturesDocumentAndAddress()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, {{u"client"_s, "x"}}), QStringList());
    const QByteArray document = hintWith("<img src=\"/images/news/a.png\">");
    writeFiles(fixture.path({}), {{u"hints.json"_s, document},
                                  {u"pictures/news/a.png"_s, picture},
                                  {u"pictures/news/unused.png"_s, picture}});
    HintsReport report;
    QCOMPARE(publishHints(fixture.path(u"hints.json"_s), fixture.content(),
                          fixture.path(u"pictures"_s), u"https://cdn.example"_s, report),
             QStringList());
    QCOMPARE(report.hints, 1);
    QCOMPARE(report.pictures, 1);
    const Files served = fixture.served();
    QCOMPARE(served.value(u"/hints.json"_s), document);
    QCOMPARE(served.value(u"/images/news/a.png"_s), picture);
    QVERIFY(!served.contains(u"/images/news/unused.png"_s));
    const LauncherMetadata metadata =
        readLauncherMetadata(served.value(addresses::metadata), nullptr);
    QCOMPARE(metadata.hints, QUrl(u"https://cdn.example/hints.json"_s));
    QCOMPARE(metadata.packages.size(), 1);
}

void HintsPublicationTest::refusesAndWritesNothing_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("images");
    QTest::newRow("fault in the document") << QByteArray("[]") << u"pictures"_s;
    QTest::newRow("missing picture")
        << hintWith("<img src=\"/images/missing.png\">") << u"pictures"_s;
    QTest::newRow("no pictures given") << hintWith("<img src=\"/images/a.png\">") << u""_s;
    QTest::newRow("no picture at all")
        << hintWith("<img src=\"/images/text.png\">") << u"pictures"_s;
    QTest::newRow("no such folder") << hintWith("<table>") << u"missing"_s;
}

void HintsPublicationTest::refusesAndWritesNothing()
{
    PublishFixture fixture;
    QFETCH(QByteArray, document);
    QFETCH(QString, images);
    writeFiles(fixture.path({}), {{u"hints.json"_s, document},
                                  {u"pictures/a.png"_s, picture},
                                  {u"pictures/text.png"_s, "text"}});
    HintsReport report;
    const QStringList faults =
        publishHints(fixture.path(u"hints.json"_s), fixture.content(),
                     images.isEmpty() ? QString() : fixture.path(images), {}, report);
    QCOMPARE(faults.size(), 1);
    QVERIFY(!QFileInfo::exists(fixture.content()));
}

void HintsPublicationTest::pictureMayBeThereAlready()
{
    PublishFixture fixture;
    testfiles::write(fixture.content() + u"/images/a.png"_s, picture);
    testfiles::write(fixture.path(u"hints.json"_s), hintWith("<img src=\"/images/a.png\">"));
    HintsReport report;
    QCOMPARE(publishHints(fixture.path(u"hints.json"_s), fixture.content(), {}, {}, report),
             QStringList());
}

void HintsPublicationTest::pictureNeverChanges()
{
    PublishFixture fixture;
    testfiles::write(fixture.content() + u"/images/a.png"_s, picture);
    writeFiles(fixture.path({}), {{u"hints.json"_s, hintWith("<img src=\"/images/a.png\">")},
                                  {u"pictures/a.png"_s, picture + "changed"}});
    HintsReport report;
    QCOMPARE(publishHints(fixture.path(u"hints.json"_s), fixture.content(),
                          fixture.path(u"pictures"_s), {}, report)
                 .size(),
             1);
    QCOMPARE(fixture.served(), (Files{{u"/images/a.png"_s, picture}}));
}

void HintsPublicationTest::packageNamesHintsThatAreThere()
{
    PublishFixture fixture;
    testfiles::write(fixture.path(u"hints.json"_s), hintWith("<table>"));
    HintsReport report;
    QCOMPARE(publishHints(fixture.path(u"hints.json"_s), fixture.content(), {}, {}, report),
             QStringList());
    QCOMPARE(fixture.served().keys(), QStringList(u"/hints.json"_s));
    QCOMPARE(fixture.publishFiles(u"1.0"_s, {{u"client"_s, "x"}}), QStringList());
    QCOMPARE(readLauncherMetadata(fixture.served().value(addresses::metadata), nullptr).hints,
             QUrl(u"/hints.json"_s));
}

// NOLINTEND(modernize-raw-string-literal)

VORNAK_TEST_MAIN(HintsPublicationTest)
#include "tst_hintspublication.moc"
