#include "publish/PublishKit.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

struct Outcome
{
    int code = -1;
    QString output;
    QString errors;
};

Outcome
runProgram(const QStringList& arguments,
           const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VORNAK_PUBLISH_PROGRAM), arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWrongUsage_data();
    void tellsWrongUsage();
    void helpsOnRequest_data();
    void helpsOnRequest();
    void publishesVerifiesSwitchesAndPrunes();
    void listsForPeopleAndForScripts();
    void foretellsAPublication();
    void quietTellsFaultsOnly();
    void jsonTellsFaults();
    void packsTheSameWhateverTheThreadsAndTheMemory();
    void strongestLevelIsTheDefault();
    void saysNothingOfTheLocale_data();
    void saysNothingOfTheLocale();
};

void CommandLineTest::tellsWrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    const auto row = [](const char* line) {
        QTest::newRow(line) << QString::fromLatin1(line).split(u' ', Qt::SkipEmptyParts);
    };
    row("");
    row("--nonsense");
    row("publish in out");
    row("package");
    row("package in");
    row("package in out");
    row("package in out --version 1");
    row("package in out --executable x");
    row("package in out more --version 1 --executable x");
    row("package in out --version 1 --executable x --nonsense");
    row("package in out --version 1 --executable");
    row("package in out --version 1 --executable x --level 9");
    row("package in out --version 1 --executable x --threads 0");
    row("package in out --version 1 --executable x --threads two");
    row("package in out --version 1 --executable x --memory 100");
    row("package in out --version 1 --executable x --install-automatically --install-on-click");
    row("package in out --version 1 --executable x --channel Beta");
    row("package in out --version 1 --executable x --channel beta --stage");
    row("package in out --version 1 --executable x --channel beta --public-url http://a");
    row("verify --url http://127.0.0.1 --channel beta");
    row("launcher in out --version 1");
    row("launcher in out --version 1 --executable x --assets y");
    row("hints file");
    row("list");
    row("list out more");
    row("switch out");
    row("switch out --version 1 --directory D --launcher");
    row("switch out --version 1 --os windows");
    row("verify");
    row("verify out --url http://127.0.0.1");
    row("verify --url ftp://127.0.0.1");
    row("remove");
    row("remove out");
    row("remove out --directory D --launcher");
    row("remove out --directory D --os windows");
    row("prune out");
    row("prune out --keep many");
    row("prune out --keep -1");
}

void CommandLineTest::tellsWrongUsage()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = runProgram(arguments);
    QCOMPARE(outcome.code, 2);
    QCOMPARE(outcome.output, QString());
    const QStringList lines = outcome.errors.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines.at(0).startsWith(u"vornak-publish: "_s));
    QVERIFY(lines.at(1).startsWith(u"Try 'vornak-publish "_s));
}

void CommandLineTest::helpsOnRequest_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("program") << QStringList{u"--help"_s};
    for (const char* command :
         {"package", "launcher", "hints", "list", "switch", "verify", "remove", "prune"})
        QTest::newRow(command) << QStringList{QString::fromLatin1(command), u"--help"_s};
}

void CommandLineTest::helpsOnRequest()
{
    QFETCH(QStringList, arguments);
    const Outcome outcome = runProgram(arguments);
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.errors, QString());
    QVERIFY(outcome.output.startsWith(u"Usage: vornak-publish "_s));
    if (arguments.first() == u"package")
        QVERIFY(outcome.output.contains(u"Memory: "_s));
}

