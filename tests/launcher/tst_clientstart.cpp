#include "launcher/FlowFixture.h"
#include "support/IsolatedHome.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <cstdarg>
#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Whether a process that is started hangs before its program runs, as on a disk that does not
// answer.
bool startsHang = false;

} // namespace

// A program's own functions come before the system's, for Qt too. Qt lets a new process borrow the
// launcher's memory, and the system holds the launcher until the program runs; a process that hangs
// gets memory of its own, so that the launcher comes to the end of its patience.
extern "C" int clone(int (*function)(void*), void* stack, int flags, void* argument, ...) noexcept
{
    std::va_list rest;
    va_start(rest, argument);
    auto* parentId = va_arg(rest, pid_t*);
    auto* threadStorage = va_arg(rest, void*);
    auto* childId = va_arg(rest, pid_t*);
    va_end(rest);
    static const auto real = reinterpret_cast<decltype(&clone)>(dlsym(RTLD_NEXT, "clone"));
    if (startsHang)
        flags &= ~(CLONE_VM | CLONE_VFORK);
    return real(function, stack, flags, argument, parentId, threadStorage, childId);
}

extern "C" int execve(const char* program, char* const* arguments,
                      char* const* environment) noexcept
{
    // Killed meanwhile; were it not, the program would run in the end.
    if (startsHang)
        sleep(20);
    return static_cast<int>(syscall(SYS_execve, program, arguments, environment));
}

/// The client as a child process and the requests that it makes.
class ClientStartTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void clientGetsItsEnvironment();
    void portalAddressBecomesTheLogin_data();
    void portalAddressBecomesTheLogin();
    void bootstrapCodeIsHandedOnWhenSet();
    void windowHidesWhileTheClientRuns();
    void secondStartDoesNothingWhileTheClientRuns();
    void cleanEndQuits();
    void restartRequestWinsOverACleanEnd();
    void otherExitCodeBringsTheWindowBack();
    void crashBringsTheWindowBack();
    void showRequestKeepsTheLaunchingLook();
    void showRequestLeftBehindIsServedAfterTheEnd();
    void staleRequestsAreRemovedBeforeTheStart();
    void failedStartSaysWhyAndAllowsAnother();
    void startThatTakesTooLongHidesNothing();
    void talkativeClientIsNotHeldUpByABusyLauncher();

private:
    // Runs the main loop until the launcher quits; 9 when it does not.
    static int execute();
    // A fixture's client that does these steps, started.
    static void start(FlowFixture& fixture, const QByteArray& steps);
};

int ClientStartTest::execute()
{
    QTimer limit;
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, qApp, [] { QCoreApplication::exit(9); });
    limit.start(20'000);
    return QCoreApplication::exec();
}

void ClientStartTest::start(FlowFixture& fixture, const QByteArray& steps)
{
    fixture.install(u"bin/client"_s, testclient::programBytes());
    PackageClient::makeExecutable(fixture.program());
    testclient::writeScript(fixture.program(), steps);
    fixture.window().show();
    fixture.window().setLogo(LauncherWindow::Launching);
    fixture.window().startClient(fixture.program(), fixture.packageFolder(), u"27"_s);
}

void ClientStartTest::cleanup()
{
    qunsetenv("VORNAK_PORTAL_URL");
    qunsetenv("VORNAK_PLAY_BOOTSTRAP_CODE");
}

void ClientStartTest::clientGetsItsEnvironment()
{
    FlowFixture fixture;
    start(fixture, "exit 0");
    QTRY_VERIFY(fixture.clientHasStarted());
    const auto record = testclient::readRecord(testclient::recordPath(fixture.program()));
    const auto& environment = record.environment;
    QCOMPARE(environment.value(u"VORNAK_LAUNCHER"_s), u"1"_s);
    QCOMPARE(environment.value(u"VORNAK_CLIENT_REVISION"_s), u"27"_s);
    QCOMPARE(environment.value(u"VORNAK_RESTART_FILE"_s), fixture.dataFolder() + u"/.restart"_s);
    QCOMPARE(environment.value(u"VORNAK_SHOW_FILE"_s), fixture.dataFolder() + u"/.show-launcher"_s);
    QCOMPARE(environment.value(u"VORNAK_SSO_SWITCH_FILE"_s),
             fixture.dataFolder() + u"/.sso-switch"_s);
    QCOMPARE(environment.value(u"VORNAK_LAUNCHER_BIN"_s), QCoreApplication::applicationFilePath());
    QCOMPARE(environment.value(u"VORNAK_ASSET_BASE"_s), fixture.server.baseUrl());
    QVERIFY(!environment.contains(u"VORNAK_PLAY_BOOTSTRAP_CODE"_s));
    QVERIFY(!environment.contains(u"QLC_LOGIN_SCHEME"_s));
    QVERIFY(!environment.contains(u"QLC_LOGIN_HOST"_s));
    QVERIFY(!environment.contains(u"QLC_LOGIN_PORT"_s));
    QCOMPARE(environment.value(u"HOME"_s), qEnvironmentVariable("HOME"));
    QCOMPARE(record.arguments, QStringList());
    QCOMPARE(record.workingDirectory, fixture.packageFolder());
}

