#include "launcher/FlowFixture.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"

#include <QApplication>
#include <QSettings>
#include <QTimer>

using namespace Qt::StringLiterals;

class FlowTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void asksForDocumentsInTheirOrder();
    void offersDownloadThenPlay();
    void reportsMissingConfiguration();
    void reportsConfigurationWithoutPackages();
    void reportsMissingBuild();
    void usesTheFirstPackageOnly();
    void emptyFolderNameMeansQuelra();
    void logoLinkFollowsHttpAddressesOnly_data();
    void logoLinkFollowsHttpAddressesOnly();
    void clickWhileTheConfigurationLoadsIsServedAfterwards();
    void clickThatTheFlowForestallsIsForgotten();
    void clickDuringAnUpdateDoesNothing();
    void missingAddressesAreNotAskedFor();
    void folderNameThatLeavesItsFolderIsNeitherReadNorWritten_data();
    void folderNameThatLeavesItsFolderIsNeitherReadNorWritten();
    void executableThatLeavesItsFolderCountsAsMissing_data();
    void executableThatLeavesItsFolderCountsAsMissing();
    void missingExecutableSaysSo();
    void playTellsTheVersionOfTheInstalledDocument();
    void spritePacksAreFoundByTheirFolder();
    void devBuildNeverReplacesItself();
    void closingTheWindowEndsTheFlowWithinASecond_data();
    void closingTheWindowEndsTheFlowWithinASecond();
};

void FlowTest::asksForDocumentsInTheirOrder()
{
    FlowFixture fixture;
    fixture.tree.assetsIdentity = u"a1"_s;
    fixture.tree.addAsset(u"asset.bin"_s, "asset");
    fixture.publishAndLoad();
    const QStringList documents{
        ContentTree::metadataPath, ContentTree::versionPath, ContentTree::assetsVersionPath,
        ContentTree::packagePath,  ContentTree::hintsPath,
    };
    QCOMPARE(fixture.server.paths(), documents);
    QCOMPARE(fixture.server.mostTransfers(), 1);

    fixture.server.clearLog();
    fixture.click();
    QStringList installation;
    for (const OrlFile& file : fixture.tree.package.files)
        installation.append(fixture.tree.packedPath(file));
    installation.append(ContentTree::assetsVersionPath);
    installation.append(ContentTree::assetsPath);
    installation.append(fixture.tree.packedPath(fixture.tree.assets.first()));
    QCOMPARE(fixture.server.paths(), installation);
    QCOMPARE(fixture.server.mostTransfers(), 1);
}

void FlowTest::offersDownloadThenPlay()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    QCOMPARE(fixture.mode(), u"Download"_s);
    QCOMPARE(fixture.find<QLabel>("versionLabel")->text(), u"1.0.0"_s);
    fixture.click();
    QCOMPARE(fixture.mode(), u"Play"_s);
    QCOMPARE(fixture.status(), QString());
    QVERIFY(fixture.find<QProgressBar>("progressBar")->isHidden());
    QCOMPARE(fixture.installed("data.bin"), fixture.data);
    QCOMPARE(fixture.window().installedVersion(), u"1.0.0"_s);
    QVERIFY(!fixture.clientHasStarted());
    fixture.click();
    QTRY_VERIFY(fixture.clientHasStarted());
}

void FlowTest::reportsMissingConfiguration()
{
    FlowFixture fixture;
    fixture.window().loadConfiguration();
    QVERIFY2(fixture.message().startsWith(u"Download failed: "_s), qPrintable(fixture.message()));
    QCOMPARE(fixture.server.paths(), QStringList{ContentTree::metadataPath});
    fixture.server.route(ContentTree::metadataPath, QByteArray("not JSON"));
    fixture.window().loadConfiguration();
    QCOMPARE(fixture.message(),
             u"JSON package configuration file could not be parsed, using default package."_s);
}

void FlowTest::reportsConfigurationWithoutPackages()
{
    FlowFixture fixture;
    fixture.server.route(ContentTree::metadataPath, QByteArray("{}"));
    fixture.window().loadConfiguration();
    QCOMPARE(fixture.message(), u"Download of main configuration failed:"_s);
    QCOMPARE(fixture.mode(), u"Download"_s);
}

void FlowTest::reportsMissingBuild()
{
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().builds.first().os = u"Windows"_s;
    fixture.publishAndLoad();
    QCOMPARE(fixture.message(), u"Could not determine patch information. Your client might no "
                                u"longer be supported."_s);
    QCOMPARE(fixture.server.paths(), QStringList{ContentTree::metadataPath});
}

void FlowTest::usesTheFirstPackageOnly()
{
    FlowFixture fixture;
    LauncherPackage second = fixture.tree.metadata.packages.first();
    second.directoryname = u"Second"_s;
    fixture.tree.metadata.packages.append(second);
    fixture.tree.metadata.packages.first().directoryname = u"First"_s;
    fixture.publishAndLoad();
    QCOMPARE(fixture.window().packagePath(), fixture.dataFolder() + u"/packages/First"_s);
}

