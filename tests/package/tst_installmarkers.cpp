#include "package/InstallFixture.h"
#include "package/Markers.h"
#include "support/IsolatedHome.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString partial = u"partial.package.json.version"_s;
const QString version = u"package.json.version"_s;
const QString document = u"package.json"_s;
const QString assetsMarker = u"assets.json.sha256"_s;

quint32 modeOf(const QString& path)
{
    struct stat info
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 0777 : 0;
}

QString folderFailed(const InstallFixture& fixture)
{
    return u"Failed to create folder: '%1'."_s.arg(fixture.folder());
}

QString installationFailed(const InstallFixture& fixture)
{
    return u"The installation of %1 failed."_s.arg(fixture.folder());
}

/// Tells whether a file was opened since the watch began.
class OpenWatch
{
public:
    explicit OpenWatch(const QString& path)
        : m_queue(inotify_init1(IN_NONBLOCK))
    {
        inotify_add_watch(m_queue, QFile::encodeName(path).constData(), IN_OPEN);
    }
    ~OpenWatch() { ::close(m_queue); }
    Q_DISABLE_COPY_MOVE(OpenWatch)

    [[nodiscard]] bool wasOpened() const
    {
        char event[4096];
        return ::read(m_queue, event, sizeof event) > 0;
    }

private:
    int m_queue;
};

} // namespace

class InstallMarkersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordsAnInstalledPackage_data() { InstallFixture::addForms(); }
    void recordsAnInstalledPackage();
    void partialMarkerStandsWhileFilesAreFetched_data() { InstallFixture::addForms(); }
    void partialMarkerStandsWhileFilesAreFetched();
    void failedUpdateKeepsTheOldVersionBesideTheNewPartialMarker_data()
    {
        InstallFixture::addForms();
    }
    void failedUpdateKeepsTheOldVersionBesideTheNewPartialMarker();
    void completePackageStillRewritesItsMarkers_data() { InstallFixture::addForms(); }
    void completePackageStillRewritesItsMarkers();
    void interruptedInstallationGoesOnWithoutMarkerLogic_data() { InstallFixture::addForms(); }
    void interruptedInstallationGoesOnWithoutMarkerLogic();
    void makesOnlyTheNamedExecutableRunnable_data() { InstallFixture::addForms(); }
    void makesOnlyTheNamedExecutableRunnable();
    void missingExecutableIsPassedOver_data() { InstallFixture::addForms(); }
    void missingExecutableIsPassedOver();
    void executableOutsideTheFolderIsLeftAlone_data() { InstallFixture::addForms(); }
    void executableOutsideTheFolderIsLeftAlone();
    void makeExecutableAddsExactlyThreeBits();
    void recordsAssets_data() { InstallFixture::addForms(); }
    void recordsAssets();
    void failedAssetsKeepTheOldMarker_data() { InstallFixture::addForms(); }
    void failedAssetsKeepTheOldMarker();
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
    void finalizingAloneWritesTheMarkers();
    void markersReadTrimmedAndMissingOnesEmpty();
    void nothingIsMissingFromAnEmptyPackage();
    void findsADamagedFileAndReadsNoneBehindIt();
    void looksAtSizeAndHashOfARegularFile();
    void noticesAChangeThatKeepsSizeAndTime();
};

void InstallMarkersTest::recordsAnInstalledPackage()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    OrlPackageDoc& package = fixture.tree().package;
    package.version = u"2.0-ö"_s;
    package.executable = u"bin/run"_s;
    fixture.tree().addFile(u"bin/run"_s, "program");
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/bin/run"_s, u"Quelra/package.json"_s,
                                           u"Quelra/package.json.version"_s}));
    QCOMPARE(fixture.content(version), QByteArray("2.0-\xc3\xb6"));
    const OrlFile& file = package.files.at(0);
    QCOMPARE(fixture.content(document),
             u"{\"executable\":\"bin/run\",\"files\":[{\"localfile\":\"bin/run\","
             "\"packedhash\":\"%1\",\"packedsize\":\"%2\",\"unpackedhash\":\"%3\","
             "\"unpackedsize\":\"7\",\"url\":\"files/1.lzma\"}],\"version\":\"2.0-ö\"}"_s
                 .arg(file.packedhash, QString::number(file.packedsize), file.unpackedhash)
                 .toUtf8());
    QCOMPARE(parsePackageDoc(fixture.content(document), nullptr), package);
}

