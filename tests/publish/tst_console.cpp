#include "publish/Addresses.h"
#include "publish/Console.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/QuantityText.h"
#include "publish/Terminal.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

struct RawOutcome
{
    int code = -1;
    QByteArray output;
    QByteArray errors;
};

RawOutcome finish(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

RawOutcome runRaw(const QStringList& arguments)
{
    QProcess process;
    return finish(process, QStringLiteral(VORNAK_PUBLISH_PROGRAM), arguments);
}

// The program's words stand in "$@".
[[maybe_unused]] RawOutcome runInShell(const QString& script, const QStringList& arguments)
{
    QProcess process;
    return finish(process, u"/bin/sh"_s,
                  QStringList{u"-c"_s, script, u"sh"_s, QStringLiteral(VORNAK_PUBLISH_PROGRAM)} +
                      arguments);
}

QStringList packageWords(const PublishFixture& fixture, const QString& version)
{
    return {u"package"_s, fixture.input(), fixture.content(), u"--version"_s, version,
            u"--level"_s, u"0"_s,          u"--executable"_s, u"client"_s};
}

} // namespace

class ConsoleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsWhatATerminalWouldObey_data();
    void showsWhatATerminalWouldObey();
    void namesWriteNoLinesOfTheirOwn();
    void jsonKeepsNamesThatATerminalWouldObey();
    void answersWrongUsageInJson_data();
    void answersWrongUsageInJson();
    void jsonTellsWarnings();
    void failsWhenTheResultCannotBeWritten_data();
    void failsWhenTheResultCannotBeWritten();
    void foretellsPruningWithoutWriting();
    void whatIsServedCanBeReadWhateverTheUmask();
    void countsOneThingAsOne();
    void tellsCountsOfOne();
    void saysWhichFolderTheAssetsAreFrom();
};

void ConsoleTest::showsWhatATerminalWouldObey_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("visible");
    QTest::newRow("plain") << u"a b\u00e4\u96ea.bin"_s << u"a b\u00e4\u96ea.bin"_s;
    QTest::newRow("beyond the first plane") << u"\U0001F409"_s << u"\U0001F409"_s;
    QTest::newRow("escape") << u"\u001b[2J"_s << u"\\u001b[2J"_s;
    QTest::newRow("end of line") << u"a\nb\r"_s << u"a\\u000ab\\u000d"_s;
    QTest::newRow("delete") << u"\u007f"_s << u"\\u007f"_s;
    QTest::newRow("escape in one character") << u"\u009b2J"_s << u"\\u009b2J"_s;
    QTest::newRow("line separator") << u"\u2028"_s << u"\\u2028"_s;
    QTest::newRow("right to left") << u"\u202egnp.exe"_s << u"\\u202egnp.exe"_s;
}

void ConsoleTest::showsWhatATerminalWouldObey()
{
    QFETCH(QString, text);
    QTEST(visibleText(text), "visible");
}

void ConsoleTest::namesWriteNoLinesOfTheirOwn()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    // In an argument, in a name in a document, and in that of a file.
    const QString evil = u"x\nvornak-publish: all is well\u001b[2J"_s;
    RawOutcome outcome = runRaw({evil});
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.errors.count('\n'), 2);
    QVERIFY(!outcome.errors.contains('\x1b'));
    QCOMPARE(runRaw(packageWords(fixture, u"1"_s)).code, 0);
    const QString metadata = fixture.content() + addresses::metadata;
    QByteArray bytes = testfiles::read(metadata);
    bytes.replace(R"("directoryname": "Quelra")", R"("directoryname": "Qu\u001belra\nx")");
    testfiles::write(metadata, bytes);
    outcome = runRaw({u"list"_s, fixture.content()});
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.output.startsWith("Qu\\u001belra\\u000ax\n"), outcome.output);
#ifndef Q_OS_WIN
    writeFiles(fixture.input(), {{evil, "1"}});
    outcome = runRaw(packageWords(fixture, u"2"_s));
    QCOMPARE(outcome.code, 1);
    QCOMPARE(outcome.errors.trimmed().count('\n'), 0);
    QVERIFY(outcome.errors.contains("x\\u000avornak-publish: all is well\\u001b[2J: "));
#endif
}

