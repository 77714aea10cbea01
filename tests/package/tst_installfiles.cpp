#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QFile>
#include <QMap>
#include <QThread>

#include <utility>

using namespace Qt::StringLiterals;

class InstallFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyListSucceedsWithoutAWord_data() { InstallFixture::addForms(); }
    void emptyListSucceedsWithoutAWord();
    void installedFilesAreReportedOnceEachAndNotFetched_data() { InstallFixture::addForms(); }
    void installedFilesAreReportedOnceEachAndNotFetched();
    void fetchesInListOrderAndNeverTwoAtOnce_data() { InstallFixture::addForms(); }
    void fetchesInListOrderAndNeverTwoAtOnce();
    void bothFormsLeaveTheSameOnDisk();
    void replacesADamagedFileOnly_data() { InstallFixture::addForms(); }
    void replacesADamagedFileOnly();
    void emptyFileIsInstalled_data() { InstallFixture::addForms(); }
    void emptyFileIsInstalled();
    void unstatedSizeWithAnEmptyBodyReachesTheHashCheck_data() { InstallFixture::addForms(); }
    void unstatedSizeWithAnEmptyBodyReachesTheHashCheck();
    void relativeAddressesStartAtTheListsFolder_data() { InstallFixture::addForms(); }
    void relativeAddressesStartAtTheListsFolder();
    void absoluteAddressesAreFetchedAsTheyStand_data() { InstallFixture::addForms(); }
    void absoluteAddressesAreFetchedAsTheyStand();
    void callsNothingWithoutATarget();
    void callbackMayStartTheNextRun();
    void manyInstalledFilesFitASmallStack();
};

void InstallFilesTest::emptyListSucceedsWithoutAWord()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(fixture.progress().isEmpty());
    QVERIFY(fixture.server().paths().isEmpty());
}

void InstallFilesTest::installedFilesAreReportedOnceEachAndNotFetched()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(3);
    VERIFY_SUCCESS(fixture.installAssets(form));
    fixture.server().clearLog();
    fixture.progress().clear();
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(fixture.server().paths().isEmpty());
    QCOMPARE(fixture.progress(), (QList<Progress>{{0, 1, 1, 3}, {0, 1, 2, 3}, {0, 1, 3, 3}}));
}

void InstallFilesTest::fetchesInListOrderAndNeverTwoAtOnce()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(5);
    QStringList expected;
    for (const OrlFile& file : std::as_const(fixture.tree().assets)) {
        const QString path = fixture.tree().packedPath(file);
        expected.append(path);
        const QByteArray packed =
            packLzma(InstallFixture::contentOf(static_cast<int>(expected.size())));
        fixture.server().route(path, HttpAnswer::drip(packed, 200, 1));
    }
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.server().paths(), expected);
    QCOMPARE(fixture.server().mostTransfers(), 1);
    for (int i = 1; i <= 5; ++i)
        QCOMPARE(fixture.content(u"data/%1.txt"_s.arg(i)), InstallFixture::contentOf(i));
}

void InstallFilesTest::bothFormsLeaveTheSameOnDisk()
{
    QMap<Form, QMap<QString, QByteArray>> disks;
    for (const Form form : {Form::Blocking, Form::Async}) {
        InstallFixture fixture;
        fixture.tree().package.executable = u"bin/Quelra.exe"_s;
        fixture.tree().package.generation = u"g"_s;
        for (int i = 1; i <= 4; ++i)
            fixture.tree().addFile(u"bin/%1"_s.arg(i), InstallFixture::contentOf(i));
        fixture.tree().addFile(u"bin/Quelra.exe"_s, InstallFixture::contentOf(9));
        fixture.addFiles(3);
        VERIFY_SUCCESS(fixture.installPackage(form));
        VERIFY_SUCCESS(fixture.installAssets(form));
        for (const QString& name : testfiles::list(fixture.folder()))
            disks[form].insert(name, fixture.content(name));
    }
    QCOMPARE(disks.value(Form::Async).keys(), disks.value(Form::Blocking).keys());
    QCOMPARE(disks.value(Form::Async), disks.value(Form::Blocking));
    QCOMPARE(disks.value(Form::Async).size(), 11);
}

void InstallFilesTest::replacesADamagedFileOnly()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(3);
    VERIFY_SUCCESS(fixture.installAssets(form));
    fixture.server().clearLog();
    QByteArray damaged = InstallFixture::contentOf(2);
    damaged[700] = static_cast<char>(damaged.at(700) ^ 1);
    testfiles::write(fixture.path(u"data/2.txt"_s), damaged);
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.server().paths(),
             QStringList{fixture.tree().packedPath(fixture.tree().assets.at(1))});
    QCOMPARE(fixture.content(u"data/2.txt"_s), InstallFixture::contentOf(2));
}

void InstallFilesTest::emptyFileIsInstalled()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"empty"_s, {});
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.content(u"empty"_s), QByteArray(""));
}