void InstallMarkersTest::partialMarkerStandsWhileFilesAreFetched()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    fixture.tree().addFile(u"b"_s, "b");
    int seen = 0;
    fixture.server().setRequestHook([&](const QString&) {
        seen += fixture.content(partial) == "1.0.0" && fixture.content(version).isNull() &&
                fixture.content(document).isNull();
    });
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(seen, 2);
    QVERIFY(fixture.content(partial).isNull());
}

void InstallMarkersTest::failedUpdateKeepsTheOldVersionBesideTheNewPartialMarker()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    VERIFY_SUCCESS(fixture.installPackage(form));
    const QByteArray oldDocument = fixture.content(document);
    fixture.tree().package.version = u"1.1.0"_s;
    fixture.tree().addFile(u"b"_s, "b");
    fixture.server().route(fixture.tree().packedPath(fixture.tree().package.files.at(1)), "bad");
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installPackage(form), u"Download failed: b"_s);
    QCOMPARE(fixture.content(partial), QByteArray("1.1.0"));
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
    QCOMPARE(fixture.content(document), oldDocument);
}

void InstallMarkersTest::completePackageStillRewritesItsMarkers()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    VERIFY_SUCCESS(fixture.installPackage(form));
    testfiles::write(fixture.path(partial), "left over");
    testfiles::write(fixture.path(version), "other\n");
    testfiles::write(fixture.path(document), "{}");
    fixture.server().clearLog();
    QByteArray partialDuring;
    QObject::connect(&fixture.client(), &PackageClient::progress, &fixture.client(),
                     [&] { partialDuring = fixture.content(partial); });
    VERIFY_SUCCESS(fixture.installPackage(form));
    QVERIFY(fixture.server().paths().isEmpty());
    QCOMPARE(partialDuring, QByteArray("1.0.0"));
    QVERIFY(fixture.content(partial).isNull());
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
    QCOMPARE(fixture.content(document), serializePackageDoc(fixture.tree().package));
}

void InstallMarkersTest::interruptedInstallationGoesOnWithoutMarkerLogic()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    for (const QString& name : {u"a"_s, u"b"_s, u"c"_s})
        fixture.tree().addFile(name, name.toUtf8());
    // What a kill in the midst of the second file leaves behind.
    testfiles::write(fixture.path(u"a"_s), "a");
    testfiles::write(fixture.path(partial), "0.9");
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(fixture.server().paths().size(), 2);
    QVERIFY(fixture.content(partial).isNull());
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
}

void InstallMarkersTest::makesOnlyTheNamedExecutableRunnable()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().package.executable = u"bin/run"_s;
    fixture.tree().addFile(u"bin/run"_s, "program");
    fixture.tree().addFile(u"bin/data"_s, "data");
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(modeOf(fixture.path(u"bin/run"_s)) & 0111, 0111U);
    QCOMPARE(modeOf(fixture.path(u"bin/data"_s)) & 0111, 0U);
    fixture.tree().package.executable.clear();
    QFile::setPermissions(fixture.path(u"bin/run"_s), QFile::ReadOwner | QFile::WriteOwner);
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(modeOf(fixture.path(u"bin/run"_s)), 0600U);
}

void InstallMarkersTest::missingExecutableIsPassedOver()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().package.executable = u"bin/none"_s;
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/package.json"_s, u"Quelra/package.json.version"_s}));
}

void InstallMarkersTest::executableOutsideTheFolderIsLeftAlone()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QString outside = QDir::cleanPath(fixture.path(u"../outside"_s));
    testfiles::write(outside, "theirs");
    QFile::setPermissions(outside, QFile::ReadOwner | QFile::WriteOwner);
    for (const QString& executable : {u"../outside"_s, outside}) {
        fixture.tree().package.executable = executable;
        VERIFY_SUCCESS(fixture.installPackage(form));
        QCOMPARE(modeOf(outside), 0600U);
    }
}

