#include "package/LauncherMetadata.h"
#include "package/PackageClient.h"
#include "package/Unpack.h"
#include "publish/ContentFolder.h"
#include "publish/Publication.h"
#include "publish/PublishKit.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString folder10 = u"/launcher/packages/Quelra/1.0/windows-x86_64/"_s;
const QString folder11 = u"/launcher/packages/Quelra/1.1/windows-x86_64/"_s;

Files someFiles()
{
    return {{u"client"_s, testfiles::textBytes(200'000, 1)},
            {u"data/map"_s, testfiles::randomBytes(50'000, 2)},
            {u"data/map copy"_s, testfiles::randomBytes(50'000, 2)},
            {u"empty"_s, {}},
            {u"größe/λ"_s, "x"}};
}

LauncherMetadata metadataOf(const Files& served)
{
    return readLauncherMetadata(served.value(addresses::metadata), nullptr);
}

// What the documents promise, from the served bytes alone.
Files unpackedFiles(const Files& served, const QList<OrlFile>& files, const QString& folder)
{
    Files contents;
    for (const OrlFile& file : files) {
        const QByteArray packed = served.value(QUrl(folder).resolved(QUrl(file.url)).path());
        QByteArray content;
        if (hashBytes(packed) != file.packedhash || packed.size() != file.packedsize ||
            !unpackLzma(packed, content, nullptr) || hashBytes(content) != file.unpackedhash ||
            content.size() != file.unpackedsize)
            content = "broken";
        contents.insert(file.localfile, content);
    }
    return contents;
}

qsizetype packedCount(const Files& served)
{
    qsizetype count = 0;
    for (auto file = served.begin(); file != served.end(); ++file)
        count += file.key().endsWith(u".lzma"_s) ? 1 : 0;
    return count;
}

} // namespace

class PublicationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void publishesEveryFileOnce();
    void writesWhatTheLauncherReads();
    void publicAddressStandsInTheMetadataAlone();
    void sameBytesWithAnyNumberOfThreads();
    void newVersionSharesWhatDidNotChange();
    void labelsStayUntilTheyAreGiven();
    void partOfTheInputBecomesAssets();
    void anotherFolderBecomesAssets();
    void sameAssetsKeepTheirIdentity();
    void refusesAndWritesNothing_data();
    void refusesAndWritesNothing();
    void refusesANewContentUnderAnOldVersion();
    void sameVersionAgainChangesNothing();
    void damagedPackedFileIsMended();
    void rememberedFilesNeedNoPackingAfterAnInterruption();
    void unfinishedVersionIsWrittenAnew();
    void secondPublisherIsRefused();
    void damagedMetadataIsLeftAlone();
    void metadataGetsYoungerEachTime();
    void severalPackagesAndBuildsStandSideBySide();
    void launcherHasAPlaceOfItsOwn();
    void warnsOfALauncherOfAnotherVersion();
    void workFolderIsEmptyAfterwards();
};

void PublicationTest::publishesEveryFileOnce()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    const Files served = fixture.served();
    const OrlPackageDoc doc = parsePackageDoc(served.value(folder10 + u"package.json"_s), nullptr);
    QCOMPARE(doc.version, u"1.0"_s);
    QCOMPARE(doc.executable, u"client"_s);
    QCOMPARE(unpackedFiles(served, doc.files, folder10), someFiles());
    // Two of the five have the same content.
    QCOMPARE(packedCount(served), 4);
    QCOMPARE(fixture.report.packed, 4);
    QCOMPARE(fixture.report.files, 5);
    for (const OrlFile& file : doc.files)
        QVERIFY(file.url.endsWith(file.packedhash + u".lzma"_s));
}

void PublicationTest::writesWhatTheLauncherReads()
{
    PublishFixture fixture;
    PublishRequest request = fixture.request(u"1.0"_s);
    fixture.setInput(someFiles());
    request.generation = u"g7"_s;
    request.labels = {u"Quelra demo"_s, u"demo"_s, u"https://www.example"_s, true};
    QCOMPARE(fixture.run(request), QStringList());
    const Files served = fixture.served();
    const LauncherMetadata metadata = metadataOf(served);
    QCOMPARE(metadata.packages.size(), 1);
    const LauncherPackage package = metadata.packages.first();
    QCOMPARE(package.name, u"Quelra demo"_s);
    QCOMPARE(package.variant, u"demo"_s);
    QCOMPARE(package.logolinktarget, u"https://www.example"_s);
    QCOMPARE(package.directoryname, u"Quelra"_s);
    QVERIFY(package.installautomatically);
    const LauncherBuild* build = selectBuild(package.builds, PackageClient::currentOs(),
                                             PackageClient::currentArchitecture());
    QVERIFY(build);
    QCOMPARE(build->url, QUrl(folder10 + u"package.json"_s));
    QCOMPARE(served.value(build->versionurl.toString()), "1.0");
    QVERIFY(build->assetsurl.isEmpty());
    QVERIFY(build->assetsversionurl.isEmpty());
    QVERIFY(metadata.hints.isEmpty());
    QCOMPARE(parsePackageDoc(served.value(build->url.toString()), nullptr).generation, u"g7"_s);
}

void PublicationTest::publicAddressStandsInTheMetadataAlone()
{
    PublishFixture plain;
    PublishFixture fixture;
    QCOMPARE(plain.publishFiles(u"1.0"_s, someFiles()), QStringList());
    fixture.setInput(someFiles());
    PublishRequest request = fixture.request(u"1.0"_s);
    request.publicUrl = u"https://cdn.example/game"_s;
    QCOMPARE(fixture.run(request), QStringList());
    Files served = fixture.served();
    const LauncherBuild build = metadataOf(served).packages.first().builds.first();
    QCOMPARE(build.url.toString(), u"https://cdn.example/game"_s + folder10 + u"package.json"_s);
    QCOMPARE(build.versionurl.toString(),
             u"https://cdn.example/game"_s + folder10 + u"version.txt"_s);
    Files others = plain.served();
    served.remove(addresses::metadata);
    others.remove(addresses::metadata);
    QCOMPARE(served, others);
}

void PublicationTest::sameBytesWithAnyNumberOfThreads()
{
    Files expected;
    for (const int threads : {1, 2, 7}) {
        PublishFixture fixture;
        Files files = someFiles();
        for (quint32 i = 0; i < 60; ++i)
            files.insert(u"many/%1"_s.arg(i), testfiles::textBytes(i * 100, i));
        fixture.setInput(files);
        PublishRequest request = fixture.request(u"1.0"_s);
        request.packing.limits.threads = threads;
        QCOMPARE(fixture.run(request), QStringList());
        if (expected.isEmpty())
            expected = fixture.served();
        QCOMPARE(fixture.served(), expected);
    }
}

void PublicationTest::newVersionSharesWhatDidNotChange()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    const Files before = fixture.served();
    Files files = someFiles();
    files[u"data/map"_s] = testfiles::randomBytes(60'000, 3);
    files[u"renamed"_s] = files.take(u"empty"_s);
    files[u"new"_s] = "new";
    QCOMPARE(fixture.publishFiles(u"1.1"_s, files), QStringList());
    QCOMPARE(fixture.report.packed, 2);
    QCOMPARE(fixture.report.reused, 4);
    const Files after = fixture.served();
    QCOMPARE(packedCount(after), packedCount(before) + 2);
    // All that was there is as it was, apart from the metadata.
    for (auto file = before.begin(); file != before.end(); ++file)
        QVERIFY2(file.key() == addresses::metadata || after.value(file.key()) == *file,
                 qPrintable(file.key()));
    QCOMPARE(metadataOf(after).packages.first().builds.first().url,
             QUrl(folder11 + u"package.json"_s));
    const OrlPackageDoc doc = parsePackageDoc(after.value(folder11 + u"package.json"_s), nullptr);
    QCOMPARE(unpackedFiles(after, doc.files, folder11), files);
}

void PublicationTest::labelsStayUntilTheyAreGiven()
{
    PublishFixture fixture;
    fixture.setInput(someFiles());
    PublishRequest request = fixture.request(u"1.0"_s);
    request.labels = {u"Name"_s, u"demo"_s, u"https://www.example"_s, true};
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.publishFiles(u"1.1"_s, someFiles()), QStringList());
    LauncherPackage package = metadataOf(fixture.served()).packages.first();
    QCOMPARE(package.name, u"Name"_s);
    QCOMPARE(package.variant, u"demo"_s);
    QVERIFY(package.installautomatically);
    request.version = u"1.2"_s;
    request.labels = {u"Other"_s, QString(), std::nullopt, false};
    QCOMPARE(fixture.run(request), QStringList());
    package = metadataOf(fixture.served()).packages.first();
    QCOMPARE(package.name, u"Other"_s);
    QCOMPARE(package.variant, QString());
    QCOMPARE(package.logolinktarget, u"https://www.example"_s);
    QVERIFY(!package.installautomatically);
}

void PublicationTest::partOfTheInputBecomesAssets()
{
    PublishFixture fixture;
    fixture.setInput(someFiles());
    PublishRequest request = fixture.request(u"1.0"_s);
    request.assets = u"data"_s;
    QCOMPARE(fixture.run(request), QStringList());
    const Files served = fixture.served();
    const LauncherBuild build = metadataOf(served).packages.first().builds.first();
    const QList<OrlFile> assets = parseAssetList(served.value(build.assetsurl.toString()), nullptr);
    Files expected = someFiles();
    const OrlPackageDoc doc = parsePackageDoc(served.value(build.url.toString()), nullptr);
    Files expectedAssets;
    for (const QString& name : {u"data/map"_s, u"data/map copy"_s})
        expectedAssets.insert(name, expected.take(name));
    QCOMPARE(unpackedFiles(served, assets, folder10), expectedAssets);
    QCOMPARE(unpackedFiles(served, doc.files, folder10), expected);
    QCOMPARE(QString::fromLatin1(served.value(build.assetsversionurl.toString())),
             hashBytes(served.value(build.assetsurl.toString())));
}

void PublicationTest::anotherFolderBecomesAssets()
{
    PublishFixture fixture;
    fixture.setInput(someFiles());
    writeFiles(fixture.path(u"assets"_s), {{u"sky/a"_s, "a"}, {u"b"_s, "b"}});
    PublishRequest request = fixture.request(u"1.0"_s);
    request.assets = fixture.path(u"assets"_s);
    QCOMPARE(fixture.run(request), QStringList());
    const Files served = fixture.served();
    const QList<OrlFile> assets =
        parseAssetList(served.value(folder10 + u"assets.json"_s), nullptr);
    QCOMPARE(unpackedFiles(served, assets, folder10), (Files{{u"sky/a"_s, "a"}, {u"b"_s, "b"}}));
    QCOMPARE(parsePackageDoc(served.value(folder10 + u"package.json"_s), nullptr).files.size(), 5);
}

void PublicationTest::sameAssetsKeepTheirIdentity()
{
    PublishFixture fixture;
    PublishRequest request = fixture.request(u"1.0"_s);
    request.assets = u"data"_s;
    fixture.setInput(someFiles());
    QCOMPARE(fixture.run(request), QStringList());
    Files files = someFiles();
    files[u"client"_s] += "changed";
    fixture.setInput(files);
    request.version = u"1.1"_s;
    QCOMPARE(fixture.run(request), QStringList());
    files[u"data/map"_s] += "changed";
    fixture.setInput(files);
    request.version = u"1.2"_s;
    QCOMPARE(fixture.run(request), QStringList());
    const Files served = fixture.served();
    const QString folder12 = QString(folder11).replace(u"1.1"_s, u"1.2"_s);
    QCOMPARE(served.value(folder10 + u"assets.txt"_s), served.value(folder11 + u"assets.txt"_s));
    QVERIFY(served.value(folder10 + u"assets.txt"_s) != served.value(folder12 + u"assets.txt"_s));
}

void PublicationTest::refusesAndWritesNothing_data()
{
    QTest::addColumn<QString>("extraFile");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("executable");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("assets");
    QTest::addColumn<QString>("publicUrl");
    const auto row = [](const char* name) -> QTestData& { return QTest::newRow(name); };
    row("reserved name") << u"aux.txt"_s << u"1"_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("case") << u"CLIENT"_s << u"1"_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("long") << QString(239, u'x') << u"1"_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("version") << u"x"_s << u""_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("executable") << u"x"_s << u"1"_s << u"Client"_s << u"Q"_s << u""_s << u""_s;
    row("no executable") << u"x"_s << u"1"_s << u""_s << u"Q"_s << u""_s << u""_s;
    row("directory") << u"x"_s << u"1"_s << u"client"_s << u"../Q"_s << u""_s << u""_s;
    row("no assets") << u"x"_s << u"1"_s << u"client"_s << u"Q"_s << u"none"_s << u""_s;
    row("executable in assets") << u"x"_s << u"1"_s << u"data/map"_s << u"Q"_s << u"data"_s
                                << u""_s;
    row("public address") << u"x"_s << u"1"_s << u"client"_s << u"Q"_s << u""_s << u"cdn.example"_s;
}

void PublicationTest::refusesAndWritesNothing()
{
    QFETCH(QString, extraFile);
    PublishFixture fixture;
    Files files = someFiles();
    files.insert(extraFile, "x");
    fixture.setInput(files);
    QFETCH(QString, version);
    PublishRequest request = fixture.request(version);
    QFETCH(QString, executable);
    request.executable = executable;
    QFETCH(QString, directory);
    request.product.directory = directory;
    QFETCH(QString, assets);
    request.assets = assets;
    QFETCH(QString, publicUrl);
    request.publicUrl = publicUrl;
    const QStringList faults = fixture.run(request);
    QCOMPARE(faults.size(), 1);
    QVERIFY(!faults.first().contains(u'\n'));
    QVERIFY(!QFileInfo::exists(fixture.content()));
}

void PublicationTest::refusesANewContentUnderAnOldVersion()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    QCOMPARE(fixture.publishFiles(u"1.1"_s, someFiles()), QStringList());
    const Files before = fixture.served();
    Files files = someFiles();
    files[u"client"_s] += "changed";
    const QStringList faults = fixture.publishFiles(u"1.0"_s, files);
    QCOMPARE(faults.size(), 1);
    QVERIFY(faults.first().contains(u"published before"_s));
    QCOMPARE(fixture.served(), before);
    // Not even one file less passes.
    files = someFiles();
    files.remove(u"empty"_s);
    QCOMPARE(fixture.publishFiles(u"1.0"_s, files).size(), 1);
    QCOMPARE(fixture.served(), before);
}

void PublicationTest::sameVersionAgainChangesNothing()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    const Files before = fixture.served();
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    QVERIFY(fixture.report.unchanged);
    QCOMPARE(fixture.report.packed, 0);
    QCOMPARE(fixture.served(), before);
}

