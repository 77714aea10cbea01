#include "launcher/Installation.h"
#include "package/PackageClient.h"
#include "support/ContentTree.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"
#include "support/TestSigner.h"

#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using Offer = Installation::Offer;

namespace {

/// A player with a launcher that takes signed content only, and version 1.0.0 with an asset
/// installed. The server offers 2.0.0 with other assets.
struct SignedFixture
{
    SignedFixture()
    {
        client.setBaseUrl(server.baseUrl());
        client.setDataFolder(data.path());
        client.setPublisherKeys({signer.keyText()});
        offer(u"1.0.0"_s);
        isReady = look() && installation.update(&error);
        before = contents();
        offer(u"2.0.0"_s);
    }

    void offer(const QString& version)
    {
        tree.package.version = version;
        tree.package.files.clear();
        tree.assets.clear();
        file = tree.addFile(u"data.bin"_s, "content of " + version.toUtf8());
        asset = tree.addAsset(u"asset.bin"_s, "asset of " + version.toUtf8());
        tree.assetsIdentity = u"identity of "_s + version;
        tree.publishSigned(signer, ++serial);
    }

    // What the window does at the start.
    bool look()
    {
        const LauncherMetadata metadata = client.fetchLauncherMetadata();
        if (metadata.packages.isEmpty() || !installation.select(metadata.packages.first()))
            return false;
        installation.fetchOffered();
        return true;
    }

    [[nodiscard]] QList<QByteArray> contents() const
    {
        QList<QByteArray> bytes;
        for (const auto& name : {u"data.bin"_s, u"asset.bin"_s, u"package.json"_s,
                                 u"package.json.version"_s, u"assets.json.sha256"_s})
            bytes.append(testfiles::read(data.filePath(u"packages/Quelra/"_s + name)));
        return bytes;
    }

    QTemporaryDir data;
    ScriptedHttpServer server;
    ContentTree tree{server};
    TestSigner signer;
    PackageClient client;
    Installation installation{&client};
    qint64 serial = 0;
    OrlFile file;
    OrlFile asset;
    QList<QByteArray> before;
    QString error;
    bool isReady = false;
};

using Change = std::function<void(SignedFixture&)>;

// The answer of a path, with another body.
Change serving(QLatin1StringView path, const QByteArray& body)
{
    return [path, body](SignedFixture& fixture) { fixture.server.route(path, body); };
}

// The packed file of another version under the address of the new one's.
Change swappingPacked(OrlFile SignedFixture::*file)
{
    return [file](SignedFixture& fixture) {
        fixture.server.route(fixture.tree.packedPath(fixture.*file), packLzma("another program"));
    };
}

// What the server would say of a package with a program of its own in it.
QByteArray foreignDocument()
{
    OrlPackageDoc doc;
    doc.version = u"2.0.0"_s;
    doc.files = {fileEntry(u"data.bin"_s, u"files/1.lzma"_s, "x", packLzma("x"))};
    return packageDocJson(doc);
}

} // namespace

/// An installation that is served by somebody who cannot sign.
class SignedInstallationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesWhatWasSigned();
    void refusesWhatWasNot_data();
    void refusesWhatWasNot();
    void statedHashesAreNeeded_data();
    void statedHashesAreNeeded();
};

void SignedInstallationTest::takesWhatWasSigned()
{
    SignedFixture fixture;
    QVERIFY2(fixture.isReady, qPrintable(fixture.error));
    QVERIFY(fixture.look());
    QCOMPARE(fixture.installation.offer(), Offer::Update);
    QVERIFY2(fixture.installation.update(&fixture.error), qPrintable(fixture.error));
    QCOMPARE(fixture.contents().first(), "content of 2.0.0");
    QCOMPARE(fixture.contents().at(1), "asset of 2.0.0");
    QVERIFY(fixture.installation.isUpToDate());
}