void InstallFilesTest::unstatedSizeWithAnEmptyBodyReachesTheHashCheck()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    OrlFile& file = fixture.tree().assets[0];
    file.packedsize = 0;
    fixture.server().route(fixture.tree().packedPath(file), QByteArray());
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
    QCOMPARE(log.lines(), QStringList{u"packed hash mismatch for a (0 bytes)"_s});
    file.packedhash = emptyHash;
    VERIFY_FAILURE(fixture.installAssets(form),
                   u"Failed to decompress file downloaded from files/1.lzma"_s);
    QCOMPARE(log.lines(), (QStringList{u"packed hash mismatch for a (0 bytes)"_s,
                                       u"Cannot unpack a from files/1.lzma"_s}));
}

void InstallFilesTest::relativeAddressesStartAtTheListsFolder()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QByteArray packed = packLzma("content");
    fixture.tree().assets = {fileEntry(u"a"_s, u"a.lzma"_s, "content", packed),
                             fileEntry(u"b"_s, u"../b.lzma"_s, "content", packed),
                             fileEntry(u"c"_s, u"/c.lzma"_s, "content", packed),
                             fileEntry(u"d"_s, u"sub/d e.lzma"_s, "content", packed)};
    const QStringList paths{u"/launcher/client/a.lzma"_s, u"/launcher/b.lzma"_s, u"/c.lzma"_s,
                            u"/launcher/client/sub/d%20e.lzma"_s};
    for (const QString& path : paths)
        fixture.server().route(path, packed);
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.server().paths(), paths);
}

void InstallFilesTest::absoluteAddressesAreFetchedAsTheyStand()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    ScriptedHttpServer mirror;
    const QByteArray packed = packLzma("content");
    mirror.route(u"/store/a.lzma?b"_s, packed);
    fixture.server().route(u"/launcher/b.lzma"_s, packed);
    fixture.tree().assets = {
        fileEntry(u"a"_s, mirror.baseUrl() + u"/store/a.lzma?b"_s, "content", packed),
        // Below "/launcher/" the content server stands in for every host.
        fileEntry(u"b"_s, mirror.baseUrl() + u"/x/launcher/b.lzma"_s, "content", packed)};
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(mirror.paths(), QStringList{u"/store/a.lzma?b"_s});
    QCOMPARE(fixture.server().paths(), QStringList{u"/launcher/b.lzma"_s});
}

void InstallFilesTest::callsNothingWithoutATarget()
{
    InstallFixture fixture;
    fixture.addFiles(2);
    fixture.tree().addFile(u"bin/x"_s, "x");
    fixture.client().installAssetsAsync(fixture.tree().assetsUrl(), fixture.tree().assets, u"id"_s,
                                        fixture.folder(), {});
    QTRY_COMPARE(fixture.content(u"assets.json.sha256"_s), QByteArray("id"));
    fixture.client().installPackageAsync(fixture.tree().packageUrl(), fixture.tree().package,
                                         fixture.folder(), nullptr);
    QTRY_COMPARE(fixture.content(u"package.json.version"_s), QByteArray("1.0.0"));
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)), "damaged");
    QFile::remove(fixture.path(u"data/1.txt"_s));
    fixture.server().clearLog();
    const MessageCapture log;
    fixture.client().installAssetsAsync(fixture.tree().assetsUrl(), fixture.tree().assets, u"id2"_s,
                                        fixture.folder(), {});
    QTRY_COMPARE(log.lines().size(), 1);
    QCOMPARE(fixture.content(u"assets.json.sha256"_s), QByteArray("id"));
}

void InstallFilesTest::callbackMayStartTheNextRun()
{
    InstallFixture fixture;
    fixture.addFiles(2);
    fixture.tree().addFile(u"bin/x"_s, "x");
    int done = 0;
    fixture.client().installPackageAsync(fixture.tree().packageUrl(), fixture.tree().package,
                                         fixture.folder(), [&](bool ok, const QString&) {
                                             done += ok;
                                             fixture.client().installAssetsAsync(
                                                 fixture.tree().assetsUrl(), fixture.tree().assets,
                                                 u"id"_s, fixture.folder(),
                                                 [&](bool also, const QString&) { done += also; });
                                         });
    QTRY_COMPARE(done, 2);
    QCOMPARE(fixture.server().paths().size(), 3);
}

void InstallFilesTest::manyInstalledFilesFitASmallStack()
{
    QTemporaryDir folder;
    testfiles::write(folder.filePath(u"a"_s), "content");
    const OrlFile file = fileEntry(u"a"_s, u"a.lzma"_s, "content", packLzma("content"));
#ifdef Q_OS_WIN
    // Looking a file up takes far longer there, above all under Wine.
    constexpr int count = 20'000;
#else
    constexpr int count = 100'000;
#endif
    const QList<OrlFile> files(count, file);
    bool called = false;
    bool succeeded = false;
    int reports = 0;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        PackageClient client(nullptr);
        QObject::connect(&client, &PackageClient::progress, &client, [&reports] { ++reports; });
        client.installAssetsAsync(QUrl(u"http://127.0.0.1:9/list.json"_s), files, u"id"_s,
                                  folder.path(), [&](bool ok, const QString&) {
                                      called = true;
                                      succeeded = ok;
                                  });
    }));
    thread->setStackSize(256 * 1024);
    thread->start();
    QVERIFY(thread->wait(60'000));
    QVERIFY(called);
    QVERIFY(succeeded);
    QCOMPARE(reports, count);
}

VORNAK_TEST_MAIN(InstallFilesTest)
#include "tst_installfiles.moc"