void ConsoleTest::jsonKeepsNamesThatATerminalWouldObey()
{
    const QString evil = u"x\u009b2J\u202e\n"_s;
    const RawOutcome outcome = runRaw({evil, u"--json"_s});
    QCOMPARE(outcome.code, 2);
    QVERIFY(outcome.output.contains(R"(x\u009b2J\u202e\n)"));
    QCOMPARE(QJsonDocument::fromJson(outcome.output)[u"faults"][0].toString(),
             u"unknown command '%1'"_s.arg(evil));
}

void ConsoleTest::answersWrongUsageInJson_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("fault");
    const auto row = [](const char* line, const char* fault) {
        QTest::newRow(line) << QString::fromLatin1(line).split(u' ') << QString::fromLatin1(fault);
    };
    row("--json", "unknown command '--json'");
    row("publish --json", "unknown command 'publish'");
    row("list --json", "CONTENT is missing");
    row("list out --nonsense --json", "Unknown option 'nonsense'.");
    row("package --json in out --version", "Missing value after '--version'.");
    row("prune out --keep -1 --json", "'-1' is not a number of versions");
    row("verify out --quiet --json", "--quiet and --json exclude each other");
}

void ConsoleTest::answersWrongUsageInJson()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, fault);
    const RawOutcome outcome = runRaw(arguments);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.errors, QByteArray());
    const QJsonObject result = QJsonDocument::fromJson(outcome.output).object();
    QCOMPARE(result, (QJsonObject{{u"ok"_s, false}, {u"faults"_s, QJsonArray{fault}}}));
}

void ConsoleTest::jsonTellsWarnings()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    const auto publishIn = [&fixture](const QString& version) {
        const RawOutcome outcome =
            runRaw(packageWords(fixture, version) + QStringList{u"--json"_s});
        return QJsonDocument::fromJson(outcome.output).object();
    };
    QVERIFY(!publishIn(u"1"_s).contains(u"warnings"_s));
    fixture.setInput({{u"client"_s, "2"}});
    const QJsonObject result = publishIn(QString(65, u'2'));
    QCOMPARE(result.value(u"ok"_s), QJsonValue(true));
    QCOMPARE(result.value(u"warnings"_s),
             QJsonValue(QJsonArray{u"the version text has 65 characters, over 64"_s}));
}

void ConsoleTest::failsWhenTheResultCannotBeWritten_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("code");
    QTest::newRow("help") << QStringList{u"--help"_s} << 1;
    QTest::newRow("version") << QStringList{u"--version"_s} << 1;
    QTest::newRow("help of a command") << QStringList{u"list"_s, u"--help"_s} << 1;
    QTest::newRow("list") << QStringList{u"list"_s, u"CONTENT"_s} << 1;
    QTest::newRow("JSON") << QStringList{u"list"_s, u"CONTENT"_s, u"--json"_s} << 1;
    QTest::newRow("verify") << QStringList{u"verify"_s, u"CONTENT"_s} << 1;
    QTest::newRow("prune") << QStringList{u"prune"_s, u"CONTENT"_s, u"--keep"_s, u"1"_s} << 1;
    QTest::newRow("nothing to write") << QStringList{u"verify"_s, u"CONTENT"_s, u"--quiet"_s} << 0;
}

void ConsoleTest::failsWhenTheResultCannotBeWritten()
{
    if (!QFileInfo::exists(u"/dev/full"_s))
        QSKIP("needs /dev/full, a full disk that Linux has");
    QFETCH(QStringList, arguments);
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    QCOMPARE(runRaw(packageWords(fixture, u"1"_s)).code, 0);
    arguments.replaceInStrings(u"CONTENT"_s, fixture.content());
    const RawOutcome outcome = runInShell(u"exec \"$@\" >/dev/full"_s, arguments);
    QTEST(outcome.code, "code");
    QCOMPARE(outcome.errors.contains("standard output cannot be written: No space left on device"),
             outcome.code == 1);
}

void ConsoleTest::foretellsPruningWithoutWriting()
{
    const PublishFixture fixture;
    for (const char* version : {"1", "2"}) {
        fixture.setInput({{u"client"_s, version}});
        QCOMPARE(runRaw(packageWords(fixture, QString::fromLatin1(version))).code, 0);
    }
    // As when the content came from elsewhere: without the right to write none of it could be made.
    QVERIFY(QDir(fixture.content() + u"/.publisher"_s).removeRecursively());
    const QStringList before = testfiles::list(fixture.content());
    const RawOutcome outcome =
        runRaw({u"prune"_s, fixture.content(), u"--keep"_s, u"0"_s, u"--dry-run"_s});
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.output.startsWith("would remove 1 version and 1 packed file of "),
             outcome.output);
    QVERIFY2(outcome.output.endsWith("; 1 version stays\n"), outcome.output);
    QCOMPARE(testfiles::list(fixture.content()), before);
    QVERIFY(!QFileInfo::exists(fixture.content() + u"/.publisher"_s));
}

