#include "launcher/FlowFixture.h"
#include "support/IsolatedHome.h"

#include <QApplication>

#include <array>

using namespace Qt::StringLiterals;

/// What the launcher does by itself when it was started with "--patch".
class PatchFlowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void installsAndStartsTheClient();
    void startsAnUpToDateClientWithoutAClick();
    void updatesToAnotherVersionAndStartsTheClient();
    void waitsForThePlayerWhenOnlyAFileIsMissing();
    void startsTheClientAfterAnAutomaticInstallation();
    void doesNotStartTheClientAfterAFailedUpdate();
};

void PatchFlowTest::installsAndStartsTheClient()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    QTRY_VERIFY(fixture.clientHasStarted());
    QCOMPARE(fixture.window().installedVersion(), u"1.0.0"_s);
}

void PatchFlowTest::startsAnUpToDateClientWithoutAClick()
{
    FlowFixture fixture;
    fixture.tree.publish();
    QVERIFY(fixture.client().installPackage(fixture.tree.packageUrl(), fixture.tree.package,
                                            fixture.packageFolder(), nullptr));
    fixture.server.clearLog();
    fixture.window().loadConfiguration();
    QTRY_VERIFY(fixture.clientHasStarted());
    QCOMPARE(fixture.server.paths().last(), QString(ContentTree::hintsPath));
}

void PatchFlowTest::updatesToAnotherVersionAndStartsTheClient()
{
    FlowFixture fixture;
    fixture.install(u"package.json.version"_s, "0.9");
    fixture.publishAndLoad();
    QTRY_VERIFY(fixture.clientHasStarted());
    QCOMPARE(fixture.window().installedVersion(), u"1.0.0"_s);
}

void PatchFlowTest::waitsForThePlayerWhenOnlyAFileIsMissing()
{
    FlowFixture fixture;
    fixture.tree.publish();
    QVERIFY(fixture.client().installPackage(fixture.tree.packageUrl(), fixture.tree.package,
                                            fixture.packageFolder(), nullptr));
    QVERIFY(QFile::remove(fixture.packageFolder() + u"/data.bin"_s));
    fixture.server.clearLog();
    fixture.window().loadConfiguration();
    QCOMPARE(fixture.mode(), u"Update"_s);
    QCOMPARE(fixture.server.paths().last(), QString(ContentTree::hintsPath));
    QVERIFY(!fixture.clientHasStarted());
    fixture.click();
    QCOMPARE(fixture.installed("data.bin"), fixture.data);
}

void PatchFlowTest::startsTheClientAfterAnAutomaticInstallation()
{
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().installautomatically = true;
    fixture.publishAndLoad();
    QTRY_VERIFY(fixture.clientHasStarted());
}

void PatchFlowTest::doesNotStartTheClientAfterAFailedUpdate()
{
    FlowFixture fixture;
    fixture.server.route(fixture.tree.packedPath(fixture.tree.package.files.last()),
                         HttpAnswer::error(404));
    fixture.publishAndLoad();
    QVERIFY(!fixture.clientHasStarted());
    QCOMPARE(fixture.mode(), u"Download"_s);
}

int main(int argc, char* argv[])
{
    const IsolatedHome home;
    // The flow reads the application's arguments; Qt Test gets its own as they came.
    std::array<char*, 2> arguments{argv[0], const_cast<char*>("--patch")};
    int count = static_cast<int>(arguments.size());
    const QApplication application(count, arguments.data());
    PatchFlowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_patchflow.moc"
