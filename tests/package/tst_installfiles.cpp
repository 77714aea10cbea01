#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QThread>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 most = std::numeric_limits<qint64>::max();

const QString emptyHash = u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s;

QByteArray contentOf(int i)
{
    return testfiles::textBytes(2000 + 100 * i, static_cast<quint32>(i));
}

void addFiles(InstallFixture& fixture, int count)
{
    for (int i = 1; i <= count; ++i)
        fixture.tree().addAsset(u"data/%1.txt"_s.arg(i), contentOf(i));
}

} // namespace

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
    void emptyBodyFailsPlainly_data() { InstallFixture::addForms(); }
    void emptyBodyFailsPlainly();
    void failureKeepsWhatIsDoneAndTheNextRunGoesOn_data() { InstallFixture::addForms(); }
    void failureKeepsWhatIsDoneAndTheNextRunGoesOn();
    void networkFailuresAreToldWithTheirReason_data();
    void networkFailuresAreToldWithTheirReason();
    void wrongPackedHashIsLoggedAndNamesTheFile_data() { InstallFixture::addForms(); }
    void wrongPackedHashIsLoggedAndNamesTheFile();
    void missingOrCapitalHashesNeverMatch_data() { InstallFixture::addForms(); }
    void missingOrCapitalHashesNeverMatch();
    void damagedPackingNamesTheAddress_data() { InstallFixture::addForms(); }
    void damagedPackingNamesTheAddress();
    void wrongUnpackedHashOrSizeNamesTheFile_data() { InstallFixture::addForms(); }
    void wrongUnpackedHashOrSizeNamesTheFile();
    void oldFileStandsUntilTheNewOneIsChecked_data() { InstallFixture::addForms(); }
    void oldFileStandsUntilTheNewOneIsChecked();
    void relativeAddressesStartAtTheListsFolder_data() { InstallFixture::addForms(); }
    void relativeAddressesStartAtTheListsFolder();
    void absoluteAddressesAreFetchedAsTheyStand_data() { InstallFixture::addForms(); }
    void absoluteAddressesAreFetchedAsTheyStand();
    void reportsExactProgress_data() { InstallFixture::addForms(); }
    void reportsExactProgress();
    void progressDuringATransferCountsFromWhatIsDone_data() { InstallFixture::addForms(); }
    void progressDuringATransferCountsFromWhatIsDone();
    void unstatedSizesMayPassTheTotal_data() { InstallFixture::addForms(); }
    void unstatedSizesMayPassTheTotal();
    void hugeStatedSizesDoNotOverflow_data() { InstallFixture::addForms(); }
    void hugeStatedSizesDoNotOverflow();
    void pathsThatLeaveTheFolderAreNeverTouched_data();
    void pathsThatLeaveTheFolderAreNeverTouched();
    void callsNothingWithoutATarget();
    void callbackMayStartTheNextRun();
    void takesNoErrorPointer();
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
    addFiles(fixture, 3);
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
    addFiles(fixture, 5);
    QStringList expected;
    for (const OrlFile& file : std::as_const(fixture.tree().assets)) {
        const QString path = fixture.tree().packedPath(file);
        expected.append(path);
        const QByteArray packed = packLzma(contentOf(static_cast<int>(expected.size())));
        fixture.server().route(path, HttpAnswer::drip(packed, 200, 1));
    }
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.server().paths(), expected);
    QCOMPARE(fixture.server().mostTransfers(), 1);
    for (int i = 1; i <= 5; ++i)
        QCOMPARE(fixture.content(u"data/%1.txt"_s.arg(i)), contentOf(i));
}

void InstallFilesTest::bothFormsLeaveTheSameOnDisk()
{
    QMap<Form, QMap<QString, QByteArray>> disks;
    for (const Form form : {Form::Blocking, Form::Async}) {
        InstallFixture fixture;
        fixture.tree().package.executable = u"bin/Quelra.exe"_s;
        fixture.tree().package.generation = u"g"_s;
        for (int i = 1; i <= 4; ++i)
            fixture.tree().addFile(u"bin/%1"_s.arg(i), contentOf(i));
        fixture.tree().addFile(u"bin/Quelra.exe"_s, contentOf(9));
        addFiles(fixture, 3);
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
    addFiles(fixture, 3);
    VERIFY_SUCCESS(fixture.installAssets(form));
    fixture.server().clearLog();
    QByteArray damaged = contentOf(2);
    damaged[700] = static_cast<char>(damaged.at(700) ^ 1);
    testfiles::write(fixture.path(u"data/2.txt"_s), damaged);
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.server().paths(),
             QStringList{fixture.tree().packedPath(fixture.tree().assets.at(1))});
    QCOMPARE(fixture.content(u"data/2.txt"_s), contentOf(2));
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
    QCOMPARE(log.lines().size(), 1);
}

