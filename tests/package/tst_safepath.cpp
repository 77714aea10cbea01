#include "package/SafePath.h"
#include "support/IsolatedHome.h"

#include <QTest>

using namespace Qt::StringLiterals;

class SafePathTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void judgesPaths_data();
    void judgesPaths();
    void refusesEveryControlCharacterOnWindows();
    void refusesAnEmbeddedNul();
    void joinsOnlyWhatStaysBelow();
    void knowsTheRecordsOfAnInstallation_data();
    void knowsTheRecordsOfAnInstallation();
};

void SafePathTest::judgesPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("posix");
    QTest::addColumn<bool>("windows");
    const auto row = [](const char* path, bool posix, bool windows) {
        QTest::newRow(path) << QString::fromUtf8(path) << posix << windows;
    };
    // Good everywhere.
    row("file.txt", true, true);
    row("a/b/c.txt", true, true);
    row("a//b", true, true);
    row("./a", true, true);
    row("a/./b", true, true);
    row(".hidden", true, true);
    row("..hidden", true, true);
    row("a..b/c", true, true);
    row("with blank/in it", true, true);
    row("größe/λ.txt", true, true);
    row("console/nulls/com10.txt", true, true);
    row("comx", true, true);
    row("a/auxiliary.txt", true, true);
    // Bad everywhere.
    row("", false, false);
    row(".", false, false);
    row("./.", false, false);
    row("..", false, false);
    row("../a", false, false);
    row("a/..", false, false);
    row("a/../b", false, false);
    row("a/b/../../../c", false, false);
    row("/", false, false);
    row("/etc/passwd", false, false);
    row("//server/share/file", false, false);
    // Bad on Windows alone.
    row("C:/a", true, false);
    row("C:a", true, false);
    row("a:stream", true, false);
    row("a/b:stream:$DATA", true, false);
    row("\\a", true, false);
    row("a\\b", true, false);
    row("..\\a", true, false);
    row("a/..\\..\\b", true, false);
    row(R"(\\server\share)", true, false);
    row("NUL", true, false);
    row("nul", true, false);
    row("a/nul.txt", true, false);
    row("nul.tar.gz", true, false);
    row("nul .txt", true, false);
    row("con/file", true, false);
    row("PRN", true, false);
    row("aux.h", true, false);
    row("com1", true, false);
    row("COM9.txt", true, false);
    row("lpt1", true, false);
    row("COM¹", true, false);
    row("lpt³.x", true, false);
    row("CONIN$", true, false);
    row("conout$", true, false);
    row("a.", true, false);
    row("a/b./c", true, false);
    row("a ", true, false);
    row("a /b", true, false);
    row("...", true, false);
    row(".. /a", true, false);
    row(". /a", true, false);
    row("a*", true, false);
    row("a?", true, false);
    row("<a>", true, false);
    row("a|b", true, false);
    row("\"a\"", true, false);
}

void SafePathTest::judgesPaths()
{
    QFETCH(QString, path);
    QTEST(staysBelowFolder(path, PathRules::Posix), "posix");
    QTEST(staysBelowFolder(path, PathRules::Windows), "windows");
}

void SafePathTest::refusesEveryControlCharacterOnWindows()
{
    for (char16_t code = 1; code < 0x20; ++code)
        QVERIFY2(!staysBelowFolder(u"a"_s + QChar(code) + u'b', PathRules::Windows),
                 qPrintable(QString::number(code)));
    QVERIFY(staysBelowFolder(u"a\u007fb"_s, PathRules::Windows));
}

void SafePathTest::refusesAnEmbeddedNul()
{
    const QString path = u"a"_s + QChar(u'\0') + u"b"_s;
    QVERIFY(!staysBelowFolder(path, PathRules::Posix));
    QVERIFY(!staysBelowFolder(path, PathRules::Windows));
}

void SafePathTest::joinsOnlyWhatStaysBelow()
{
    QCOMPARE(pathBelowFolder(u"/data/Quelra"_s, u"bin/x"_s), u"/data/Quelra/bin/x"_s);
    QCOMPARE(pathBelowFolder(u"/data/Quelra/"_s, u"x"_s), u"/data/Quelra/x"_s);
    QCOMPARE(pathBelowFolder(u"/data"_s, u"../x"_s), QString());
    QCOMPARE(pathBelowFolder(u"/data"_s, u"/data/x"_s), QString());
    QCOMPARE(pathBelowFolder(u"/data"_s, QString()), QString());
    QCOMPARE(pathBelowFolder(QString(), u"x"_s), QString());
}

void SafePathTest::knowsTheRecordsOfAnInstallation_data()
{
    QTest::addColumn<bool>("posix");
    QTest::addColumn<bool>("windows");
    const auto row = [](const char* path, bool posix, bool windows) {
        QTest::newRow(path) << posix << windows;
    };
    row("package.json", true, true);
    row("package.json.version", true, true);
    row("partial.package.json.version", true, true);
    row("assets.json.sha256", true, true);
    row("./package.json", true, true);
    row(".//package.json/below/it", true, true);
    row("Package.JSON", false, true);
    row("data/package.json", false, false);
    row("package.json.old", false, false);
    row("assets.json", false, false);
}

void SafePathTest::knowsTheRecordsOfAnInstallation()
{
    const QString path = QString::fromLatin1(QTest::currentDataTag());
    QTEST(namesMarker(path, PathRules::Posix), "posix");
    QTEST(namesMarker(path, PathRules::Windows), "windows");
    QCOMPARE(pathOfListedFile(u"/folder"_s, path).isEmpty(), namesMarker(path));
    QVERIFY(!pathBelowFolder(u"/folder"_s, path).isEmpty());
}

VORNAK_TEST_MAIN(SafePathTest)
#include "tst_safepath.moc"