void PublicationTest::damagedPackedFileIsMended()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    const Files before = fixture.served();
    for (auto file = before.begin(); file != before.end(); ++file) {
        if (!file.key().endsWith(u".lzma"_s))
            continue;
        QByteArray damaged = *file;
        damaged[damaged.size() / 2] = static_cast<char>(damaged.at(damaged.size() / 2) ^ 1);
        testfiles::write(fixture.content() + file.key(), damaged);
    }
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    QCOMPARE(fixture.report.packed, 4);
    QCOMPARE(fixture.served(), before);

    // At another level other bytes come out, which the old documents do not name.
    QDir(fixture.content() + u"/launcher/files"_s).removeRecursively();
    PublishRequest request = fixture.request(u"1.0"_s);
    request.packing.level = {8, true};
    const QStringList faults = fixture.run(request);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"--level"_s), qPrintable(faults.first()));
}

void PublicationTest::rememberedFilesNeedNoPackingAfterAnInterruption()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    const Files before = fixture.served();
    // As if the publisher had been killed before any document was written, and while it noted the
    // last packed file.
    QDir(fixture.content() + u"/launcher/packages"_s).removeRecursively();
    QFile::remove(fixture.content() + addresses::metadata);
    QFile index(fixture.content() + u"/.publisher/packed.index"_s);
    QVERIFY(index.resize(index.size() - 30));
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    QCOMPARE(fixture.report.packed, 1);
    QCOMPARE(fixture.report.reused, 3);
    QCOMPARE(fixture.served(), before);
    // The half line has not spoilt what was noted after it.
    QDir(fixture.content() + u"/launcher/packages"_s).removeRecursively();
    QFile::remove(fixture.content() + addresses::metadata);
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    QCOMPARE(fixture.report.reused, 4);
}