void InstallFilesTest::emptyBodyFailsPlainly()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)), QByteArray());
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed"_s);
    fixture.tree().assets[0].packedsize = -1;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed"_s);
    QVERIFY(log.lines().isEmpty());
}

void InstallFilesTest::failureKeepsWhatIsDoneAndTheNextRunGoesOn()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    addFiles(fixture, 5);
    const QString third = fixture.tree().packedPath(fixture.tree().assets.at(2));
    fixture.server().route(third, "damaged on the way");
    {
        const MessageCapture log;
        VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: data/3.txt"_s);
        QCOMPARE(log.lines(), QStringList{u"packed hash mismatch for data/3.txt (18 bytes)"_s});
    }
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/data/1.txt"_s, u"Quelra/data/2.txt"_s}));
    QCOMPARE(fixture.server().paths().size(), 3);

    fixture.server().route(third, packLzma(contentOf(3)));
    fixture.server().clearLog();
    VERIFY_SUCCESS(fixture.installAssets(form));
    QStringList rest;
    for (int i = 2; i < 5; ++i)
        rest.append(fixture.tree().packedPath(fixture.tree().assets.at(i)));
    QCOMPARE(fixture.server().paths(), rest);
}

void InstallFilesTest::networkFailuresAreToldWithTheirReason_data()
{
    QTest::addColumn<Form>("form");
    QTest::addColumn<QString>("kind");
    for (const QString& kind : {u"status"_s, u"truncated"_s, u"reset"_s, u"loop"_s}) {
        QTest::addRow("%s, blocking", qPrintable(kind)) << Form::Blocking << kind;
        QTest::addRow("%s, asynchronous", qPrintable(kind)) << Form::Async << kind;
    }
}

void InstallFilesTest::networkFailuresAreToldWithTheirReason()
{
    QFETCH(Form, form);
    QFETCH(QString, kind);
    InstallFixture fixture;
    addFiles(fixture, 1);
    const QString path = fixture.tree().packedPath(fixture.tree().assets.at(0));
    const QByteArray packed = packLzma(contentOf(1));
    const QHash<QString, HttpAnswer> answers{
        // The right bytes under an error status are still an error.
        {u"status"_s, HttpAnswer::error(503, packed)},
        {u"truncated"_s, HttpAnswer::truncated(packed, packed.size() / 2)},
        {u"reset"_s, HttpAnswer::resetAfter(packed, packed.size() / 2)},
        {u"loop"_s, HttpAnswer::redirect(path)}};
    fixture.server().route(path, answers.value(kind));
    const MessageCapture log;
    const Outcome outcome = fixture.installAssets(form);
    QVERIFY(!outcome.ok);
    const QString prefix = u"Download failed: "_s;
    QVERIFY2(outcome.error.startsWith(prefix) && outcome.error.size() > prefix.size(),
             qUtf8Printable(outcome.error));
    const QString reason = form == Form::Async ? outcome.error : outcome.error.mid(prefix.size());
    QCOMPARE(log.lines(),
             QStringList{prefix + fixture.server().url(path).toString() + u' ' + reason});
    QVERIFY(fixture.files().isEmpty());
}

void InstallFilesTest::wrongPackedHashIsLoggedAndNamesTheFile()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"größe/a.txt"_s, "content");
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)),
                           packLzma("Content"));
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: größe/a.txt"_s);
    QCOMPARE(log.warnings(), QStringList{u"packed hash mismatch for größe/a.txt (%1 bytes)"_s.arg(
                                 packLzma("Content").size())});
    QVERIFY(fixture.files().isEmpty());
}