void FlowTest::emptyFolderNameMeansQuelra()
{
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().directoryname.clear();
    fixture.publishAndLoad();
    fixture.click();
    QCOMPARE(fixture.window().packagePath(), fixture.dataFolder() + u"/packages/Quelra"_s);
    QCOMPARE(fixture.installed("package.json.version"), QByteArray("1.0.0"));
}

void FlowTest::logoLinkFollowsHttpAddressesOnly_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("link");
    const QString built = u"https://www.vornak.example"_s;
    QTest::newRow("https") << u"https://a.example/x y"_s << u"https://a.example/x%20y"_s;
    QTest::newRow("http") << u"http://a.example"_s << u"http://a.example"_s;
    QTest::newRow("capitals") << u"HTTP://a.example"_s << u"http://a.example"_s;
    QTest::newRow("ftp") << u"ftp://a.example"_s << built;
    QTest::newRow("script") << u"javascript:alert(1)"_s << built;
    QTest::newRow("file") << u"file:///etc/passwd"_s << built;
    QTest::newRow("invalid") << u"http://[broken"_s << built;
    QTest::newRow("none") << QString() << built;
}

void FlowTest::logoLinkFollowsHttpAddressesOnly()
{
    QFETCH(QString, target);
    QFETCH(QString, link);
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().logolinktarget = target;
    fixture.publishAndLoad();
    QCOMPARE(fixture.find<QLabel>("makerLogoLabel")->text(),
             u"<a href=\"%1\"><img src=\":/images/launcher/OrlenvikLogo.png\"></a>"_s.arg(link));
}

void FlowTest::clickWhileTheConfigurationLoadsIsServedAfterwards()
{
    FlowFixture fixture;
    fixture.tree.publish();
    int clicks = 0;
    fixture.server.route(ContentTree::versionPath,
                         HttpAnswer::ok("1.0.0").calling([&fixture, &clicks] {
                             ++clicks;
                             fixture.click();
                             fixture.click();
                         }));
    fixture.window().loadConfiguration();
    QCOMPARE(clicks, 1);
    // Not in the middle of it.
    QVERIFY(fixture.window().installedVersion().isEmpty());
    QCOMPARE(fixture.server.count(ContentTree::packagePath), 1);
    QTRY_COMPARE(fixture.mode(), u"Play"_s);
    QCOMPARE(fixture.window().installedVersion(), u"1.0.0"_s);
    // Both clicks meant the same.
    QTest::qWait(50);
    QVERIFY(!fixture.clientHasStarted());
}

void FlowTest::clickThatTheFlowForestallsIsForgotten()
{
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().installautomatically = true;
    fixture.tree.publish();
    fixture.server.route(ContentTree::versionPath,
                         HttpAnswer::ok("1.0.0").calling([&fixture] { fixture.click(); }));
    fixture.window().loadConfiguration();
    QCOMPARE(fixture.mode(), u"Play"_s);
    QTest::qWait(50);
    QVERIFY(!fixture.clientHasStarted());
}

void FlowTest::clickDuringAnUpdateDoesNothing()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    // The button is disabled, and the slot itself does nothing either.
    int calls = 0;
    fixture.server.setRequestHook([&fixture, &calls](const QString&) {
        ++calls;
        QVERIFY(!fixture.find<QPushButton>("mainButton")->isEnabled());
        fixture.window().onMainButtonClicked();
    });
    fixture.server.clearLog();
    fixture.click();
    QCOMPARE(calls, 2);
    QCOMPARE(fixture.server.paths().size(), 2);
    QTest::qWait(50);
    QVERIFY(!fixture.clientHasStarted());
}

void FlowTest::missingAddressesAreNotAskedFor()
{
    FlowFixture fixture;
    LauncherBuild& build = fixture.tree.metadata.packages.first().builds.first();
    build.versionurl.clear();
    build.url.clear();
    // What many servers have there.
    fixture.server.route(u"/"_s, QByteArray("<html>welcome</html>"));
    fixture.publishAndLoad();
    QCOMPARE(fixture.find<QLabel>("versionLabel")->text(), QString());
    fixture.click();
    QCOMPARE(fixture.mode(), u"Download"_s);
    QCOMPARE(fixture.server.count(u"/"_s), 0);
}

void FlowTest::folderNameThatLeavesItsFolderIsNeitherReadNorWritten_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("up") << u"../outside"_s;
    QTest::newRow("up behind a folder") << u"a/../../../outside"_s;
    QTest::newRow("absolute") << QDir::tempPath() + u"/outside"_s;
}