void SignedInstallationTest::refusesWhatWasNot_data()
{
    QTest::addColumn<Change>("change");
    // The part that is refused comes before or after the package, which is in place then.
    QTest::addColumn<bool>("packageComes");
    const auto& version = ContentTree::versionPath;
    const auto& document = ContentTree::packagePath;
    const auto& identity = ContentTree::assetsVersionPath;
    const auto& list = ContentTree::assetsPath;
    QTest::newRow("document with another program") << serving(document, foreignDocument()) << false;
    QTest::newRow("cut document") << Change([](SignedFixture& fixture) {
        fixture.server.route(ContentTree::packagePath,
                             packageDocJson(fixture.tree.package).chopped(1));
    }) << false;
    QTest::newRow("empty document") << serving(document, {}) << false;
    QTest::newRow("document of the old version") << Change([](SignedFixture& fixture) {
        OrlPackageDoc old = fixture.tree.package;
        old.version = u"1.0.0"_s;
        fixture.server.route(ContentTree::packagePath, packageDocJson(old));
    }) << false;
    QTest::newRow("another packed file") << swappingPacked(&SignedFixture::file) << false;
    QTest::newRow("other identity") << serving(identity, "identity of 3.0.0") << true;
    QTest::newRow("empty identity") << serving(identity, {}) << true;
    QTest::newRow("other list") << serving(list, assetListJson({})) << true;
    QTest::newRow("cut list") << Change([](SignedFixture& fixture) {
        fixture.server.route(ContentTree::assetsPath,
                             assetListJson(fixture.tree.assets).chopped(1));
    }) << true;
    QTest::newRow("another packed asset") << swappingPacked(&SignedFixture::asset) << true;
    QTest::newRow("other version text")
        << Change([version](SignedFixture& fixture) { fixture.server.route(version, "3.0.0"); })
        << true;
}

void SignedInstallationTest::refusesWhatWasNot()
{
    QFETCH(Change, change);
    QFETCH(bool, packageComes);
    SignedFixture fixture;
    QVERIFY2(fixture.isReady, qPrintable(fixture.error));
    change(fixture);
    const MessageCapture messages;
    QVERIFY(fixture.look());
    const bool isWhole = fixture.installation.update(&fixture.error);
    const QList<QByteArray> after = fixture.contents();
    // Everything is as it was, or as it was signed; never anything else.
    QCOMPARE(after.first(), packageComes ? QByteArray("content of 2.0.0") : fixture.before.first());
    if (!packageComes) {
        QVERIFY(!isWhole);
        QCOMPARE(after, fixture.before);
    }
    QVERIFY2(after.at(1) == fixture.before.at(1) || after.at(1) == "asset of 2.0.0", after.at(1));

    // A mended server heals it.
    fixture.tree.publishSigned(fixture.signer, fixture.serial);
    fixture.server.route(fixture.tree.packedPath(fixture.file), packLzma("content of 2.0.0"));
    fixture.server.route(fixture.tree.packedPath(fixture.asset), packLzma("asset of 2.0.0"));
    QVERIFY(fixture.look());
    QVERIFY2(fixture.installation.update(&fixture.error), qPrintable(fixture.error));
    QVERIFY(fixture.installation.isUpToDate());
    QCOMPARE(fixture.contents().at(1), "asset of 2.0.0");
}

void SignedInstallationTest::statedHashesAreNeeded_data()
{
    QTest::addColumn<QString LauncherBuild::*>("hash");
    QTest::addColumn<bool>("packageComes");
    QTest::newRow("document") << &LauncherBuild::urlsha256 << false;
    QTest::newRow("version text") << &LauncherBuild::versionurlsha256 << true;
    QTest::newRow("list") << &LauncherBuild::assetsurlsha256 << true;
    QTest::newRow("identity") << &LauncherBuild::assetsversionurlsha256 << true;
}

void SignedInstallationTest::statedHashesAreNeeded()
{
    QFETCH(QString LauncherBuild::*, hash);
    QFETCH(bool, packageComes);
    SignedFixture fixture;
    QVERIFY2(fixture.isReady, qPrintable(fixture.error));
    LauncherPackage package = fixture.tree.metadata.packages.first();
    package.builds.first().*hash = QString();
    QVERIFY(fixture.installation.select(package));
    const MessageCapture messages;
    fixture.installation.fetchOffered();
    static_cast<void>(fixture.installation.update(&fixture.error));
    QVERIFY(!messages.warnings().filter(u"Cannot trust "_s).isEmpty());
    // No identity reads as no assets to look at, as if it could not be fetched.
    QCOMPARE(fixture.contents().at(1), hash == &LauncherBuild::versionurlsha256
                                           ? QByteArray("asset of 2.0.0")
                                           : fixture.before.at(1));
    QCOMPARE(fixture.contents().first(),
             packageComes ? QByteArray("content of 2.0.0") : fixture.before.first());
}

QTEST_GUILESS_MAIN(SignedInstallationTest)
#include "tst_signedinstallation.moc"
