#include "launcher/FlowFixture.h"
#include "launcher/SelfUpdateFiles.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"

#include <QApplication>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1StringView documentPath{"/launcher/self/package.json"};
constexpr QLatin1StringView versionPath{"/launcher/self/version.txt"};

} // namespace

/// A launcher of version 1.0, which this program is linked as, in a folder of its own.
class SelfUpdateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void sameVersionFetchesNothingMore();
    void unreachableVersionLeavesTheLauncherAlone();
    void documentWithoutAVersionLeavesTheLauncherAlone();
    void whatIsHereAlreadyIsNotFetchedAgain();
    void whatIsNeverCopiedIsNotMissed_data();
    void whatIsNeverCopiedIsNotMissed();
    void onlyOneLauncherReplacesItself();
    void showsItsProgress();
    void anotherVersionIsInstalledStartedAndQuits();
    void recordsAndHiddenFilesAreNotCopied();
    void failedInstallationSaysWhyAndTheOldLauncherGoesOn();
    void programThatLeavesTheFolderIsNotStarted();

private:
    static QString folder() { return QCoreApplication::applicationDirPath(); }
    static QString program() { return folder() + u"/app/next-launcher"_s; }
    void offer(FlowFixture& fixture, const QString& version);

    OrlPackageDoc m_launcher;
};

void SelfUpdateTest::init()
{
    QDir(folder() + u"/app"_s).removeRecursively();
    m_launcher = {};
}

// Version 1.1 unless a test has filled the document already.
void SelfUpdateTest::offer(FlowFixture& fixture, const QString& version)
{
    LauncherBuild build;
    build.os = u"windows"_s;
    build.architecture = u"x86_64"_s;
    build.url = fixture.server.url(documentPath);
    build.versionurl = fixture.server.url(versionPath);
    fixture.tree.metadata.launcherBuilds = {build};
    fixture.server.route(versionPath, version.toUtf8() + "\n");
    m_launcher.version = version;
    m_launcher.executable = u"app/next-launcher"_s;
    const QByteArray bytes = testclient::programBytes();
    const QByteArray packed = packLzma(bytes);
    m_launcher.files.append(fileEntry(m_launcher.executable, u"p.lzma"_s, bytes, packed));
    fixture.server.route(u"/launcher/self/p.lzma"_s, packed);
    fixture.server.route(documentPath, packageDocJson(m_launcher));
}

void SelfUpdateTest::sameVersionFetchesNothingMore()
{
    FlowFixture fixture;
    offer(fixture, u"1.0"_s);
    fixture.publishAndLoad();
    QCOMPARE(fixture.server.paths().last(), QString(versionPath));
    QVERIFY(!QFile::exists(program()));
}

void SelfUpdateTest::unreachableVersionLeavesTheLauncherAlone()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    fixture.server.removeRoute(versionPath);
    fixture.publishAndLoad();
    QCOMPARE(fixture.server.paths().last(), QString(versionPath));
}

void SelfUpdateTest::documentWithoutAVersionLeavesTheLauncherAlone()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    fixture.server.route(documentPath, QByteArray("{}"));
    fixture.publishAndLoad();
    QCOMPARE(fixture.server.paths().last(), QString(documentPath));
    QVERIFY(!QFile::exists(fixture.dataFolder() + u"/self-update"_s));
}

void SelfUpdateTest::whatIsHereAlreadyIsNotFetchedAgain()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    testfiles::write(program(), testclient::programBytes());
    fixture.publishAndLoad();
    QCOMPARE(fixture.server.paths().last(), QString(documentPath));
    QVERIFY(!QFile::exists(fixture.dataFolder() + u"/self-update"_s));
    QVERIFY(!QFile::exists(testclient::recordPath(program())));
}

void SelfUpdateTest::whatIsNeverCopiedIsNotMissed_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name :
         {"package.json", "assets.json", "./assets.json.sha256", ".hidden", "data/.hidden/file"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void SelfUpdateTest::whatIsNeverCopiedIsNotMissed()
{
    QFETCH(QString, name);
    FlowFixture fixture;
    m_launcher.files.append(fileEntry(name, u"q.lzma"_s, "x", packLzma("x")));
    offer(fixture, u"1.1"_s);
    testfiles::write(program(), testclient::programBytes());
    fixture.publishAndLoad();
    QCOMPARE(fixture.server.paths().last(), QString(documentPath));
    QVERIFY(!QFile::exists(testclient::recordPath(program())));
}

void SelfUpdateTest::onlyOneLauncherReplacesItself()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    const QString file = fixture.dataFolder() + u"/self-update/half-made"_s;
    testfiles::write(file, "x");
    {
        const auto other = lockSelfUpdate(fixture.dataFolder() + u"/self-update"_s);
        QVERIFY(other);
        fixture.publishAndLoad();
    }
    QCOMPARE(fixture.server.paths().last(), QString(documentPath));
    QVERIFY(QFile::exists(file));
    QVERIFY(!QFile::exists(program()));
    QCOMPARE(fixture.mode(), u"Download"_s);
    QVERIFY(fixture.find<QPushButton>("mainButton")->isEnabled());
}