void FlowTest::folderNameThatLeavesItsFolderIsNeitherReadNorWritten()
{
    QFETCH(QString, name);
    // Where files would go whose folder has no name.
    const QTemporaryDir current;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(current.path()));
    FlowFixture fixture;
    // Other runs share the folder of temporary files.
    name.append(u'-' + QDir(fixture.dataFolder()).dirName());
    const QString outside =
        QDir::cleanPath(QDir(fixture.dataFolder() + u"/packages"_s).absoluteFilePath(name));
    QVERIFY(!QFile::exists(outside));
    testfiles::write(outside + u"/package.json.version"_s, "1.0.0");
    fixture.tree.metadata.packages.first().directoryname = name;
    fixture.publishAndLoad();
    QCOMPARE(fixture.window().installedVersion(), QString());
    QCOMPARE(fixture.mode(), u"Download"_s);
    fixture.click();
    QCOMPARE(fixture.mode(), u"Download"_s);
    fixture.window().play();
    QCOMPARE(fixture.status(), u"Quelra cannot be started"_s);
    QCOMPARE(testfiles::list(outside), QStringList{u"package.json.version"_s});
    QCOMPARE(testfiles::read(outside + u"/package.json.version"_s), QByteArray("1.0.0"));
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(testfiles::list(current.path()), QStringList());
    QVERIFY(QDir(outside).removeRecursively());
}

void FlowTest::executableThatLeavesItsFolderCountsAsMissing_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("up") << u"../../program"_s;
    QTest::newRow("absolute") << QString();
}

void FlowTest::executableThatLeavesItsFolderCountsAsMissing()
{
    QFETCH(QString, name);
    FlowFixture fixture;
    const QString outside = fixture.dataFolder() + u"/program"_s;
    testfiles::write(outside, testclient::programBytes());
    const auto before = QFile::permissions(outside);
    fixture.tree.package.executable = name.isEmpty() ? outside : name;
    fixture.publishAndLoad();
    fixture.click();
    QCOMPARE(fixture.mode(), u"Play"_s);
    fixture.click();
    QCOMPARE(fixture.status(), u"Quelra cannot be started"_s);
    QVERIFY(!QFile::exists(testclient::recordPath(outside)));
    QCOMPARE(QFile::permissions(outside), before);
}

void FlowTest::missingExecutableSaysSo()
{
    FlowFixture fixture;
    fixture.window().play();
    QCOMPARE(fixture.status(), u"Quelra cannot be started"_s);
    QVERIFY(fixture.find<QPushButton>("mainButton")->isEnabled());
    QCOMPARE(fixture.find<QLabel>("logoLabel")->size(), QSize(240, 96));
}

void FlowTest::playTellsTheVersionOfTheInstalledDocument()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.click();
    fixture.install(u"package.json"_s, R"({"version":"7","executable":"bin/client"})");
    fixture.window().play();
    QTRY_VERIFY(fixture.clientHasStarted());
    const auto record = testclient::readRecord(testclient::recordPath(fixture.program()));
    QCOMPARE(record.environment.value(u"VORNAK_CLIENT_REVISION"_s), u"7"_s);
    QCOMPARE(record.workingDirectory, fixture.packageFolder());
}

void FlowTest::spritePacksAreFoundByTheirFolder()
{
    FlowFixture fixture;
    QVERIFY(!fixture.window().hasSpritePacks());
    fixture.install(u".vornak-sprite-packs/a"_s, "x");
    QVERIFY(fixture.window().hasSpritePacks());
}

void FlowTest::devBuildNeverReplacesItself()
{
    FlowFixture fixture;
    fixture.tree.metadata.launcherBuilds = fixture.tree.metadata.packages.first().builds;
    fixture.publishAndLoad();
    QCOMPARE(fixture.server.paths().last(), QString(ContentTree::hintsPath));
    QVERIFY(!QFile::exists(fixture.dataFolder() + u"/self-update"_s));
}

void FlowTest::closingTheWindowEndsTheFlowWithinASecond_data()
{
    QTest::addColumn<QString>("stalled");
    QTest::newRow("configuration") << QString(ContentTree::metadataPath);
    QTest::newRow("version") << QString(ContentTree::versionPath);
    QTest::newRow("document") << QString(ContentTree::packagePath);
    QTest::newRow("hints") << QString(ContentTree::hintsPath);
    QTest::newRow("file") << u"second file"_s;
}

void FlowTest::closingTheWindowEndsTheFlowWithinASecond()
{
    QFETCH(QString, stalled);
    FlowFixture fixture;
    fixture.tree.metadata.packages.first().installautomatically = true;
    fixture.tree.publish();
    if (!stalled.startsWith(u'/'))
        stalled = fixture.tree.packedPath(fixture.tree.package.files.last());
    QElapsedTimer sinceClosing;
    fixture.server.route(stalled, HttpAnswer::stall().calling([&fixture, &sinceClosing] {
        QTimer::singleShot(20, &fixture.window(), [&fixture, &sinceClosing] {
            sinceClosing.start();
            fixture.window().close();
        });
    }));
    fixture.window().show();
    QTimer::singleShot(0, &fixture.window(), &LauncherWindow::loadConfiguration);
    QTimer::singleShot(20'000, qApp, [] { QCoreApplication::exit(9); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY2(sinceClosing.elapsed() < 1000, qPrintable(QString::number(sinceClosing.elapsed())));
    QCOMPARE(fixture.server.paths().last(), stalled);
    QVERIFY(fixture.installed("package.json.version").isNull());
    QVERIFY(fixture.installed("package.json").isNull());
}

VORNAK_WIDGET_TEST_MAIN(FlowTest)
#include "tst_flow.moc"
