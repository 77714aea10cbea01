#include "client/ClientProcess.h"
#include "support/IsolatedHome.h"
#include "support/TestClient.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// A folder with the recording client, and with a launcher's data.
struct Fixture
{
    explicit Fixture(const QByteArray& steps)
    {
        testfiles::write(program, testclient::programBytes());
        QFile::setPermissions(program, QFile::permissions(program) | QFile::ExeOwner);
        testclient::writeScript(program, steps);
    }

    [[nodiscard]] std::unique_ptr<ClientProcess> makeProcess() const
    {
        return std::make_unique<ClientProcess>(
            ClientLaunch{u"27"_s, u"/launcher"_s, requests, u"https://cdn.example"_s, {}, {}},
            nullptr);
    }

    const QTemporaryDir folder;
    const QString program = folder.filePath(u"client.exe"_s);
    const RequestFiles requests = RequestFiles::in(folder.path());
};

} // namespace

class ClientProcessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsHowTheClientEnded_data();
    void tellsHowTheClientEnded();
    void startsWithoutOldRequestsAndWithItsEnvironment();
    void tellsOfAShowRequestWhileItRunsAndAfterwards();
    void missingProgramDoesNotStart();
    void requestsStayWhenItGoesBeforeItsClient();
};

void ClientProcessTest::tellsHowTheClientEnded_data()
{
    QTest::addColumn<QByteArray>("steps");
    QTest::addColumn<bool>("cleanly");
    QTest::addColumn<bool>("wantsRestart");
    QTest::newRow("code 0") << QByteArray("exit 0") << true << false;
    QTest::newRow("code 3") << QByteArray("exit 3") << false << false;
    QTest::newRow("crash") << QByteArray("crash") << false << false;
    QTest::newRow("restart") << QByteArray("restart\nexit 0") << true << true;
    QTest::newRow("restart and crash") << QByteArray("restart\ncrash") << false << true;
}

void ClientProcessTest::tellsHowTheClientEnded()
{
    QFETCH(QByteArray, steps);
    QFETCH(bool, cleanly);
    QFETCH(bool, wantsRestart);
    const Fixture fixture(steps);
    const auto process = fixture.makeProcess();
    const QSignalSpy ended(process.get(), &ClientProcess::ended);
    QVERIFY(process->startAndWait(fixture.program, fixture.folder.path()));
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(ended.first(), (QVariantList{cleanly, wantsRestart}));
    QVERIFY(!QFile::exists(fixture.requests.restart));
}

void ClientProcessTest::startsWithoutOldRequestsAndWithItsEnvironment()
{
    const Fixture fixture("exit 0");
    for (const QString& path :
         {fixture.requests.restart, fixture.requests.show, fixture.requests.ssoSwitch})
        testfiles::write(path, "stale");
    const auto process = fixture.makeProcess();
    const QSignalSpy ended(process.get(), &ClientProcess::ended);
    QVERIFY(process->startAndWait(fixture.program, fixture.folder.path()));
    QTRY_COMPARE(ended.size(), 1);
    QCOMPARE(ended.first(), (QVariantList{true, false}));
    QVERIFY(!QFile::exists(fixture.requests.show));
    QVERIFY(!QFile::exists(fixture.requests.ssoSwitch));
    const auto record = testclient::readRecord(testclient::recordPath(fixture.program));
    QCOMPARE(record.environment.value(u"VORNAK_CLIENT_REVISION"_s), u"27"_s);
    QCOMPARE(record.environment.value(u"VORNAK_ASSET_BASE"_s), u"https://cdn.example"_s);
    QCOMPARE(record.arguments, QStringList());
    QCOMPARE(record.workingDirectory, fixture.folder.path());
}

void ClientProcessTest::tellsOfAShowRequestWhileItRunsAndAfterwards()
{
    const Fixture fixture("show\nwait " + QByteArray("go"));
    const auto process = fixture.makeProcess();
    const QSignalSpy show(process.get(), &ClientProcess::showRequested);
    const QSignalSpy ended(process.get(), &ClientProcess::ended);
    QVERIFY(process->startAndWait(fixture.program, fixture.folder.path()));
    QTRY_COMPARE(show.size(), 1);
    QVERIFY(ended.isEmpty());
    testfiles::write(fixture.folder.filePath(u"go"_s), "");
    QTRY_COMPARE(ended.size(), 1);
    testfiles::write(fixture.requests.show, "");
    QTRY_COMPARE(show.size(), 2);
    QVERIFY(!QFile::exists(fixture.requests.show));
}

void ClientProcessTest::missingProgramDoesNotStart()
{
    const Fixture fixture("exit 0");
    const auto process = fixture.makeProcess();
    const QSignalSpy ended(process.get(), &ClientProcess::ended);
    QVERIFY(!process->startAndWait(fixture.folder.filePath(u"missing"_s), fixture.folder.path()));
    QVERIFY(!process->errorString().isEmpty());
    QVERIFY(ended.isEmpty());
}

void ClientProcessTest::requestsStayWhenItGoesBeforeItsClient()
{
    const Fixture fixture("wait never");
    auto process = fixture.makeProcess();
    QVERIFY(process->startAndWait(fixture.program, fixture.folder.path()));
    QTRY_VERIFY(QFile::exists(testclient::recordPath(fixture.program)));
    testfiles::write(fixture.requests.restart, "");
    process.reset();
    QVERIFY(QFile::exists(fixture.requests.restart));
}

VORNAK_TEST_MAIN(ClientProcessTest)
#include "tst_clientprocess.moc"
