#include "package/LauncherMetadata.h"
#include "package/PackageClient.h"
#include "package/Unpack.h"
#include "publish/Addresses.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QTest>
#include <QUrl>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

LauncherMetadata metadataOf(const Files& served)
{
    return readLauncherMetadata(served.value(addresses::metadata), nullptr);
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
    void severalPackagesAndBuildsStandSideBySide();
    void launcherHasAPlaceOfItsOwn();
};

void PublicationTest::publishesEveryFileOnce()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    const Files served = fixture.served();
    const OrlPackageDoc doc = parsePackageDoc(served.value(folder10 + u"package.json"_s), nullptr);
    QCOMPARE(doc.version, u"1.0"_s);
    QCOMPARE(doc.executable, u"client"_s);
    QCOMPARE(unpackedFiles(served, doc.files, folder10), smallClient());
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
    fixture.setInput(smallClient());
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
    QCOMPARE(plain.publishFiles(u"1.0"_s, smallClient()), QStringList());
    fixture.setInput(smallClient());
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
        Files files = smallClient();
        for (quint32 i = 0; i < 60; ++i)
            files.insert(u"many/%1"_s.arg(i), testfiles::textBytes(qsizetype(i) * 100, i));
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
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    const Files before = fixture.served();
    Files files = smallClient();
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
    fixture.setInput(smallClient());
    PublishRequest request = fixture.request(u"1.0"_s);
    request.labels = {u"Name"_s, u"demo"_s, u"https://www.example"_s, true};
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.publishFiles(u"1.1"_s, smallClient()), QStringList());
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
    fixture.setInput(smallClient());
    PublishRequest request = fixture.request(u"1.0"_s);
    request.assets = u"data"_s;
    QCOMPARE(fixture.run(request), QStringList());
    const Files served = fixture.served();
    const LauncherBuild build = metadataOf(served).packages.first().builds.first();
    const QList<OrlFile> assets = parseAssetList(served.value(build.assetsurl.toString()), nullptr);
    Files expected = smallClient();
    const OrlPackageDoc doc = parsePackageDoc(served.value(build.url.toString()), nullptr);
    Files expectedAssets;
    for (const QString& name : {u"data/map"_s, u"data/map copy"_s})
        expectedAssets.insert(name, expected.take(name));
    QCOMPARE(unpackedFiles(served, assets, folder10), expectedAssets);
    QCOMPARE(unpackedFiles(served, doc.files, folder10), expected);
    QVERIFY(QString::fromLatin1(served.value(build.assetsversionurl.toString()))
                .startsWith(hashBytes(served.value(build.assetsurl.toString())) + u'-'));
}

void PublicationTest::anotherFolderBecomesAssets()
{
    PublishFixture fixture;
    fixture.setInput(smallClient());
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
    fixture.setInput(smallClient());
    QCOMPARE(fixture.run(request), QStringList());
    Files files = smallClient();
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

void PublicationTest::severalPackagesAndBuildsStandSideBySide()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
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
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    Files launcher = smallClient();
    launcher.insert(u"client"_s, launcherProgram(u"3"_s));
    fixture.setInput(launcher);
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
             launcher);
}

VORNAK_TEST_MAIN(PublicationTest)
#include "tst_publication.moc"