void ClientStartTest::portalAddressBecomesTheLogin_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("port");
    QTest::newRow("with a port") << u"https://login.example:8443/path"_s << u"8443"_s;
    QTest::newRow("without a port") << u"https://login.example"_s << QString();
}

void ClientStartTest::portalAddressBecomesTheLogin()
{
    QFETCH(QString, address);
    qputenv("VORNAK_PORTAL_URL", address.toUtf8());
    FlowFixture fixture;
    start(fixture, "exit 0");
    QTRY_VERIFY(fixture.clientHasStarted());
    const auto record = testclient::readRecord(testclient::recordPath(fixture.program()));
    QCOMPARE(record.environment.value(u"QLC_LOGIN_SCHEME"_s), u"https"_s);
    QCOMPARE(record.environment.value(u"QLC_LOGIN_HOST"_s), u"login.example"_s);
    QVERIFY(record.environment.contains(u"QLC_LOGIN_PORT"_s));
    QTEST(record.environment.value(u"QLC_LOGIN_PORT"_s), "port");
}

void ClientStartTest::bootstrapCodeIsHandedOnWhenSet()
{
    qputenv("VORNAK_PLAY_BOOTSTRAP_CODE", "a code");
    FlowFixture fixture;
    start(fixture, "exit 0");
    QTRY_VERIFY(fixture.clientHasStarted());
    const auto record = testclient::readRecord(testclient::recordPath(fixture.program()));
    QCOMPARE(record.environment.value(u"VORNAK_PLAY_BOOTSTRAP_CODE"_s), u"a code"_s);
}

void ClientStartTest::windowHidesWhileTheClientRuns()
{
    FlowFixture fixture;
    const QString go = fixture.dataFolder() + u"/go"_s;
    start(fixture, "wait " + go.toUtf8() + "\nexit 0");
    QTRY_VERIFY(fixture.window().isHidden());
    QTest::qWait(200);
    QVERIFY(fixture.window().isHidden());
}

void ClientStartTest::secondStartDoesNothingWhileTheClientRuns()
{
    FlowFixture fixture;
    const QString go = fixture.dataFolder() + u"/go"_s;
    start(fixture, "wait " + go.toUtf8());
    testfiles::write(fixture.dataFolder() + u"/.restart"_s, "");
    fixture.window().startClient(fixture.program(), fixture.packageFolder(), u"28"_s);
    QCOMPARE(fixture.window().findChildren<QProcess*>().size(), 1);
    QVERIFY(QFile::exists(fixture.dataFolder() + u"/.restart"_s));
}

void ClientStartTest::cleanEndQuits()
{
    FlowFixture fixture;
    QTimer::singleShot(0, &fixture.window(), [&fixture] { start(fixture, "exit 0"); });
    QCOMPARE(execute(), 0);
    QVERIFY(fixture.window().isHidden());
    QVERIFY(fixture.server.paths().isEmpty());
}

void ClientStartTest::restartRequestWinsOverACleanEnd()
{
    FlowFixture fixture;
    fixture.tree.publish();
    start(fixture, "restart\nexit 0");
    QTRY_COMPARE(fixture.server.paths().size(), 4);
    QTRY_VERIFY(fixture.window().isVisible());
    QCOMPARE(fixture.server.paths().first(), QString(ContentTree::metadataPath));
    QVERIFY(!QFile::exists(fixture.dataFolder() + u"/.restart"_s));
    QCOMPARE(fixture.status(), QString());
}

