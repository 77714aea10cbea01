#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

using namespace Qt::StringLiterals;

namespace {

QString installationFailed(const InstallFixture& fixture)
{
    return u"The installation of %1 failed."_s.arg(fixture.folder());
}

} // namespace

/// Folders where files should be, and files where folders should be.
class InstallObstaclesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void folderInPlaceOfTheDocumentFails_data() { InstallFixture::addForms(); }
    void folderInPlaceOfTheDocumentFails();
    void folderInPlaceOfTheVersionMarkerFails_data() { InstallFixture::addForms(); }
    void folderInPlaceOfTheVersionMarkerFails();
    void folderInPlaceOfTheAssetMarkerFails_data() { InstallFixture::addForms(); }
    void folderInPlaceOfTheAssetMarkerFails();
    void folderInPlaceOfThePartialMarkerStopsNothing_data() { InstallFixture::addForms(); }
    void folderInPlaceOfThePartialMarkerStopsNothing();
    void fileInPlaceOfTheInstallFolderFails_data() { InstallFixture::addForms(); }
    void fileInPlaceOfTheInstallFolderFails();
    void folderInPlaceOfAFileFails_data() { InstallFixture::addForms(); }
    void folderInPlaceOfAFileFails();
    void fileInPlaceOfAFolderFails_data() { InstallFixture::addForms(); }
    void fileInPlaceOfAFolderFails();
};

void InstallObstaclesTest::folderInPlaceOfTheDocumentFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    QVERIFY(QDir().mkpath(fixture.path(document)));
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.folder()));
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/a"_s, u"Quelra/partial.package.json.version"_s}));
}

void InstallObstaclesTest::folderInPlaceOfTheVersionMarkerFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    QVERIFY(QDir().mkpath(fixture.path(version)));
    VERIFY_FAILURE(fixture.installPackage(form), installationFailed(fixture));
    QCOMPARE(fixture.content(partial), QByteArray("1.0.0"));
}

void InstallObstaclesTest::folderInPlaceOfTheAssetMarkerFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "a");
    QVERIFY(QDir().mkpath(fixture.path(assetsMarker)));
    VERIFY_FAILURE(fixture.installAssets(form), installationFailed(fixture));
    QCOMPARE(fixture.content(u"a"_s), QByteArray("a"));
}

void InstallObstaclesTest::folderInPlaceOfThePartialMarkerStopsNothing()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    QVERIFY(QDir().mkpath(fixture.path(partial)));
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
    QVERIFY(QFileInfo(fixture.path(partial)).isDir());
}

void InstallObstaclesTest::fileInPlaceOfTheInstallFolderFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    testfiles::write(fixture.folder(), "a file");
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.folder()));
    VERIFY_FAILURE(fixture.installAssets(form), installationFailed(fixture));
    fixture.tree().addFile(u"a"_s, "a");
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.path(u"a"_s)));
    QCOMPARE(testfiles::read(fixture.folder()), QByteArray("a file"));
}

void InstallObstaclesTest::folderInPlaceOfAFileFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    testfiles::write(fixture.path(u"a/kept"_s), "kept");
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a"_s)));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a/kept"_s});
}

void InstallObstaclesTest::fileInPlaceOfAFolderFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a/b/c"_s, "content");
    testfiles::write(fixture.path(u"a"_s), "kept");
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a/b/c"_s)));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a"_s});
    QCOMPARE(fixture.content(u"a"_s), QByteArray("kept"));
}

VORNAK_TEST_MAIN(InstallObstaclesTest)
#include "tst_installobstacles.moc"
