#include "launcher/FlowFixture.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"

#include <QApplication>
#include <QSettings>
#include <QTimer>

using namespace Qt::StringLiterals;

class UpdateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void offersUpdateForAnotherVersionAndInstallsIt();
    void offersUpdateForADamagedFile();
    void offersUpdateForStaleAssets();
    void installsAutomaticallyOnlyWhenNothingIsInstalled();
    void failedUpdateWipesItsMessageAndKeepsTheOldVersion();
    void missingAssetListIsAFailureWithoutAMarker_data();
    void missingAssetListIsAFailureWithoutAMarker();
    void installsAssetsAfterThePackage();
    void assetsThatChangedSinceTheStartAreCurrentOnceInstalled();
    void unreachableVersionIsNeverUpToDate();
    void progressShowsWhileAnUpdateRuns();
};

void UpdateTest::offersUpdateForAnotherVersionAndInstallsIt()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.click();
    fixture.tree.package.version = u"1.1.0"_s;
    fixture.tree.addFile(u"new.bin"_s, "new");
    fixture.publishAndLoad();
    QCOMPARE(fixture.mode(), u"Update"_s);
    fixture.server.clearLog();
    fixture.click();
    QCOMPARE(fixture.mode(), u"Play"_s);
    QCOMPARE(fixture.window().installedVersion(), u"1.1.0"_s);
    QCOMPARE(fixture.server.paths(),
             QStringList{fixture.tree.packedPath(fixture.tree.package.files.last())});
}

void UpdateTest::offersUpdateForADamagedFile()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.click();
    QByteArray damaged = fixture.data;
    damaged[5] = static_cast<char>(damaged.at(5) ^ 1);
    fixture.install(u"data.bin"_s, damaged);
    fixture.window().loadConfiguration();
    QCOMPARE(fixture.mode(), u"Update"_s);
    fixture.click();
    QCOMPARE(fixture.mode(), u"Play"_s);
    QCOMPARE(fixture.installed("data.bin"), fixture.data);
}

void UpdateTest::offersUpdateForStaleAssets()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.click();
    fixture.tree.assetsIdentity = u"a1"_s;
    fixture.tree.addAsset(u"asset.bin"_s, "asset");
    fixture.publishAndLoad();
    QCOMPARE(fixture.mode(), u"Update"_s);
    fixture.click();
    QCOMPARE(fixture.mode(), u"Play"_s);
    QCOMPARE(fixture.installed("assets.json.sha256"), QByteArray("a1"));
    QCOMPARE(fixture.installed("asset.bin"), QByteArray("asset"));
}

void UpdateTest::installsAutomaticallyOnlyWhenNothingIsInstalled()
{
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().installautomatically = true;
    fixture.publishAndLoad();
    QCOMPARE(fixture.window().installedVersion(), u"1.0.0"_s);
    QCOMPARE(fixture.mode(), u"Play"_s);
    QVERIFY(!fixture.clientHasStarted());

    fixture.tree.package.version = u"1.1.0"_s;
    fixture.publishAndLoad();
    QCOMPARE(fixture.window().installedVersion(), u"1.0.0"_s);
    QCOMPARE(fixture.mode(), u"Update"_s);
}

void UpdateTest::failedUpdateWipesItsMessageAndKeepsTheOldVersion()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.click();
    fixture.tree.package.version = u"1.1.0"_s;
    const OrlFile file = fixture.tree.addFile(u"new.bin"_s, "new");
    fixture.server.route(fixture.tree.packedPath(file), HttpAnswer::error(500));
    fixture.publishAndLoad();
    const MessageCapture log;
    fixture.click();
    const QStringList told = log.warnings().filter(u"The update failed: Download failed: "_s);
    QCOMPARE(told.size(), 1);
    QVERIFY2(told.first().contains(fixture.tree.packedPath(file)), qPrintable(told.first()));
    QCOMPARE(fixture.mode(), u"Update"_s);
    QCOMPARE(fixture.status(), QString());
    QVERIFY(fixture.find<QPushButton>("mainButton")->isEnabled());
    QCOMPARE(fixture.installed("package.json.version"), QByteArray("1.0.0"));
    QCOMPARE(fixture.installed("partial.package.json.version"), QByteArray("1.1.0"));
}

