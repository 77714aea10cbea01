#include "package/HintLimits.h"
#include "shared/BuildValues.h"
#include "shared/Hints.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QApplication>
#include <QTest>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

HintEntry plain(const QString& text)
{
    return {QString(), text};
}

QString contentHost()
{
    return QUrl(buildvalues::defaultCdnUrl()).authority();
}

} // namespace

class HintsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parsesElements_data();
    void parsesElements();
    void keepsOrderAndDuplicates();
    void takesTextAsItStands();
    void readsAnythingElseAsNoHints_data();
    void readsAnythingElseAsNoHints();
    void findsRichContent_data();
    void findsRichContent();
    void embeddedHintsAreRich();
    void picksNothingFromNothing();
    void picksTheOnlyOne();
    void picksEveryHintEquallyOften_data();
    void picksEveryHintEquallyOften();
    void judgesHintsByWhatTheyAskOfTheWindow_data();
    void judgesHintsByWhatTheyAskOfTheWindow();
    void embeddedHintsKeepTheLimits();
    void passesOverWhatCannotBeShown();
    void pointsPicturesAtTheServer_data();
    void pointsPicturesAtTheServer();
};

void HintsTest::parsesElements_data()
{
    QTest::addColumn<QByteArray>("element");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* element, const char* title, const char* text) {
        QTest::newRow(element) << QByteArray(element) << QString::fromUtf8(title)
                               << QString::fromUtf8(text);
    };
    row(R"("plain")", "", "plain");
    row(R"({"title":"T","richText":"R"})", "T", "R");
    row(R"({"richText":"R"})", "", "R");
    row(R"({"title":5,"richText":"R"})", "", "R");
    row(R"({"richText":"R","text":"A","hint":"B"})", "", "R");
    row(R"({"title":"T","richText":"","text":"A"})", "T", "A");
    row(R"({"richText":7,"text":"A","hint":"B"})", "", "A");
    row(R"({"text":4,"hint":"B"})", "", "B");
    row(R"({"hint":"B"})", "", "B");
    // Skipped, which the empty text stands for here.
    row(R"({"text":"","hint":"B"})", "", "");
    row(R"({"title":"T"})", "", "");
    row(R"({"richText":""})", "", "");
    row(R"("")", "", "");
    row("5", "", "");
    row("true", "", "");
    row("null", "", "");
    row(R"(["nested"])", "", "");
}

void HintsTest::parsesElements()
{
    QFETCH(QByteArray, element);
    QFETCH(QString, title);
    QFETCH(QString, text);
    const QList<HintEntry> expected =
        text.isEmpty() ? QList<HintEntry>() : QList<HintEntry>{{title, text}};
    QCOMPARE(parseHints("[" + element + "]"), expected);
    QCOMPARE(parseHints(R"({"other":1,"hints":[)" + element + "]}"), expected);
}

void HintsTest::keepsOrderAndDuplicates()
{
    QCOMPARE(parseHints(R"(["b","a",7,"b"])"),
             (QList<HintEntry>{plain(u"b"_s), plain(u"a"_s), plain(u"b"_s)}));
}

void HintsTest::takesTextAsItStands()
{
    QCOMPARE(parseHints(R"([" <b>&amp;\n\u00f6 "])"), QList<HintEntry>{plain(u" <b>&amp;\nö "_s)});
    QCOMPARE(parseHints(R"([" "])"), QList<HintEntry>{plain(u" "_s)});
}

void HintsTest::readsAnythingElseAsNoHints_data()
{
    QTest::addColumn<QByteArray>("bytes");
    for (const char* bytes : {"", "{}", "[]", R"({"hints":5})", R"({"hints":"a"})",
                              R"({"hints":{"a":"b"}})", "\"text\"", "5", "<html>", R"(["cut)"})
        QTest::newRow(bytes) << QByteArray(bytes);
}

void HintsTest::readsAnythingElseAsNoHints()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(parseHints(bytes).isEmpty());
}

void HintsTest::findsRichContent_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("rich");
    QTest::newRow("none") << QStringList() << false;
    QTest::newRow("plain") << QStringList{u"plain"_s, u"<b>bold</b>"_s} << false;
    QTest::newRow("table") << QStringList{u"a<table>"_s} << true;
    QTest::newRow("table in capitals") << QStringList{u"<TABLE border>"_s} << true;
    QTest::newRow("picture") << QStringList{u"<img src='x'>"_s} << true;
    QTest::newRow("picture in mixed case") << QStringList{u"<Img>"_s} << true;
    QTest::newRow("last of several") << QStringList{u"a"_s, u"b"_s, u"<img>"_s} << true;
    QTest::newRow("only spoken of") << QStringList{u"img table < img"_s} << false;
}