void CommandLineTest::publishesVerifiesSwitchesAndPrunes()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"assets/a"_s, "a"}});
    const auto package = [&fixture](const QString& version) {
        return runProgram({u"package"_s, fixture.input(), fixture.content(), u"--version"_s,
                           version, u"--executable"_s, u"client"_s, u"--assets"_s, u"assets"_s,
                           u"--json"_s});
    };
    Outcome outcome = package(u"1.0"_s);
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.errors, QString());
    const QJsonObject result = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    QCOMPARE(result.value(u"ok"_s), QJsonValue(true));
    QCOMPARE(result.value(u"files"_s), QJsonValue(1));
    QCOMPARE(result.value(u"assets"_s), QJsonValue(1));
    QCOMPARE(result.value(u"packed"_s), QJsonValue(2));
    writeFiles(fixture.input(), {{u"client"_s, "2"}});
    QCOMPARE(package(u"1.1"_s).code, 0);
    QCOMPARE(runProgram({u"verify"_s, fixture.content()}).code, 0);
    QCOMPARE(runProgram({u"switch"_s, fixture.content(), u"--version"_s, u"1.0"_s}).code, 0);
    QCOMPARE(runProgram({u"verify"_s, fixture.content()}).code, 0);
    outcome = runProgram({u"prune"_s, fixture.content(), u"--keep"_s, u"0"_s, u"--json"_s});
    QCOMPARE(outcome.code, 0);
    QCOMPARE(QJsonDocument::fromJson(outcome.output.toUtf8()).object().value(u"removed"_s),
             QJsonValue(QJsonArray{u"Quelra 1.1"_s}));
    QCOMPARE(runProgram({u"verify"_s, fixture.content()}).code, 0);
    QCOMPARE(runProgram({u"switch"_s, fixture.content(), u"--version"_s, u"1.1"_s}).code, 1);
}

void CommandLineTest::listsForPeopleAndForScripts()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    for (const QString& version : {u"1.0"_s, u"1.0.1"_s})
        QCOMPARE(runProgram({u"package"_s, fixture.input(), fixture.content(), u"--version"_s,
                             version, u"--executable"_s, u"client"_s})
                     .code,
                 0);
    Outcome outcome = runProgram({u"list"_s, fixture.content()});
    QCOMPARE(outcome.code, 0);
    const QStringList lines = outcome.output.split(u'\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 4);
    QCOMPARE(lines.at(0), u"Quelra"_s);
    QVERIFY(lines.at(1).startsWith(u"  1.0    windows x86_64           20"_s));
    QVERIFY(lines.at(2).startsWith(u"  1.0.1  windows x86_64  current  20"_s));
    QVERIFY(lines.at(3).startsWith(u"packed files: 1, "_s));
    outcome = runProgram({u"list"_s, fixture.content(), u"--json"_s});
    const QJsonObject result = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    const QJsonArray versions =
        result.value(u"products"_s)[0].toObject().value(u"versions"_s).toArray();
    QCOMPARE(versions.size(), 2);
    QCOMPARE(versions.at(1)[u"builds"_s][0][u"current"_s], QJsonValue(true));
    QCOMPARE(result.value(u"pruning"_s).toArray().size(), 2);
}

void CommandLineTest::foretellsAPublication()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"gone"_s, "x"}});
    const auto package = [&fixture](const QString& version, const QStringList& more) {
        return runProgram(QStringList{u"package"_s, fixture.input(), fixture.content(),
                                      u"--version"_s, version, u"--executable"_s, u"client"_s} +
                          more);
    };
    QCOMPARE(package(u"1.0"_s, {}).code, 0);
    fixture.setInput({{u"client"_s, "1"}, {u"new"_s, QByteArray(1300, 'n')}});
    const QStringList before = testfiles::list(fixture.content());
    Outcome outcome = package(u"1.1"_s, {u"--dry-run"_s});
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.output,
             u"Quelra 1.1 would become current: 2 files and 0 assets of 1.3 kB; 1 of 1.3 kB to "
             "pack, 1 packed before\n"
             "compared with 1.0: 1 added, 0 changed, 1 removed, 1 the same\n"
             "a new player downloads at most 1.3 kB in 2 files, 0.0 s at 100 Mbit/s\n"
             "a player with 1.0 downloads at most 1.3 kB in 1 file, 0.0 s at 100 Mbit/s\n"_s);
    QCOMPARE(testfiles::list(fixture.content()), before);
    outcome = package(u"1.1"_s, {u"--json"_s});
    const QJsonObject result = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    QCOMPARE(result.value(u"dryrun"_s), QJsonValue(false));
    QCOMPARE(result.value(u"added"_s), QJsonValue(QJsonArray{u"new"_s}));
    QCOMPARE(result.value(u"removed"_s), QJsonValue(QJsonArray{u"gone"_s}));
    QCOMPARE(result.value(u"downloads"_s)[1][u"version"_s], QJsonValue(u"1.0"_s));
    QCOMPARE(result.value(u"downloads"_s)[1][u"bytes"_s], result.value(u"addedbytes"_s));
}