void ClientStartTest::otherExitCodeBringsTheWindowBack()
{
    FlowFixture fixture;
    start(fixture, "exit 3");
    QTRY_COMPARE(fixture.status(), u"Quelra cannot be started"_s);
    QVERIFY(fixture.window().isVisible());
    QCOMPARE(fixture.find<QLabel>("logoLabel")->size(), QSize(240, 96));
}

void ClientStartTest::crashBringsTheWindowBack()
{
    FlowFixture fixture;
    start(fixture, "crash");
    QTRY_COMPARE(fixture.status(), u"Quelra cannot be started"_s);
    QVERIFY(fixture.window().isVisible());
}

void ClientStartTest::showRequestKeepsTheLaunchingLook()
{
    FlowFixture fixture;
    const QString go = fixture.dataFolder() + u"/go"_s;
    const QString end = fixture.dataFolder() + u"/end"_s;
    start(fixture, "wait " + go.toUtf8() + "\nshow\nwait " + end.toUtf8());
    QTRY_VERIFY(fixture.window().isHidden());
    testfiles::write(go, "");
    QTRY_VERIFY(fixture.window().isVisible());
    QVERIFY(!QFile::exists(fixture.dataFolder() + u"/.show-launcher"_s));
    QCOMPARE(fixture.find<QLabel>("logoLabel")->size(), QSize(196, 152));
}

void ClientStartTest::showRequestLeftBehindIsServedAfterTheEnd()
{
    FlowFixture fixture;
    start(fixture, "exit 3");
    QTRY_COMPARE(fixture.status(), u"Quelra cannot be started"_s);
    fixture.window().hide();
    fixture.window().setLogo(LauncherWindow::Launching);
    testfiles::write(fixture.dataFolder() + u"/.show-launcher"_s, "");
    QTRY_VERIFY(fixture.window().isVisible());
    QCOMPARE(fixture.find<QLabel>("logoLabel")->size(), QSize(240, 96));
    QCOMPARE(fixture.status(), QString());
}

void ClientStartTest::staleRequestsAreRemovedBeforeTheStart()
{
    FlowFixture fixture;
    for (const QString& name : {u"/.restart"_s, u"/.show-launcher"_s, u"/.sso-switch"_s})
        testfiles::write(fixture.dataFolder() + name, "stale");
    QTimer::singleShot(0, &fixture.window(), [&fixture] { start(fixture, "exit 0"); });
    QCOMPARE(execute(), 0);
    for (const QString& name : {u"/.restart"_s, u"/.show-launcher"_s, u"/.sso-switch"_s})
        QVERIFY(!QFile::exists(fixture.dataFolder() + name));
    QVERIFY(fixture.server.paths().isEmpty());
}

void ClientStartTest::failedStartSaysWhyAndAllowsAnother()
{
    FlowFixture fixture;
    fixture.window().show();
    fixture.window().startClient(fixture.dataFolder() + u"/missing"_s, fixture.dataFolder(),
                                 u"27"_s);
    QVERIFY2(fixture.status().startsWith(u"Quelra cannot be started: "_s),
             qPrintable(fixture.status()));
    QVERIFY(fixture.window().isVisible());
    QVERIFY(fixture.find<QPushButton>("mainButton")->isEnabled());
    start(fixture, "exit 3");
    QTRY_VERIFY(fixture.clientHasStarted());
}

void ClientStartTest::startThatTakesTooLongHidesNothing()
{
    FlowFixture fixture;
    startsHang = true;
    start(fixture, "exit 0");
    startsHang = false;
    QVERIFY2(fixture.status().startsWith(u"Quelra cannot be started: "_s),
             qPrintable(fixture.status()));
    // Qt tells that a process has started also when it kills it before.
    QTRY_VERIFY(fixture.window().findChildren<QProcess*>().isEmpty());
    QVERIFY(fixture.window().isVisible());
    QVERIFY(!fixture.clientHasStarted());
}

void ClientStartTest::talkativeClientIsNotHeldUpByABusyLauncher()
{
    FlowFixture fixture;
    const QString printed = fixture.dataFolder() + u"/printed"_s;
    start(fixture, "print 1000000\ncreate " + printed.toUtf8());
    // No event is processed meanwhile: a pipe would be full.
    const QDeadlineTimer limit(20s);
    while (!QFile::exists(printed) && !limit.hasExpired())
        QThread::msleep(5);
    QVERIFY(QFile::exists(printed));
}

VORNAK_WIDGET_TEST_MAIN(ClientStartTest)
#include "tst_clientstart.moc"
