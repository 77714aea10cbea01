#include "launcher/Installation.h"
#include "package/FileLock.h"
#include "package/PackageClient.h"
#include "support/ContentTree.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using Offer = Installation::Offer;

Q_DECLARE_METATYPE(Installation::Offer)

namespace {

/// A data folder in front of a server that offers version 1.0.0 with one file and one asset.
struct Fixture
{
    Fixture()
    {
        client.setBaseUrl(server.baseUrl());
        client.setDataFolder(data.path());
        tree.addFile(u"data.bin"_s, "content");
        tree.addAsset(u"asset.bin"_s, "asset");
        tree.assetsIdentity = u"a1"_s;
        tree.publish();
    }

    [[nodiscard]] bool select() { return installation.select(tree.metadata.packages.first()); }
    [[nodiscard]] QString path(const QString& name) const
    {
        return data.filePath(u"packages/Quelra/"_s + name);
    }

    QTemporaryDir data;
    ScriptedHttpServer server;
    ContentTree tree{server};
    PackageClient client;
    Installation installation{&client};
};

} // namespace

/// An installation without a window.
class InstallationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void offersWhatFitsTheDisk_data();
    void offersWhatFitsTheDisk();
    void unreachableServerLeavesAWholeInstallationPlayable();
    void packageWithoutABuildForThisPlatformKeepsTheOldBuild();
    void folderOutsideThePackagesIsNone();
    void damageIsSeenAtTheNextLookOnly();
    void failedUpdateKeepsTheDocumentAndWhatIsOffered();
    void updateInstallsPackageAndAssets();
    void nothingIsUpToDateBeforeAnythingIsKnown();
    void identityOfAssetsIsKeptWhenTheServerNamesNoAddressForIt();
    void assetsWithoutAnIdentityAreLeftAlone();
    void versionOfTheDocumentIsWhatIsInstalled();
    void waitsForAnotherLauncherAndSaysSo();
    void lockThatCannotBeMadeIsLogged();
};

void InstallationTest::offersWhatFitsTheDisk_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("assets");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<Offer>("offer");
    QTest::addColumn<bool>("upToDate");
    const QByteArray whole = "content";
    QTest::newRow("nothing") << QString() << QString() << QByteArray() << Offer::Download << false;
    QTest::newRow("files without a record")
        << QString() << u"a1"_s << whole << Offer::Download << false;
    QTest::newRow("all of it") << u"1.0.0"_s << u"a1"_s << whole << Offer::Play << true;
    QTest::newRow("another version") << u"0.9"_s << u"a1"_s << whole << Offer::Update << false;
    QTest::newRow("version in other letters")
        << u"1.0.0B"_s << u"a1"_s << whole << Offer::Update << false;
    QTest::newRow("other assets") << u"1.0.0"_s << u"a0"_s << whole << Offer::Update << false;
    QTest::newRow("a missing file")
        << u"1.0.0"_s << u"a1"_s << QByteArray() << Offer::Update << false;
    QTest::newRow("a damaged file")
        << u"1.0.0"_s << u"a1"_s << QByteArray("Content") << Offer::Update << false;
}

void InstallationTest::offersWhatFitsTheDisk()
{
    QFETCH(QString, version);
    QFETCH(QString, assets);
    QFETCH(QByteArray, content);
    Fixture fixture;
    if (!version.isEmpty())
        testfiles::write(fixture.path(u"package.json.version"_s), version.toUtf8());
    if (!assets.isEmpty())
        testfiles::write(fixture.path(u"assets.json.sha256"_s), assets.toUtf8());
    if (!content.isEmpty())
        testfiles::write(fixture.path(u"data.bin"_s), content);
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    QTEST(fixture.installation.offer(), "offer");
    QTEST(fixture.installation.isUpToDate(), "upToDate");
}

void InstallationTest::unreachableServerLeavesAWholeInstallationPlayable()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    QString error;
    fixture.installation.fetchOffered();
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    fixture.server.route(ContentTree::versionPath, HttpAnswer::error(500));
    fixture.server.route(ContentTree::packagePath, HttpAnswer::error(500));
    const MessageCapture messages;
    fixture.installation.fetchOffered();
    QCOMPARE(fixture.installation.remoteVersion, QString());
    QCOMPARE(fixture.installation.offer(), Offer::Play);
    QVERIFY(!fixture.installation.isUpToDate());
}

void InstallationTest::packageWithoutABuildForThisPlatformKeepsTheOldBuild()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    const LauncherBuild before = fixture.installation.build;
    LauncherPackage other = fixture.tree.metadata.packages.first();
    other.builds.first().os = u"elsewhere"_s;
    QVERIFY(!fixture.installation.select(other));
    QCOMPARE(fixture.installation.package, other);
    QCOMPARE(fixture.installation.build, before);
}

void InstallationTest::folderOutsideThePackagesIsNone()
{
    Fixture fixture;
    fixture.tree.metadata.packages.first().directoryname = u"../.."_s;
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    QCOMPARE(fixture.installation.folder(), QString());
    QCOMPARE(fixture.installation.offer(), Offer::Download);
    const QStringList before = testfiles::list(fixture.data.path());
    QString error;
    QVERIFY(!fixture.installation.update(&error));
    QCOMPARE(error, u"The installation of %1 failed."_s.arg(fixture.installation.package.name));
    QStringList after = testfiles::list(fixture.data.path());
    after.removeOne(u"packages.lock"_s);
    QCOMPARE(after, before);
}