void CommandLineTest::quietTellsFaultsOnly()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    QStringList arguments{u"package"_s, fixture.input(),   fixture.content(), u"--version"_s,
                          u"1"_s,       u"--executable"_s, u"client"_s,       u"--quiet"_s};
    Outcome outcome = runProgram(arguments);
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.output + outcome.errors, QString());
    writeFiles(fixture.input(), {{u"a.vornak-new"_s, "1"}, {u"b.vornak-new"_s, "1"}});
    outcome = runProgram(arguments);
    QCOMPARE(outcome.code, 1);
    QCOMPARE(outcome.output, QString());
    QCOMPARE(outcome.errors,
             u"vornak-publish: a.vornak-new: the launcher keeps this name for itself\n"
             "vornak-publish: b.vornak-new: the launcher keeps this name for itself\n"_s);
}

void CommandLineTest::jsonTellsFaults()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"a.vornak-new"_s, "1"}});
    const Outcome outcome =
        runProgram({u"package"_s, fixture.input(), fixture.content(), u"--version"_s, u"1"_s,
                    u"--executable"_s, u"client"_s, u"--json"_s});
    QCOMPARE(outcome.code, 1);
    QCOMPARE(outcome.errors, QString());
    const QJsonObject result = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    QCOMPARE(result.value(u"ok"_s), QJsonValue(false));
    QCOMPARE(result.value(u"faults"_s).toArray().size(), 1);
}

void CommandLineTest::packsTheSameWhateverTheThreadsAndTheMemory()
{
    Files expected;
    for (const auto& [threads, memory] : {std::pair("1", "4000"), {"8", "400"}, {"3", "1000"}}) {
        const PublishFixture fixture;
        Files files{{u"client"_s, "1"}};
        for (quint32 i = 0; i < 20; ++i)
            files.insert(u"many/%1"_s.arg(i), testfiles::textBytes(qsizetype(i) * 1000, i));
        fixture.setInput(files);
        QCOMPARE(runProgram({u"package"_s, fixture.input(), fixture.content(), u"--version"_s,
                             u"1"_s, u"--executable"_s, u"client"_s, u"--threads"_s,
                             QString::fromLatin1(threads), u"--memory"_s,
                             QString::fromLatin1(memory), u"--quiet"_s})
                     .code,
                 0);
        if (expected.isEmpty())
            expected = fixture.served();
        QCOMPARE(fixture.served(), expected);
    }
}

void CommandLineTest::strongestLevelIsTheDefault()
{
    const auto publishAt = [](const QStringList& level) {
        const PublishFixture fixture;
        fixture.setInput({{u"client"_s, testfiles::textBytes(300'000, 5)}});
        runProgram(QStringList{u"package"_s, fixture.input(), fixture.content(), u"--version"_s,
                               u"1"_s, u"--executable"_s, u"client"_s, u"--quiet"_s} +
                   level);
        return fixture.served();
    };
    QCOMPARE(publishAt({}), publishAt({u"--level"_s, u"8e"_s}));
    QVERIFY(publishAt({}) != publishAt({u"--level"_s, u"0"_s}));
}

void CommandLineTest::saysNothingOfTheLocale_data()
{
    QTest::addColumn<QString>("variable");
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

// A nightly job has no UTF-8 locale, and mails whatever is written to standard error.
void CommandLineTest::saysNothingOfTheLocale()
{
    QFETCH(QString, variable);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"LC_ALL"_s, u"LC_CTYPE"_s, u"LANG"_s})
        environment.remove(name);
    environment.insert(variable, u"C"_s);
    const Outcome outcome = runProgram({u"--version"_s}, environment);
    QCOMPARE(outcome.code, 0);
    QCOMPARE(outcome.errors, QString());
}

VORNAK_TEST_MAIN(CommandLineTest)
#include "tst_commandline.moc"