void HintsTest::findsRichContent()
{
    QFETCH(QStringList, texts);
    QList<HintEntry> hints;
    for (const QString& text : texts)
        hints.append(plain(text));
    QTEST(hintsHaveRichContent(hints), "rich");
    // A title does not make a hint rich.
    QVERIFY(!hintsHaveRichContent({{u"<table>"_s, u"plain"_s}}));
}

void HintsTest::embeddedHintsAreRich()
{
    const QList<HintEntry> hints = loadEmbeddedHints();
    QVERIFY(!hints.isEmpty());
    QCOMPARE(hints, parseHints(testfiles::read(u":/hints.json"_s)));
    for (const HintEntry& hint : hints) {
        QVERIFY(!hint.title.isEmpty());
        QVERIFY2(hintsHaveRichContent({hint}), qUtf8Printable(hint.richText));
    }
}

void HintsTest::picksNothingFromNothing()
{
    QCOMPARE(pickRandomHint({}), HintEntry());
}

void HintsTest::picksTheOnlyOne()
{
    const HintEntry only{u"T"_s, u"R"_s};
    for (int i = 0; i < 50; ++i)
        QCOMPARE(pickRandomHint({only}), only);
}

void HintsTest::picksEveryHintEquallyOften_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {2, 3, 4, 5, 10, 17})
        QTest::addRow("%d", count) << count;
}

void HintsTest::picksEveryHintEquallyOften()
{
    QFETCH(int, count);
    QList<HintEntry> hints;
    for (int i = 0; i < count; ++i)
        hints.append(plain(QString::number(i)));
    QList<int> picked(count);
    constexpr int perHint = 2000;
    for (int i = 0; i < count * perHint; ++i)
        ++picked[pickRandomHint(hints).richText.toInt()];
    const auto [least, most] = std::minmax_element(picked.begin(), picked.end());
    // More than eight standard deviations to either side: chance never fails this, a remainder in
    // place of drawing again does.
    QVERIFY2(*least > perHint - 360 && *most < perHint + 360,
             qPrintable(u"%1 to %2"_s.arg(*least).arg(*most)));
}

void HintsTest::judgesHintsByWhatTheyAskOfTheWindow_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isShown");
    const auto times = [](const char* text, int count) {
        return QString::fromLatin1(text).repeated(count);
    };
    const auto row = [](const char* name, const QString& text, bool isShown) {
        QTest::newRow(name) << text << isShown;
    };
    row("plain", u"a few words"_s, true);
    row("64 KiB", times("word ", 13107), true);
    row("over 64 KiB", times("word ", 13108), false);
    row("over 64 KiB as UTF-8", times("\xe4\xe4\xe4\xe4 ", 8000), false);
    row("8 tables deep", times("<table><tr><td>", 8) + u"x"_s, true);
    row("9 tables deep", times("<table><tr><td>", 9) + u"x"_s, false);
    row("9 tables, ends in quotes", times("<table title='</table>'><tr><td>", 9), false);
    row("9 tables, ends in comments", times("<table><!--</table>--><tr><td>", 9), false);
    row("9 tables, ends of others", times("<table></b><tr><td></i>", 9), false);
    row("many tables side by side", times("<table><tr><td>x</td></tr></table>", 500), true);
    row("32 tags deep", times("<b><i>", 16), true);
    row("33 tags deep", times("<b><i>", 16) + u"<U>"_s, false);
    row("many tags side by side", times("<b>x</b> ", 5000), true);
    row("paragraphs, rows and cells without ends",
        times("<p>x", 50) + u"<table>"_s + times("<tr><td>x<td>y", 50), true);
    row("32 pictures", times("<IMG src=a>", 32), true);
    row("33 pictures", times("<IMG src=a>", 33), false);
    row("much text in many tables", times("<table><tr><td>", 8) + times("x ", 5000), false);
    row("many cells", u"<table><tr>"_s + times("<td>x", 1001), false);
    row("wide cell", u"<td ColSpan=\"20000\">x"_s, false);
    row("cell over cells", u"<td colspan=2 rowspan=2>x"_s, true);
    row("endless number", u"<td rowspan=99999999999999999999>x"_s, false);
    row("long word", QString(1001, u'w'), false);
    row("unfinished tag", u"<table <img "_s, false);
    row("lone angle", u"a < b"_s, false);
    row("angle as it should be", u"a &lt; b"_s, true);
    row("declaration", u"<!DOCTYPE html><b>x</b>"_s, true);
    row("9 tables, blanks first", times("< table><tr><td>", 9), false);
    row("quoted name", u"<\"table\">"_s, false);
    row("name in entities", u"<&#116;able>"_s, false);
    row("slash before a quote", u"<b / x=\">"_s + times("<table>", 9) + u"\">"_s, false);
    row("comment that seems to end", u"<table><!--></table>-->"_s + times("<table>", 8), false);
    row("style", u"<style></table></style>"_s, false);
}