void PublicationTest::unfinishedVersionIsWrittenAnew()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    // A version whose folder is there but which the metadata never named.
    testfiles::write(fixture.content() + folder11 + u"package.json"_s, "{}");
    testfiles::write(fixture.content() + folder11 + u"assets.json"_s, "{}");
    testfiles::write(fixture.content() + u"/.publisher/work/17"_s, "left behind");
    QCOMPARE(fixture.publishFiles(u"1.1"_s, someFiles()), QStringList());
    const Files served = fixture.served();
    QVERIFY(!served.contains(folder11 + u"assets.json"_s));
    const OrlPackageDoc doc = parsePackageDoc(served.value(folder11 + u"package.json"_s), nullptr);
    QCOMPARE(unpackedFiles(served, doc.files, folder11), someFiles());
    QVERIFY(!QFileInfo::exists(fixture.content() + u"/.publisher/work/17"_s));
}

void PublicationTest::secondPublisherIsRefused()
{
    PublishFixture fixture;
    ContentFolder other(fixture.content());
    QVERIFY(other.openForWriting(nullptr));
    const QStringList faults = fixture.publishFiles(u"1.0"_s, someFiles());
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"another publisher"_s), qPrintable(faults.first()));
    QVERIFY(fixture.served().isEmpty());
}