void SelfUpdateTest::showsItsProgress()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    const auto* bar = fixture.find<QProgressBar>("progressBar");
    const auto* button = fixture.find<QPushButton>("mainButton");
    bool looksBusy = false;
    HttpAnswer damaged = HttpAnswer::ok("something else");
    damaged.onRequest = [&] {
        looksBusy = !bar->isHidden() && !button->isEnabled() && fixture.mode() == u"Update"_s;
    };
    fixture.server.route(u"/launcher/self/p.lzma"_s, damaged);
    fixture.publishAndLoad();
    QVERIFY(looksBusy);
    QVERIFY(bar->isHidden());
    QVERIFY(button->isEnabled());
}

void SelfUpdateTest::anotherVersionIsInstalledStartedAndQuits()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    fixture.tree.metadata.packages.first().installautomatically = true;
    fixture.tree.publish();
    testfiles::write(fixture.dataFolder() + u"/self-update/stale"_s, "x");
    QTimer::singleShot(0, &fixture.window(), &LauncherWindow::loadConfiguration);
    QTimer::singleShot(20'000, qApp, [] { QCoreApplication::exit(9); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QTRY_VERIFY(QFile::exists(testclient::recordPath(program())));
    const auto record = testclient::readRecord(testclient::recordPath(program()));
    QCOMPARE(record.arguments, QStringList());
    QCOMPARE(record.workingDirectory, folder());
    QVERIFY(QFileInfo(program()).isExecutable());
    QVERIFY(!QFile::exists(fixture.dataFolder() + u"/self-update/stale"_s));
    // The new launcher carries on; this one does nothing more.
    QVERIFY(fixture.window().installedVersion().isEmpty());
}

void SelfUpdateTest::recordsAndHiddenFilesAreNotCopied()
{
    FlowFixture fixture;
    for (const QString& name :
         {u"app/plain.txt"_s, u"app/package.json"_s, u"assets.json"_s, u"app/.hidden"_s}) {
        const QByteArray packed = packLzma("fresh");
        const QString url = QString::number(m_launcher.files.size()) + u".lzma"_s;
        m_launcher.files.append(fileEntry(name, url, "fresh", packed));
        fixture.server.route(u"/launcher/self/"_s + url, packed);
    }
    testfiles::write(folder() + u"/package.json"_s, "mine");
    testfiles::write(folder() + u"/assets.json"_s, "mine");
    testfiles::write(folder() + u"/app/plain.txt"_s, "old");
    offer(fixture, u"1.1"_s);
    fixture.publishAndLoad();
    QCOMPARE(testfiles::read(folder() + u"/app/plain.txt"_s), QByteArray("fresh"));
    QCOMPARE(testfiles::read(folder() + u"/app/package.json"_s), QByteArray("fresh"));
    QCOMPARE(testfiles::read(folder() + u"/package.json"_s), QByteArray("mine"));
    QCOMPARE(testfiles::read(folder() + u"/assets.json"_s), QByteArray("mine"));
    QVERIFY(!QFile::exists(folder() + u"/app/.hidden"_s));
}

void SelfUpdateTest::failedInstallationSaysWhyAndTheOldLauncherGoesOn()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    fixture.server.route(u"/launcher/self/p.lzma"_s, QByteArray("something else"));
    const MessageCapture log;
    fixture.publishAndLoad();
    QCOMPARE(fixture.status(), u"Download failed: app/next-launcher"_s);
    QCOMPARE(log.warnings().filter(u"The launcher could not be replaced"_s),
             QStringList(u"The launcher could not be replaced: Download failed: "
                         "app/next-launcher"_s));
    QVERIFY(!QFile::exists(program()));
    QCOMPARE(fixture.mode(), u"Download"_s);
}

void SelfUpdateTest::programThatLeavesTheFolderIsNotStarted()
{
    FlowFixture fixture;
    offer(fixture, u"1.1"_s);
    const QString outside = fixture.dataFolder() + u"/outside"_s;
    testfiles::write(outside, testclient::programBytes());
    PackageClient::makeExecutable(outside);
    m_launcher.executable = outside;
    fixture.server.route(documentPath, packageDocJson(m_launcher));
    fixture.tree.publish();
    QVERIFY(!fixture.window().checkSelfUpdate(fixture.tree.metadata));
    QVERIFY(!QFile::exists(testclient::recordPath(outside)));
}

VORNAK_WIDGET_TEST_MAIN(SelfUpdateTest)
#include "tst_selfupdate.moc"