void HintsTest::judgesHintsByWhatTheyAskOfTheWindow()
{
    QFETCH(QString, text);
    const QString fault = hintFault({QString(), text});
    QTEST(fault.isEmpty(), "isShown");
}

void HintsTest::embeddedHintsKeepTheLimits()
{
    for (const HintEntry& hint : loadEmbeddedHints())
        QCOMPARE(hintFault(hint), QString());
}

void HintsTest::passesOverWhatCannotBeShown()
{
    const HintEntry good{u"good"_s, u"<table>"_s};
    const HintEntry bad{u"bad"_s, u"<table><tr><td>"_s.repeated(20)};
    for (int i = 0; i < 20; ++i)
        QCOMPARE(pickShowableHint({bad, bad, good, bad}), good);
    QCOMPARE(pickShowableHint({bad, bad}), HintEntry());
    QCOMPARE(pickShowableHint({}), HintEntry());
}

void HintsTest::pointsPicturesAtTheServer_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("result");
    const QString host = contentHost();
    const QString base = u"http://cdn.test:8080"_s;
    const auto row = [](const char* name, const QString& html, const QString& serverBase,
                        const QString& result) {
        QTest::newRow(name) << html << serverBase << result;
    };
    const QString picture = u"<img src=\"/images/news/rh_misc.png\">"_s;
    const QString placed = u"<img src=\"http://cdn.test:8080/images/news/rh_misc.png\">"_s;
    row("root-relative", picture, base, placed);
    row("slashes behind the base", picture, base + u"//"_s, placed);
    row("every occurrence", picture + u"x"_s + picture, base, placed + u"x"_s + placed);
    row("single quotes stay", u"<img src='/images/a.png'>"_s, base, u"<img src='/images/a.png'>"_s);
    row("no quotes stay", u"<img src=/images/a.png>"_s, base, u"<img src=/images/a.png>"_s);
    row("other folders stay", u"<img src=\"/pictures/a.png\">"_s, base,
        u"<img src=\"/pictures/a.png\">"_s);
    row("capitals stay", u"<img src=\"/Images/a.png\">"_s, base, u"<img src=\"/Images/a.png\">"_s);
    row("host by https", u"<a href='https://%1/x'>"_s.arg(host), base,
        u"<a href='http://cdn.test:8080/x'>"_s);
    row("host by http", u"http://%1/x http://%1"_s.arg(host), base,
        u"http://cdn.test:8080/x http://cdn.test:8080"_s);
    row("host in capitals stays", u"https://%1/x"_s.arg(host.toUpper()), base,
        u"https://%1/x"_s.arg(host.toUpper()));
    row("scheme in capitals stays", u"HTTPS://%1/x"_s.arg(host), base, u"HTTPS://%1/x"_s.arg(host));
    row("other hosts stay", u"https://other.example/images/a.png"_s, base,
        u"https://other.example/images/a.png"_s);
    row("no base, root-relative", picture, QString(), picture);
    row("no base, absolute", u"<img src=\"https://%1/images/a.png\">"_s.arg(host), QString(),
        u"<img src=\"/images/a.png\">"_s);
    row("a base of slashes", picture, u"///"_s, picture);
    row("nothing", QString(), base, QString());
}

void HintsTest::pointsPicturesAtTheServer()
{
    QFETCH(QString, html);
    QFETCH(QString, base);
    QTEST(rewriteHintHtml(html, base), "result");
}

VORNAK_WIDGET_TEST_MAIN(HintsTest)
#include "tst_hints.moc"