void PublicationTest::damagedMetadataIsLeftAlone()
{
    PublishFixture fixture;
    testfiles::write(fixture.content() + addresses::metadata, "{\"packages\": [");
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()).size(), 1);
    QCOMPARE(fixture.served(), (Files{{addresses::metadata, "{\"packages\": ["}}));
}

void PublicationTest::metadataGetsYoungerEachTime()
{
    PublishFixture fixture;
    qint64 before = 0;
    for (const QString& version : {u"1.0"_s, u"1.1"_s, u"1.2"_s}) {
        QCOMPARE(fixture.publishFiles(version, someFiles()), QStringList());
        const qint64 time =
            QFileInfo(fixture.content() + addresses::metadata).lastModified().toSecsSinceEpoch();
        QVERIFY(time > before);
        before = time;
    }
}

void PublicationTest::severalPackagesAndBuildsStandSideBySide()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    PublishRequest request = fixture.request(u"1.0"_s);
    request.platform.architecture = u"arm64;riscv"_s;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.packed, 0);
    request = fixture.request(u"7"_s);
    request.product.directory = u"Test realm"_s;
    QCOMPARE(fixture.run(request), QStringList());
    const LauncherMetadata metadata = metadataOf(fixture.served());
    QCOMPARE(metadata.packages.size(), 2);
    QCOMPARE(metadata.packages.at(0).directoryname, u"Quelra"_s);
    QCOMPARE(metadata.packages.at(0).builds.size(), 2);
    QCOMPARE(metadata.packages.at(1).name, u"Test realm"_s);
    for (const LauncherPackage& package : metadata.packages) {
        for (const LauncherBuild& build : package.builds)
            QVERIFY(fixture.served().contains(build.url.toString()));
    }
}

