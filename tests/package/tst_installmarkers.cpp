#include "package/InstallFixture.h"
#include "package/Markers.h"
#include "support/IsolatedHome.h"

#include <QTimer>

using namespace Qt::StringLiterals;

class InstallMarkersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recordsAnInstalledPackage_data() { InstallFixture::addForms(); }
    void recordsAnInstalledPackage();
    void partialMarkerStandsWhileFilesAreFetched_data() { InstallFixture::addForms(); }
    void partialMarkerStandsWhileFilesAreFetched();
    void packageReplacedByASlotIsInstalledAsItWas();
    void assetsReplacedByASlotAreInstalledAsTheyWere();
    void packageReplacedByASlotIsCheckedAsItWas();
    void failedUpdateKeepsTheOldVersionBesideTheNewPartialMarker_data()
    {
        InstallFixture::addForms();
    }
    void failedUpdateKeepsTheOldVersionBesideTheNewPartialMarker();
    void completePackageStillRewritesItsMarkers_data() { InstallFixture::addForms(); }
    void completePackageStillRewritesItsMarkers();
    void interruptedInstallationGoesOnWithoutMarkerLogic_data() { InstallFixture::addForms(); }
    void interruptedInstallationGoesOnWithoutMarkerLogic();
    void fileNamedLikeAMarkerFails_data();
    void fileNamedLikeAMarkerFails();
    void nothingIsWrittenWithoutAFolder();
    void missingExecutableIsPassedOver_data() { InstallFixture::addForms(); }
    void missingExecutableIsPassedOver();
    void recordsAssets_data() { InstallFixture::addForms(); }
    void recordsAssets();
    void failedAssetsKeepTheOldMarker_data() { InstallFixture::addForms(); }
    void failedAssetsKeepTheOldMarker();
    void finalizingAloneWritesTheMarkers();
    void markersReadTrimmedAndMissingOnesEmpty();
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

void InstallMarkersTest::packageReplacedByASlotIsInstalledAsItWas()
{
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    fixture.tree().addFile(u"b"_s, "b");
    OrlPackageDoc held = fixture.tree().package;
    QUrl address = fixture.tree().packageUrl();
    QString folder = fixture.folder();
    fixture.server().setRequestHook([&](const QString&) {
        held = {};
        address = QUrl();
        folder = u"/nowhere"_s;
    });
    QString error;
    QVERIFY2(fixture.client().installPackage(address, held, folder, &error), qUtf8Printable(error));
    QCOMPARE(held, OrlPackageDoc());
    QCOMPARE(fixture.content(u"a"_s) + fixture.content(u"b"_s), QByteArray("ab"));
    QCOMPARE(fixture.content(version), QByteArray("1.0.0"));
    QCOMPARE(parsePackageDoc(fixture.content(document), nullptr), fixture.tree().package);
}

void InstallMarkersTest::assetsReplacedByASlotAreInstalledAsTheyWere()
{
    InstallFixture fixture;
    fixture.addFiles(2);
    QList<OrlFile> held = fixture.tree().assets;
    QUrl address = fixture.tree().assetsUrl();
    QString identity = u"first"_s;
    QString folder = fixture.folder();
    fixture.server().setRequestHook([&](const QString&) {
        held.clear();
        address = QUrl();
        identity = u"second"_s;
        folder = u"/nowhere"_s;
    });
    QString error;
    QVERIFY2(fixture.client().installAssets(address, held, identity, folder, &error),
             qUtf8Printable(error));
    QVERIFY(held.isEmpty());
    QCOMPARE(fixture.content(u"data/2.txt"_s), InstallFixture::contentOf(2));
    QCOMPARE(fixture.content(assetsMarker), QByteArray("first"));
}

void InstallMarkersTest::packageReplacedByASlotIsCheckedAsItWas()
{
    InstallFixture fixture;
    // Reading it takes several turns of the event loop.
    const QByteArray big(qsizetype(96) << 20, '\0');
    OrlPackageDoc held;
    held.files = {fileEntry(u"a"_s, u"a"_s, big, "a"), fileEntry(u"b"_s, u"b"_s, "b", "b")};
    testfiles::write(fixture.path(u"a"_s), big);
    testfiles::write(fixture.path(u"b"_s), "b");
    QString folder = fixture.folder();
    bool isReplaced = false;
    QTimer::singleShot(1, &fixture.client(), [&] {
        held = {};
        folder = u"/nowhere"_s;
        isReplaced = true;
    });
    QVERIFY(!fixture.client().hasMissingFiles(held, folder));
    QVERIFY(isReplaced);
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

void InstallMarkersTest::fileNamedLikeAMarkerFails_data()
{
    QTest::addColumn<Form>("form");
    QTest::addColumn<QString>("name");
    for (const Form form : {Form::Blocking, Form::Async}) {
        for (const QString& name : {document, version, partial, assetsMarker,
                                    QString(u"./package.json"_s), QString(u"package.json/a"_s)})
            QTest::addRow("%s %d", qPrintable(name), int(form)) << form << name;
    }
}

void InstallMarkersTest::fileNamedLikeAMarkerFails()
{
    QFETCH(Form, form);
    QFETCH(QString, name);
    InstallFixture fixture;
    fixture.tree().addFile(name, "not the installer's");
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.path(name)));
    QVERIFY(fixture.server().paths().isEmpty());
    QCOMPARE(fixture.files(), QStringList{u"Quelra/partial.package.json.version"_s});
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
}

// Qt has its own complaint about a folder without a name, which would stand beside ours.
void InstallMarkersTest::nothingIsWrittenWithoutAFolder()
{
    const QTemporaryDir here;
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(here.path()));
    InstallFixture fixture;
    PackageClient& client = fixture.client();
    const ContentTree& tree = fixture.tree();
    const MessageCapture log;
    QString error;
    QVERIFY(!client.installPackage(tree.packageUrl(), tree.package, QString(), &error));
    QCOMPARE(error, unwritable(QString()));
    QVERIFY(!client.installAssets(tree.assetsUrl(), {}, u"a"_s, QString(), &error));
    int failures = 0;
    const auto count = [&failures](bool ok, const QString&) { failures += !ok; };
    client.installPackageAsync(tree.packageUrl(), tree.package, QString(), count);
    client.installAssetsAsync(tree.assetsUrl(), {}, u"a"_s, QString(), count);
    QCOMPARE(failures, 2);
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(testfiles::list(here.path()), QStringList());
    QStringList expected;
    for (const QString& file : {partial, document, assetsMarker})
        expected.append(
            u"Cannot write ./%1: %2"_s.arg(file, textOf(std::errc::no_such_file_or_directory)));
    QCOMPARE(log.lines(), expected + expected);
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
    const WriteResult unwritten = writeMarker(folder.filePath(u"none/marker"_s), u"x"_s);
    QVERIFY(!unwritten);
    QVERIFY(!unwritten.reason().isEmpty());
}

VORNAK_TEST_MAIN(InstallMarkersTest)
#include "tst_installmarkers.moc"