void InstallMarkersTest::makeExecutableAddsExactlyThreeBits()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"a"_s);
    testfiles::write(path, "x");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    PackageClient::makeExecutable(path);
    QCOMPARE(modeOf(path), 0751U);
    PackageClient::makeExecutable(folder.filePath(u"none"_s));
    QCOMPARE(testfiles::list(folder.path()), QStringList{u"a"_s});
}

void InstallMarkersTest::recordsAssets()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().assetsIdentity = u"set-ö"_s;
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/assets.json.sha256"_s});
    QCOMPARE(fixture.content(assetsMarker), QByteArray("set-\xc3\xb6"));
    fixture.tree().addAsset(u"art/a.png"_s, "picture");
    fixture.tree().assetsIdentity = u"b"_s;
    QByteArray during;
    fixture.server().setRequestHook(
        [&](const QString&) { during = fixture.content(assetsMarker); });
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(during, QByteArray("set-\xc3\xb6"));
    QCOMPARE(fixture.content(assetsMarker), QByteArray("b"));
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/art/a.png"_s, u"Quelra/assets.json.sha256"_s}));
}

void InstallMarkersTest::failedAssetsKeepTheOldMarker()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    VERIFY_SUCCESS(fixture.installAssets(form));
    fixture.tree().addAsset(u"a"_s, "a");
    fixture.tree().assetsIdentity = u"assets-2"_s;
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)), "bad");
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
    QCOMPARE(fixture.content(assetsMarker), QByteArray("assets-1"));
}

void InstallMarkersTest::folderInPlaceOfTheDocumentFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    QVERIFY(QDir().mkpath(fixture.path(document)));
    VERIFY_FAILURE(fixture.installPackage(form), folderFailed(fixture));
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/a"_s, u"Quelra/partial.package.json.version"_s}));
}

void InstallMarkersTest::folderInPlaceOfTheVersionMarkerFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    QVERIFY(QDir().mkpath(fixture.path(version)));
    VERIFY_FAILURE(fixture.installPackage(form), installationFailed(fixture));
    QCOMPARE(fixture.content(partial), QByteArray("1.0.0"));
}

void InstallMarkersTest::folderInPlaceOfTheAssetMarkerFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "a");
    QVERIFY(QDir().mkpath(fixture.path(assetsMarker)));
    VERIFY_FAILURE(fixture.installAssets(form), installationFailed(fixture));
    QCOMPARE(fixture.content(u"a"_s), QByteArray("a"));
}

void InstallMarkersTest::folderInPlaceOfThePartialMarkerStopsNothing()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    QVERIFY(QDir().mkpath(fixture.path(partial)));
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
    QVERIFY(QFileInfo(fixture.path(partial)).isDir());
}

void InstallMarkersTest::fileInPlaceOfTheInstallFolderFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    testfiles::write(fixture.folder(), "a file");
    VERIFY_FAILURE(fixture.installPackage(form), folderFailed(fixture));
    VERIFY_FAILURE(fixture.installAssets(form), installationFailed(fixture));
    fixture.tree().addFile(u"a"_s, "a");
    VERIFY_FAILURE(fixture.installPackage(form),
                   u"Failed to create folder: '%1/a'."_s.arg(fixture.folder()));
    QCOMPARE(testfiles::read(fixture.folder()), QByteArray("a file"));
}

void InstallMarkersTest::finalizingAloneWritesTheMarkers()
{
    InstallFixture fixture;
    testfiles::write(fixture.path(partial), "1.0.0");
    QString error;
    QVERIFY(fixture.client().finalizePackage(fixture.tree().package, fixture.folder(), &error));
    QVERIFY(error.isNull());
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/package.json"_s, u"Quelra/package.json.version"_s}));
    QVERIFY(!fixture.client().finalizePackage(fixture.tree().package,
                                              fixture.path(u"no/such/folder"_s), nullptr));
    QVERIFY(!fixture.client().finalizePackage(fixture.tree().package,
                                              fixture.path(u"no/such/folder"_s), &error));
    QCOMPARE(error, u"Failed to create folder: '%1'."_s.arg(fixture.path(u"no/such/folder"_s)));
}

