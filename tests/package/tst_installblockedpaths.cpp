#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

const QString isAFolder = textOf(std::errc::is_a_directory);
const QString isNoFolder = textOf(std::errc::not_a_directory);
// Here it is the system that says it.
#ifdef Q_OS_WIN
const QString markerIsAFolder = qt_error_string(5).trimmed();
#else
const QString markerIsAFolder = isAFolder;
#endif

QString installationFailed(const InstallFixture& fixture)
{
    return u"The installation of %1 failed."_s.arg(fixture.folder());
}

} // namespace

/// Folders where files should be, and files where folders should be.
class InstallBlockedPathsTest : public QObject
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

void InstallBlockedPathsTest::folderInPlaceOfTheDocumentFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    QVERIFY(QDir().mkpath(fixture.path(document)));
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.folder()));
    QCOMPARE(reasonFor(fixture.path(document), log), isAFolder);
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/a"_s, u"Quelra/partial.package.json.version"_s}));
}

void InstallBlockedPathsTest::folderInPlaceOfTheVersionMarkerFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    QVERIFY(QDir().mkpath(fixture.path(version)));
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installPackage(form), installationFailed(fixture));
    QCOMPARE(reasonFor(fixture.path(version), log), markerIsAFolder);
    QCOMPARE(fixture.content(partial), QByteArray("1.0.0"));
}

void InstallBlockedPathsTest::folderInPlaceOfTheAssetMarkerFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "a");
    QVERIFY(QDir().mkpath(fixture.path(assetsMarker)));
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), installationFailed(fixture));
    QCOMPARE(reasonFor(fixture.path(assetsMarker), log), markerIsAFolder);
    QCOMPARE(fixture.content(u"a"_s), QByteArray("a"));
}

void InstallBlockedPathsTest::folderInPlaceOfThePartialMarkerStopsNothing()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    QVERIFY(QDir().mkpath(fixture.path(partial)));
    const MessageCapture log;
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(reasonFor(fixture.path(partial), log), markerIsAFolder);
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
    QVERIFY(QFileInfo(fixture.path(partial)).isDir());
}

void InstallBlockedPathsTest::fileInPlaceOfTheInstallFolderFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    testfiles::write(fixture.folder(), "a file");
    MessageCapture log;
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.folder()));
    log.clear();
    VERIFY_FAILURE(fixture.installAssets(form), installationFailed(fixture));
    QCOMPARE(reasonFor(fixture.path(assetsMarker), log), isNoFolder);
    fixture.tree().addAsset(u"a"_s, "a");
    log.clear();
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a"_s), log), isNoFolder);
    QCOMPARE(testfiles::read(fixture.folder()), QByteArray("a file"));
}

void InstallBlockedPathsTest::folderInPlaceOfAFileFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    testfiles::write(fixture.path(u"a/kept"_s), "kept");
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a"_s), log), isAFolder);
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a/kept"_s});
}

void InstallBlockedPathsTest::fileInPlaceOfAFolderFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a/b/c"_s, "content");
    testfiles::write(fixture.path(u"a"_s), "kept");
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a/b/c"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a/b/c"_s), log), isNoFolder);
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a"_s});
    QCOMPARE(fixture.content(u"a"_s), QByteArray("kept"));
}

VORNAK_TEST_MAIN(InstallBlockedPathsTest)
#include "tst_installblockedpaths.moc"