void InstallFilesTest::missingOrCapitalHashesNeverMatch()
{
    QFETCH(Form, form);
    const MessageCapture log;
    for (const bool capitals : {true, false}) {
        InstallFixture fixture;
        fixture.tree().addAsset(u"a"_s, "content");
        OrlFile& file = fixture.tree().assets[0];
        const OrlFile right = file;
        testfiles::write(fixture.path(u"a"_s), "content");
        file.unpackedhash = capitals ? right.unpackedhash.toUpper() : QString();
        QVERIFY(!fixture.client().isFileInstalled(file, fixture.folder()));
        VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
        QCOMPARE(fixture.server().paths().size(), 1);
        file.packedhash = capitals ? right.packedhash.toUpper() : QString();
        VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
        QCOMPARE(fixture.content(u"a"_s), QByteArray("content"));
    }
}

void InstallFilesTest::damagedPackingNamesTheAddress()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QByteArray damaged = "these bytes were never packed by anyone";
    OrlFile file = fileEntry(u"a"_s, u"files/odd name.lzma?x=1"_s, "content", damaged);
    fixture.tree().assets = {file};
    fixture.server().route(u"/launcher/client/files/odd%20name.lzma?x=1"_s, damaged);
    // Files under a "/launcher/" path lose their query on the way to the base address.
    fixture.server().route(u"/launcher/client/files/odd%20name.lzma"_s, damaged);
    VERIFY_FAILURE(fixture.installAssets(form),
                   u"Failed to decompress file downloaded from files/odd name.lzma?x=1"_s);
    QVERIFY(fixture.files().isEmpty());
}

void InstallFilesTest::wrongUnpackedHashOrSizeNamesTheFile()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    testfiles::write(fixture.path(u"a"_s), "old");
    const OrlFile right = fixture.tree().assets.at(0);
    OrlFile& file = fixture.tree().assets[0];
    const MessageCapture log;
    file.unpackedhash = emptyHash;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
    file = right;
    file.unpackedsize = 8;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
    QVERIFY(log.lines().isEmpty());
    QCOMPARE(fixture.content(u"a"_s), QByteArray("old"));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a"_s});
}

void InstallFilesTest::oldFileStandsUntilTheNewOneIsChecked()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    addFiles(fixture, 2);
    testfiles::write(fixture.path(u"data/1.txt"_s), "old 1");
    testfiles::write(fixture.path(u"data/2.txt"_s), "old 2");
    QList<QByteArray> seen;
    fixture.server().setRequestHook([&] {
        return [&](const QString&) {
            seen.append(fixture.content(u"data/1.txt"_s));
            seen.append(fixture.content(u"data/2.txt"_s));
        };
    }());
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(seen, (QList<QByteArray>{"old 1", "old 2", contentOf(1), "old 2"}));
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/assets.json.sha256"_s, u"Quelra/data/1.txt"_s,
                                           u"Quelra/data/2.txt"_s}));
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

void InstallFilesTest::reportsExactProgress()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    addFiles(fixture, 4);
    const auto size = [&fixture](int i) { return fixture.tree().assets.at(i).packedsize; };
    testfiles::write(fixture.path(u"data/2.txt"_s), contentOf(2));
    const qint64 total = size(0) + size(2) + size(3);
    VERIFY_SUCCESS(fixture.installAssets(form));
    // What the transfers themselves report is left to the network; the last report of each file is
    // not.
    QMap<int, Progress> last;
    qint64 before = 0;
    for (const Progress& step : std::as_const(fixture.progress())) {
        QCOMPARE(step.total, total);
        QCOMPARE(step.count, 4);
        QVERIFY(step.bytes >= before);
        before = step.bytes;
        last.insert(step.number, step);
    }
    QCOMPARE(last.values(), (QList<Progress>{{size(0), total, 1, 4},
                                             {size(0), total, 2, 4},
                                             {size(0) + size(2), total, 3, 4},
                                             {total, total, 4, 4}}));
}