void InstallMarkersTest::markersReadTrimmedAndMissingOnesEmpty()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"marker"_s);
    QVERIFY(readTrimmedText(path).isEmpty());
    QVERIFY(readTrimmedText(folder.path()).isEmpty());
    testfiles::write(path, " \t1.0 \xc3\xb6\r\n");
    QCOMPARE(readTrimmedText(path), u"1.0 ö"_s);
    QVERIFY(writeMarker(path, u"ä"_s));
    QCOMPARE(testfiles::read(path), QByteArray("\xc3\xa4"));
    QVERIFY(writeMarker(path, QString()));
    QCOMPARE(testfiles::read(path), QByteArray(""));
    QVERIFY(!writeMarker(folder.filePath(u"none/marker"_s), u"x"_s));
}

void InstallMarkersTest::nothingIsMissingFromAnEmptyPackage()
{
    InstallFixture fixture;
    QVERIFY(!fixture.client().hasMissingFiles({}, fixture.folder()));
    fixture.tree().addFile(u"a"_s, "a");
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
    VERIFY_SUCCESS(fixture.installPackage(Form::Blocking));
    QVERIFY(!fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
}

void InstallMarkersTest::findsADamagedFileAndReadsNoneBehindIt()
{
    InstallFixture fixture;
    for (int i = 1; i <= 9; ++i) {
        const QByteArray content = testfiles::textBytes(3000, static_cast<quint32>(i));
        fixture.tree().addFile(QString::number(i), content);
        testfiles::write(fixture.path(QString::number(i)), content);
    }
    QByteArray damaged = fixture.content(u"5"_s);
    damaged[1234] = '#';
    testfiles::write(fixture.path(u"5"_s), damaged);
    const OpenWatch before(fixture.path(u"4"_s));
    const OpenWatch fifth(fixture.path(u"5"_s));
    const OpenWatch after(fixture.path(u"6"_s));
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
    QVERIFY(before.wasOpened());
    QVERIFY(fifth.wasOpened());
    QVERIFY(!after.wasOpened());
}

void InstallMarkersTest::looksAtSizeAndHashOfARegularFile()
{
    InstallFixture fixture;
    const OrlFile right = fixture.tree().addFile(u"a"_s, "content");
    const auto isInstalled = [&fixture](const OrlFile& file) {
        return fixture.client().isFileInstalled(file, fixture.folder());
    };
    QVERIFY(!isInstalled(right));
    testfiles::write(fixture.path(u"a"_s), "content");
    QVERIFY(isInstalled(right));
    OrlFile file = right;
    file.packedsize = 77;
    file.packedhash = u"no matter"_s;
    QVERIFY(isInstalled(file));
    file.unpackedsize = 8;
    QVERIFY(!isInstalled(file));
    file = right;
    file.unpackedhash = right.unpackedhash.toUpper();
    QVERIFY(!isInstalled(file));
    testfiles::write(fixture.path(u"a"_s), "Content");
    QVERIFY(!isInstalled(right));
    file = right;
    file.localfile = u"folder"_s;
    QVERIFY(QDir().mkpath(fixture.path(file.localfile)));
    file.unpackedsize = QFileInfo(fixture.path(file.localfile)).size();
    QVERIFY(!isInstalled(file));
}

void InstallMarkersTest::noticesAChangeThatKeepsSizeAndTime()
{
    InstallFixture fixture;
    const OrlFile entry = fixture.tree().addFile(u"a"_s, "content");
    VERIFY_SUCCESS(fixture.installPackage(Form::Blocking));
    QVERIFY(fixture.client().isFileInstalled(entry, fixture.folder()));
    QFile file(fixture.path(u"a"_s));
    const QDateTime modified = QFileInfo(file).lastModified();
    QVERIFY(file.open(QIODevice::ReadWrite));
    file.write("C");
    QVERIFY(file.flush());
    QVERIFY(file.setFileTime(modified, QFileDevice::FileModificationTime));
    file.close();
    QCOMPARE(QFileInfo(file).lastModified(), modified);
    QVERIFY(!fixture.client().isFileInstalled(entry, fixture.folder()));
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
}

VORNAK_TEST_MAIN(InstallMarkersTest)
#include "tst_installmarkers.moc"