void InstallationTest::damageIsSeenAtTheNextLookOnly()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    QString error;
    fixture.installation.fetchOffered();
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    QVERIFY(QFile::remove(fixture.path(u"data.bin"_s)));
    QCOMPARE(fixture.installation.offer(), Offer::Play);
    fixture.installation.checkFiles();
    QCOMPARE(fixture.installation.offer(), Offer::Update);
}

void InstallationTest::failedUpdateKeepsTheDocumentAndWhatIsOffered()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    const OrlPackageDoc before = fixture.installation.document;
    fixture.installation.remoteVersion = u"2.0.0"_s;
    fixture.tree.package.version = u"2.0.0"_s;
    fixture.tree.publish();
    fixture.server.route(fixture.tree.packedPath(fixture.tree.package.files.first()),
                         HttpAnswer::error(404));
    const MessageCapture messages;
    QString error;
    QVERIFY(!fixture.installation.update(&error));
    QVERIFY2(error.startsWith(u"Download failed: "_s), qPrintable(error));
    QCOMPARE(fixture.installation.document.version, before.version);
    QVERIFY(fixture.installation.filesIncomplete);
    QCOMPARE(fixture.installation.offer(), Offer::Download);
}

void InstallationTest::updateInstallsPackageAndAssets()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    QVERIFY(fixture.installation.filesIncomplete);
    QString error;
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    QCOMPARE(testfiles::read(fixture.path(u"data.bin"_s)), QByteArray("content"));
    QCOMPARE(testfiles::read(fixture.path(u"asset.bin"_s)), QByteArray("asset"));
    QCOMPARE(fixture.installation.installedVersion(), u"1.0.0"_s);
    QCOMPARE(fixture.installation.installedAssetsHash(), u"a1"_s);
    QCOMPARE(fixture.installation.installedDocument().version, u"1.0.0"_s);
    QVERIFY(!fixture.installation.filesIncomplete);
    QVERIFY(fixture.installation.isUpToDate());
}

void InstallationTest::nothingIsUpToDateBeforeAnythingIsKnown()
{
    const Fixture fixture;
    QVERIFY(!fixture.installation.isUpToDate());
    QCOMPARE(fixture.installation.offer(), Offer::Download);
}

void InstallationTest::identityOfAssetsIsKeptWhenTheServerNamesNoAddressForIt()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    fixture.installation.build.assetsversionurl.clear();
    fixture.installation.fetchOffered();
    QCOMPARE(fixture.installation.remoteAssetsHash, u"a1"_s);
}

void InstallationTest::assetsWithoutAnIdentityAreLeftAlone()
{
    Fixture fixture;
    fixture.server.route(ContentTree::assetsVersionPath, QByteArray());
    testfiles::write(fixture.path(u"assets.json.sha256"_s), "a0");
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    fixture.server.clearLog();
    QString error;
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    QVERIFY(!fixture.server.paths().contains(QString(ContentTree::assetsPath)));
    QCOMPARE(fixture.installation.installedAssetsHash(), u"a0"_s);
    QVERIFY(fixture.installation.isUpToDate());
}

void InstallationTest::versionOfTheDocumentIsWhatIsInstalled()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    fixture.tree.package.version = u"2.0.0"_s;
    fixture.tree.publish();
    // The text of the version was fetched just before the publication.
    fixture.server.route(ContentTree::versionPath, QByteArray("1.0.0"));
    fixture.installation.fetchOffered();
    QString error;
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    QCOMPARE(fixture.installation.installedVersion(), u"2.0.0"_s);
    QCOMPARE(fixture.installation.remoteVersion, u"2.0.0"_s);
    QVERIFY(fixture.installation.isUpToDate());
}

void InstallationTest::waitsForAnotherLauncherAndSaysSo()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    const QSignalSpy waits(&fixture.installation, &Installation::waitsForAnother);
    const QSignalSpy goesOn(&fixture.installation, &Installation::goesOnAfterAnother);
    auto other = FileLock::take(fixture.data.filePath(u"packages.lock"_s));
    QVERIFY(other);
    QTimer::singleShot(300, &fixture.client, [&other] { other.reset(); });
    QString error;
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    QVERIFY(!waits.isEmpty());
    QCOMPARE(goesOn.size(), 1);
    QVERIFY(fixture.installation.isUpToDate());
}

void InstallationTest::lockThatCannotBeMadeIsLogged()
{
    Fixture fixture;
    QVERIFY(fixture.select());
    fixture.installation.fetchOffered();
    const QString path = fixture.data.filePath(u"packages.lock"_s);
    QVERIFY(QDir().mkpath(path));
    const MessageCapture messages;
    QString error;
    // Nobody else can be at work there, so the installation goes on.
    QVERIFY2(fixture.installation.update(&error), qPrintable(error));
    QCOMPARE(messages.warnings().size(), 1);
    QVERIFY2(messages.warnings().first().startsWith(u"Cannot lock %1: "_s.arg(path)),
             qPrintable(messages.warnings().first()));
}

VORNAK_TEST_MAIN(InstallationTest)
#include "tst_installation.moc"