void ConsoleTest::whatIsServedCanBeReadWhateverTheUmask()
{
#ifdef Q_OS_WIN
    QSKIP("a folder's rights are handed down on Windows; there is no umask");
#else
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"assets/a"_s, "a"}});
    const QStringList words =
        packageWords(fixture, u"1"_s) + QStringList{u"--assets"_s, u"assets"_s};
    QCOMPARE(runInShell(u"umask 077; exec \"$@\""_s, words).code, 0);
    QDirIterator all(fixture.content(), QDir::AllEntries | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    qsizetype files = 0;
    while (all.hasNext()) {
        const QFileInfo entry = all.nextFileInfo();
        files += entry.isFile() ? 1 : 0;
        QVERIFY2(entry.permission(QFile::ReadOther), qPrintable(entry.filePath()));
        QVERIFY2(entry.isFile() || entry.permission(QFile::ExeOther), qPrintable(entry.filePath()));
        // Who may write stays the operator's choice.
        QVERIFY2(!entry.permission(QFile::WriteGroup), qPrintable(entry.filePath()));
    }
    QCOMPARE(files, 7);
    QVERIFY(QFileInfo(fixture.content()).permission(QFile::ReadOther | QFile::ExeOther));
    QCOMPARE(runInShell(u"umask 002; exec \"$@\""_s, packageWords(fixture, u"2"_s)).code, 0);
    QVERIFY(QFileInfo(fixture.content() + addresses::metadata).permission(QFile::WriteGroup));
#endif
}

void ConsoleTest::countsOneThingAsOne()
{
    QCOMPARE(countText(0, "file"), u"0 files"_s);
    QCOMPARE(countText(1, "file"), u"1 file"_s);
    QCOMPARE(countText(2, "packed file"), u"2 packed files"_s);
}

void ConsoleTest::tellsCountsOfOne()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"assets/a"_s, "a"}});
    RawOutcome outcome =
        runRaw(packageWords(fixture, u"1"_s) + QStringList{u"--assets"_s, u"assets"_s});
    QVERIFY2(outcome.output.contains(": 1 file and 1 asset of 2 bytes; "), outcome.output);
    fixture.setInput({{u"client"_s, "1"}});
    QCOMPARE(runRaw(packageWords(fixture, u"2"_s)).code, 0);
    outcome = runRaw({u"list"_s, fixture.content()});
    QVERIFY2(outcome.output.contains("  1 file, 1 bytes, "), outcome.output);
    QVERIFY2(outcome.output.contains("  2 files, 2 bytes, "), outcome.output);
    outcome = runRaw({u"verify"_s, fixture.content()});
    QVERIFY2(outcome.output.startsWith("no fault in 1 build, 1 packed file of "), outcome.output);
    QVERIFY2(outcome.errors.contains(": 1 of 1 file, "), outcome.errors);
    testfiles::write(fixture.path(u"hints.json"_s), R"(["<table><tr><td>x</td></tr></table>"])");
    outcome = runRaw({u"hints"_s, fixture.path(u"hints.json"_s), fixture.content()});
    QCOMPARE(outcome.output, "1 hint with 0 pictures installed\n");
}

void ConsoleTest::saysWhichFolderTheAssetsAreFrom()
{
    PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"assets/a"_s, "a"}});
    writeFiles(fixture.path(u"work/assets"_s), {{u"b"_s, "b"}});
    PublishRequest request = fixture.request(u"1"_s);
    request.assets = u"assets"_s;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.progress.warnings, QStringList());
    QProcess process;
    process.setWorkingDirectory(fixture.path(u"work"_s));
    const RawOutcome outcome =
        finish(process, QStringLiteral(VORNAK_PUBLISH_PROGRAM),
               packageWords(fixture, u"1"_s) + QStringList{u"--assets"_s, u"assets"_s});
    QCOMPARE(outcome.code, 0);
    QVERIFY2(outcome.errors.contains(
                 u"warning: the assets are those in %1/assets, a part of the input; there is also "
                 "%2/assets\n"_s.arg(fixture.input(), fixture.path(u"work"_s))
                     .toUtf8()),
             outcome.errors);
}

VORNAK_TEST_MAIN(ConsoleTest)
#include "tst_console.moc"
