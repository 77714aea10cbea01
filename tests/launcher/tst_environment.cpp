#include "launcher/Environment.h"
#include "package/PackageClient.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/TestClient.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class EnvironmentTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void baseAddressComesFromTheEnvironmentOrTheBuild();
    void baseAddressReachesTheClientWithoutTrailingSlashes_data();
    void baseAddressReachesTheClientWithoutTrailingSlashes();
    void launcherPathFileLiesInItsFolder();
    void dataFolderIsMadeAndNamedAfterTheApplication();
    void onlyOneTurnsAutoplayOn_data();
    void onlyOneTurnsAutoplayOn();
    void autoplayNeedsADescribedProgram_data();
    void autoplayNeedsADescribedProgram();
    void autoplayStartsTheDescribedClient();
    void autoplayCountsAnyExitCodeButNoCrash();

private:
    // Describes a copy of the recording client with this script.
    void describe(const QByteArray& script);
    [[nodiscard]] QString program() const { return m_folder.filePath(u"client program"_s); }
    [[nodiscard]] bool hasRun() const { return QFile::exists(testclient::recordPath(program())); }

    QTemporaryDir m_folder;
};

void EnvironmentTest::init()
{
    for (const char* name : {"VORNAK_CDN_URL", "VORNAK_AUTOPLAY", "VORNAK_DEV_JSON",
                             "VORNAK_CLIENT_ARGS", "VORNAK_RESTART_FILE", "VORNAK_ASSET_BASE"})
        qunsetenv(name);
    QFile::remove(testclient::recordPath(program()));
}

void EnvironmentTest::describe(const QByteArray& script)
{
    testfiles::write(program(), testclient::programBytes());
    PackageClient::makeExecutable(program());
    testclient::writeScript(program(), script);
    const QJsonObject desktop{
        {u"exe"_s, program()}, {u"cwd"_s, m_folder.path()}, {u"revision"_s, u"r9"_s}};
    testfiles::write(m_folder.filePath(u"dev.json"_s),
                     QJsonDocument(QJsonObject{{u"desktop"_s, desktop}}).toJson());
    qputenv("VORNAK_DEV_JSON", m_folder.filePath(u"dev.json"_s).toUtf8());
}

void EnvironmentTest::baseAddressComesFromTheEnvironmentOrTheBuild()
{
    QCOMPARE(cdnBaseUrl(), u"https://static.quelra.example"_s);
    qputenv("VORNAK_CDN_URL", "");
    QCOMPARE(cdnBaseUrl(), u"https://static.quelra.example"_s);
    qputenv("VORNAK_CDN_URL", "not an address//");
    QCOMPARE(cdnBaseUrl(), u"not an address//"_s);
}

void EnvironmentTest::baseAddressReachesTheClientWithoutTrailingSlashes_data()
{
    QTest::addColumn<QString>("base");
    QTest::newRow("https://a.example/") << u"https://a.example"_s;
    QTest::newRow("https://a.example///") << u"https://a.example"_s;
    QTest::newRow("https://a.example/b") << u"https://a.example/b"_s;
    QTest::newRow("") << QString();
    QTest::newRow("//") << QString();
}

void EnvironmentTest::baseAddressReachesTheClientWithoutTrailingSlashes()
{
    PackageClient client(nullptr);
    client.setBaseUrl(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(client.baseUrl(), "base");
}

void EnvironmentTest::launcherPathFileLiesInItsFolder()
{
    const QString file = launcherPathFile();
    QCOMPARE(file, QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                       u"/Vornak/launcher.path"_s);
    QVERIFY(QFileInfo(QFileInfo(file).path()).isDir());
}

void EnvironmentTest::dataFolderIsMadeAndNamedAfterTheApplication()
{
    QVERIFY(dataFolder().endsWith(u"/Vornak/Launcher"_s));
    QVERIFY(QFileInfo(dataFolder()).isDir());
}

void EnvironmentTest::onlyOneTurnsAutoplayOn_data()
{
    QTest::addColumn<bool>("isOn");
    QTest::newRow("1") << true;
    QTest::newRow("true") << false;
    QTest::newRow("yes") << false;
    QTest::newRow(" 1") << false;
    QTest::newRow("") << false;
}

void EnvironmentTest::onlyOneTurnsAutoplayOn()
{
    QFETCH(bool, isOn);
    describe("exit 0");
    qputenv("VORNAK_AUTOPLAY", QTest::currentDataTag());
    QCOMPARE(tryDevAutoplay(), isOn);
    QCOMPARE(hasRun(), isOn);
}

void EnvironmentTest::autoplayNeedsADescribedProgram_data()
{
    QTest::addColumn<QByteArray>("description");
    QTest::newRow("no file") << QByteArray();
    QTest::newRow("not JSON") << QByteArray("desktop");
    QTest::newRow("no desktop") << QByteArray("{}");
    QTest::newRow("desktop is text") << QByteArray(R"({"desktop":"x"})");
    QTest::newRow("no program") << QByteArray(R"({"desktop":{"cwd":"/"}})");
    QTest::newRow("missing program") << QByteArray(R"({"desktop":{"exe":"/missing/program"}})");
    QTest::newRow("program is a number") << QByteArray(R"({"desktop":{"exe":1}})");
}

void EnvironmentTest::autoplayNeedsADescribedProgram()
{
    QFETCH(QByteArray, description);
    qputenv("VORNAK_AUTOPLAY", "1");
    const MessageCapture log;
    QVERIFY(!tryDevAutoplay());
    QCOMPARE(log.lines(), QStringList());
    if (!description.isEmpty()) {
        testfiles::write(m_folder.filePath(u"dev.json"_s), description);
        qputenv("VORNAK_DEV_JSON", m_folder.filePath(u"dev.json"_s).toUtf8());
    }
    QVERIFY(!tryDevAutoplay());
}

void EnvironmentTest::autoplayStartsTheDescribedClient()
{
    describe("exit 0");
    qputenv("VORNAK_AUTOPLAY", "1");
    qputenv("VORNAK_CLIENT_ARGS", R"(--fast "two words"  last)");
    QVERIFY(tryDevAutoplay());
    const auto record = testclient::readRecord(testclient::recordPath(program()));
    QCOMPARE(record.arguments, QStringList({u"--fast"_s, u"two words"_s, u"last"_s}));
    QCOMPARE(record.workingDirectory, m_folder.path());
    QCOMPARE(record.environment.value(u"VORNAK_LAUNCHER"_s), u"1"_s);
    QCOMPARE(record.environment.value(u"VORNAK_CLIENT_REVISION"_s), u"r9"_s);
    QCOMPARE(record.environment.value(u"VORNAK_LAUNCHER_BIN"_s),
             QCoreApplication::applicationFilePath());
    QVERIFY(!record.environment.contains(u"VORNAK_RESTART_FILE"_s));
    QVERIFY(!record.environment.contains(u"VORNAK_ASSET_BASE"_s));
}

void EnvironmentTest::autoplayCountsAnyExitCodeButNoCrash()
{
    qputenv("VORNAK_AUTOPLAY", "1");
    describe("exit 3");
    QVERIFY(tryDevAutoplay());
    describe("crash");
    QVERIFY(!tryDevAutoplay());
}

int main(int argc, char* argv[])
{
    const IsolatedHome home;
    const QCoreApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Vornak"));
    QCoreApplication::setApplicationName(QStringLiteral("Launcher"));
    EnvironmentTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_environment.moc"