void UpdateTest::missingAssetListIsAFailureWithoutAMarker_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("not found") << 404 << QByteArray("gone");
    QTest::newRow("not JSON") << 200 << QByteArray("<html>");
    QTest::newRow("an array") << 200 << QByteArray("[]");
    QTest::newRow("empty") << 200 << QByteArray();
}

void UpdateTest::missingAssetListIsAFailureWithoutAMarker()
{
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    FlowFixture fixture;
    fixture.tree.assetsIdentity = u"a1"_s;
    fixture.tree.addAsset(u"asset.bin"_s, "asset");
    fixture.publishAndLoad();
    HttpAnswer answer = HttpAnswer::ok(body);
    answer.status = status;
    fixture.server.route(ContentTree::assetsPath, answer);
    fixture.click();
    QCOMPARE(fixture.installed("package.json.version"), QByteArray("1.0.0"));
    QVERIFY(fixture.installed("assets.json.sha256").isNull());
    QCOMPARE(fixture.mode(), u"Update"_s);
    QVERIFY(fixture.find<QPushButton>("mainButton")->toolTip() != u"Update"_s);
}

void UpdateTest::assetsThatChangedSinceTheStartAreCurrentOnceInstalled()
{
    FlowFixture fixture;
    fixture.tree.assetsIdentity = u"a1"_s;
    fixture.tree.addAsset(u"asset.bin"_s, "asset");
    fixture.publishAndLoad();
    fixture.tree.assetsIdentity = u"a2"_s;
    fixture.tree.publish();
    fixture.click();
    QCOMPARE(fixture.installed("assets.json.sha256"), QByteArray("a2"));
    QCOMPARE(fixture.mode(), u"Play"_s);
}

void UpdateTest::installsAssetsAfterThePackage()
{
    FlowFixture fixture;
    fixture.tree.assetsIdentity = u"a1"_s;
    fixture.tree.addAsset(u"asset.bin"_s, "asset");
    fixture.publishAndLoad();
    QByteArray versionWhenAssetsWereAskedFor;
    fixture.server.route(
        ContentTree::assetsPath, HttpAnswer::ok(assetListJson(fixture.tree.assets)).calling([&] {
            versionWhenAssetsWereAskedFor = fixture.installed("package.json.version");
        }));
    fixture.click();
    QCOMPARE(versionWhenAssetsWereAskedFor, QByteArray("1.0.0"));
    QCOMPARE(fixture.mode(), u"Play"_s);
}

void UpdateTest::unreachableVersionIsNeverUpToDate()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.click();
    fixture.server.removeRoute(ContentTree::versionPath);
    fixture.window().loadConfiguration();
    // What is installed is shown and offered, but a click fetches the document again.
    QCOMPARE(fixture.find<QLabel>("versionLabel")->text(), u"1.0.0"_s);
    fixture.server.clearLog();
    fixture.click();
    QVERIFY(fixture.server.paths().contains(ContentTree::packagePath));
    QVERIFY(!fixture.clientHasStarted());
}

void UpdateTest::progressShowsWhileAnUpdateRuns()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    int highest = 0;
    QString text;
    connect(&fixture.client(), &PackageClient::progress, &fixture.window(), [&] {
        auto* bar = fixture.find<QProgressBar>("progressBar");
        QVERIFY(!bar->isHidden());
        highest = qMax(highest, bar->value());
        text = fixture.status();
    });
    fixture.click();
    QCOMPARE(highest, 100);
    QVERIFY2(text.startsWith(u"ETA 00:00:00 "_s), qPrintable(text));
}

VORNAK_WIDGET_TEST_MAIN(UpdateTest)
#include "tst_update.moc"