void PublicationTest::launcherHasAPlaceOfItsOwn()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    PublishRequest request = fixture.request(u"3"_s);
    request.product = {true, {}};
    QCOMPARE(fixture.run(request), QStringList());
    const Files served = fixture.served();
    const LauncherMetadata metadata = metadataOf(served);
    QCOMPARE(metadata.packages.size(), 1);
    QCOMPARE(metadata.launcherBuilds.size(), 1);
    const LauncherBuild build = metadata.launcherBuilds.first();
    QCOMPARE(served.value(build.versionurl.toString()), "3");
    const OrlPackageDoc doc = parsePackageDoc(served.value(build.url.toString()), nullptr);
    QCOMPARE(unpackedFiles(served, doc.files, build.url.adjusted(QUrl::RemoveFilename).toString()),
             someFiles());
}

void PublicationTest::warnsOfALauncherOfAnotherVersion()
{
    PublishFixture fixture;
    // The text lies across two of the pieces that are read at a time.
    QByteArray program(0x100000 - 3, 'x');
    program += "7.31-rc";
    fixture.setInput({{u"client"_s, program}});
    PublishRequest request = fixture.request(u"7.31-rc"_s);
    request.product = {true, {}};
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.progress.warnings, QStringList());
    request.version = u"7.32"_s;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.progress.warnings.size(), 1);
}

void PublicationTest::workFolderIsEmptyAfterwards()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, someFiles()), QStringList());
    QCOMPARE(testfiles::list(fixture.content() + u"/.publisher/work"_s), QStringList());
}

VORNAK_TEST_MAIN(PublicationTest)
#include "tst_publication.moc"