void InstallFilesTest::progressDuringATransferCountsFromWhatIsDone()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QByteArray content = testfiles::randomBytes(400'000, 31);
    fixture.tree().addAsset(u"1"_s, contentOf(1));
    fixture.tree().addAsset(u"2"_s, content);
    OrlFile& second = fixture.tree().assets[1];
    const QByteArray packed = packLzma(content);
    // What the server says of the length is of no account.
    second.packedsize = 1000;
    // Reports of a transfer come at most every 100 ms.
    fixture.server().route(fixture.tree().packedPath(second),
                           HttpAnswer::drip(packed, packed.size() / 5, 60));
    VERIFY_SUCCESS(fixture.installAssets(form));
    const qint64 first = fixture.tree().assets.at(0).packedsize;
    QList<Progress> steps;
    for (const Progress& step : std::as_const(fixture.progress())) {
        QCOMPARE(step.total, first + 1000);
        if (step.number == 2)
            steps.append(step);
    }
    QVERIFY(steps.size() >= 3);
    QVERIFY(steps.first().bytes > first);
    QVERIFY(steps.first().bytes < first + packed.size());
    QCOMPARE(steps.at(steps.size() - 2).bytes, first + packed.size());
    // The account at the end goes by the stated size.
    QCOMPARE(steps.last().bytes, first + 1000);
}

void InstallFilesTest::unstatedSizesMayPassTheTotal()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    addFiles(fixture, 3);
    QList<OrlFile>& files = fixture.tree().assets;
    const qint64 first = files.at(0).packedsize;
    const qint64 second = files.at(1).packedsize;
    const qint64 third = files.at(2).packedsize;
    files[0].packedsize = -500;
    files[1].packedsize = 0;
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.progress().last(), (Progress{first + second + third, third, 3, 3}));
}

void InstallFilesTest::hugeStatedSizesDoNotOverflow()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    addFiles(fixture, 3);
    for (OrlFile& file : fixture.tree().assets)
        file.packedsize = most;
    VERIFY_SUCCESS(fixture.installAssets(form));
    for (const Progress& step : std::as_const(fixture.progress())) {
        QCOMPARE(step.total, most);
        QVERIFY(step.bytes >= 0);
    }
    QCOMPARE(fixture.progress().last(), (Progress{most, most, 3, 3}));
}

void InstallFilesTest::pathsThatLeaveTheFolderAreNeverTouched_data()
{
    QTest::addColumn<Form>("form");
    QTest::addColumn<QString>("localfile");
    for (const QString& path : {u"../outside"_s, u"a/../../outside"_s, u"/tmp/vornak-outside"_s,
                                u"a/.."_s, u"."_s, QString()}) {
        QTest::addRow("'%s', blocking", qPrintable(path)) << Form::Blocking << path;
        QTest::addRow("'%s', asynchronous", qPrintable(path)) << Form::Async << path;
    }
}

void InstallFilesTest::pathsThatLeaveTheFolderAreNeverTouched()
{
    QFETCH(Form, form);
    QFETCH(QString, localfile);
    InstallFixture fixture;
    addFiles(fixture, 1);
    // Right content out there does not count as installed either.
    testfiles::write(fixture.path(u"../outside"_s), contentOf(2));
    fixture.tree().addAsset(localfile, contentOf(2));
    const QString path = QDir(fixture.folder()).filePath(localfile);
    VERIFY_FAILURE(fixture.installAssets(form), u"Failed to create folder: '%1'."_s.arg(path));
    QCOMPARE(fixture.server().paths(),
             QStringList{fixture.tree().packedPath(fixture.tree().assets.at(0))});
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/data/1.txt"_s, u"outside"_s}));
    QVERIFY(!QFile::exists(u"/tmp/vornak-outside"_s));
    QVERIFY(!fixture.client().isFileInstalled(fixture.tree().assets.at(1), fixture.folder()));
}

void InstallFilesTest::callsNothingWithoutATarget()
{
    InstallFixture fixture;
    addFiles(fixture, 2);
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
    addFiles(fixture, 2);
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

void InstallFilesTest::takesNoErrorPointer()
{
    InstallFixture fixture;
    addFiles(fixture, 1);
    PackageClient& client = fixture.client();
    const QUrl url = fixture.tree().assetsUrl();
    const QString path = fixture.tree().packedPath(fixture.tree().assets.at(0));
    const MessageCapture log;
    for (const QByteArray& body : {QByteArray(), QByteArray("damaged")}) {
        fixture.server().route(path, body);
        QVERIFY(!client.installAssets(url, fixture.tree().assets, {}, fixture.folder(), nullptr));
    }
    fixture.server().removeRoute(path);
    QVERIFY(!client.installAssets(url, fixture.tree().assets, {}, fixture.folder(), nullptr));
    fixture.tree().assets[0].localfile = u"../x"_s;
    QVERIFY(!client.installAssets(url, fixture.tree().assets, {}, fixture.folder(), nullptr));
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
