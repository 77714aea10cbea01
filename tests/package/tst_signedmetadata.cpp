#include "package/AcceptedSerials.h"
#include "package/PackageClient.h"
#include "support/ContentTree.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"
#include "support/TestSigner.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

/// A client with the key of a publisher, in front of what that one has signed.
struct Fixture
{
    Fixture()
    {
        client.setBaseUrl(server.baseUrl());
        client.setDataFolder(data.path());
        client.setPublisherKeys({signer.keyText()});
        tree.publishSigned(signer, 10);
    }

    [[nodiscard]] QString metadataAddress() const
    {
        return server.baseUrl() + ContentTree::metadataPath;
    }
    [[nodiscard]] QString signaturePath() const
    {
        return ContentTree::signaturePath(tree.servedMetadata);
    }
    [[nodiscard]] bool hasSavedCopy() const
    {
        return QFile::exists(data.filePath(u"launchermetadata.json"_s));
    }
    [[nodiscard]] qint64 accepted() const
    {
        return acceptedserials::highest(data.path(), metadataAddress());
    }
    [[nodiscard]] QString distrust(const QString& reason) const
    {
        return u"Cannot trust %1: %2"_s.arg(metadataAddress(), reason);
    }

    QTemporaryDir data;
    ScriptedHttpServer server;
    ContentTree tree{server};
    TestSigner signer;
    PackageClient client;
};

} // namespace

/// A client that takes signed launcher metadata only.
class SignedMetadataTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesWhatItsPublisherHasSigned();
    void asksForNothingMoreWithoutKeys();
    void asksForNoSignatureOfNothing();
    void eachOfTwoKeysWillDo();
    void keyThatCannotBeReadLetsNothingThrough();
    void refusesOtherDocuments_data();
    void refusesOtherDocuments();
    void signatureWithoutAnEndIsCutOff();
    void quittingWhileTheSignatureComesIsNoDistrust();
    void remembersTheHighestSerialOfEachAddress();
    void fullDiskKeepsNobodyFromPlaying();
    void requiredHashDecides_data();
    void requiredHashDecides();
};

void SignedMetadataTest::takesWhatItsPublisherHasSigned()
{
    Fixture fixture;
    QString error;
    const MessageCapture messages;
    const LauncherMetadata metadata = fixture.client.fetchLauncherMetadata(&error);
    QCOMPARE(metadata, fixture.tree.metadata);
    QVERIFY(!metadata.packages.first().builds.first().urlsha256.isEmpty());
    QCOMPARE(error, QString());
    QCOMPARE(messages.lines(), QStringList());
    QCOMPARE(fixture.server.paths(),
             QStringList({QString(ContentTree::metadataPath), fixture.signaturePath()}));
    QCOMPARE(testfiles::read(fixture.data.filePath(u"launchermetadata.json"_s)),
             fixture.tree.servedMetadata);
    QCOMPARE(fixture.accepted(), 10);
}

void SignedMetadataTest::asksForNothingMoreWithoutKeys()
{
    Fixture fixture;
    fixture.client.setPublisherKeys({});
    QVERIFY(!fixture.client.takesSignedOnly());
    QCOMPARE(fixture.client.fetchLauncherMetadata(), fixture.tree.metadata);
    QCOMPARE(fixture.server.paths(), QStringList(QString(ContentTree::metadataPath)));
    QVERIFY(!QFile::exists(acceptedserials::filePath(fixture.data.path())));
}

void SignedMetadataTest::asksForNoSignatureOfNothing()
{
    Fixture fixture;
    fixture.server.route(ContentTree::metadataPath, HttpAnswer::error(404));
    const MessageCapture messages;
    QString error;
    QVERIFY(fixture.client.fetchLauncherMetadata(&error).packages.isEmpty());
    QVERIFY2(error.startsWith(u"Download failed: "_s), qPrintable(error));
    QCOMPARE(fixture.server.paths(), QStringList(QString(ContentTree::metadataPath)));
    QCOMPARE(messages.lines().size(), 1);
}

void SignedMetadataTest::eachOfTwoKeysWillDo()
{
    Fixture fixture;
    const TestSigner next;
    fixture.client.setPublisherKeys({fixture.signer.keyText(), next.keyText()});
    QCOMPARE(fixture.client.fetchLauncherMetadata(), fixture.tree.metadata);
    fixture.tree.publishSigned(next, 11);
    QCOMPARE(fixture.client.fetchLauncherMetadata(), fixture.tree.metadata);
}

void SignedMetadataTest::keyThatCannotBeReadLetsNothingThrough()
{
    Fixture fixture;
    fixture.client.setPublisherKeys({u"RWnonsense"_s});
    const MessageCapture messages;
    QVERIFY(fixture.client.fetchLauncherMetadata().packages.isEmpty());
    fixture.tree.publish();
    QVERIFY(fixture.client.fetchLauncherMetadata().packages.isEmpty());
}

void SignedMetadataTest::refusesOtherDocuments_data()
{
    using Change = std::function<void(Fixture&)>;
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("reason");
    const QString none = u"there is no signature of it"_s;
    QTest::newRow("unsigned") << Change([](Fixture& f) { f.tree.publish(); }) << none;
    QTest::newRow("changed") << Change([](Fixture& f) {
        f.server.route(ContentTree::metadataPath, f.tree.servedMetadata + ' ');
    }) << none;
    QTest::newRow("changed, with the signature of the one before") << Change([](Fixture& f) {
        const QByteArray changed = f.tree.servedMetadata + ' ';
        f.server.route(ContentTree::metadataPath, changed);
        f.server.route(ContentTree::signaturePath(changed), f.signer.sign(f.tree.servedMetadata));
    }) << u"the signature is not of this document"_s;
    QTest::newRow("signed by another")
        << Change([](Fixture& f) { f.tree.publishSigned(TestSigner(), 11); })
        << u"the signature is of another key"_s;
    QTest::newRow("a page instead of the signature")
        << Change([](Fixture& f) { f.server.route(f.signaturePath(), "<html>login</html>"); })
        << u"the signature is malformed"_s;
    QTest::newRow("an empty signature")
        << Change([](Fixture& f) { f.server.route(f.signaturePath(), QByteArray()); }) << none;
    QTest::newRow("an error instead of the signature")
        << Change([](Fixture& f) { f.server.route(f.signaturePath(), HttpAnswer::error(500)); })
        << none;
    QTest::newRow("a signature of 1 GB") << Change([](Fixture& f) {
        HttpAnswer answer = HttpAnswer::stallAfter("untrusted comment: ", 19);
        answer.announcedLength = 1'000'000'000;
        f.server.route(f.signaturePath(), answer);
    }) << none;
    QTest::newRow("no serial") << Change([](Fixture& f) { f.tree.publishSigned(f.signer, 0); })
                               << u"it has no serial number"_s;
    QTest::newRow("another channel's") << Change([](Fixture& f) {
        f.tree.publishSigned(f.signer, 11, {{u"channel"_s, u"beta"_s}});
    }) << u"it is that of the channel beta"_s;
    QTest::newRow("expired") << Change([](Fixture& f) {
        f.tree.publishSigned(f.signer, 11, {{u"expires"_s, u"2026-01-01T00:00:00Z"_s}});
    }) << u"it expired at 2026-01-01T00:00:00Z"_s;
    QTest::newRow("signed, but no document") << Change([](Fixture& f) {
        f.server.route(ContentTree::metadataPath, "[]");
        f.server.route(ContentTree::signaturePath("[]"), f.signer.sign("[]"));
    }) << u"it has no serial number"_s;
}

void SignedMetadataTest::refusesOtherDocuments()
{
    QFETCH(std::function<void(Fixture&)>, change);
    QFETCH(QString, reason);
    Fixture fixture;
    change(fixture);
    const MessageCapture messages;
    QString error;
    QCOMPARE(fixture.client.fetchLauncherMetadata(&error), LauncherMetadata());
    // The reason is no business of the player's; that something could not be fetched is.
    QVERIFY2(error.isEmpty() || error.startsWith(u"Download failed: "_s), qPrintable(error));
    QCOMPARE(messages.lines().last(), fixture.distrust(reason));
    QVERIFY(!fixture.hasSavedCopy());
    QCOMPARE(fixture.accepted(), 0);

    // A mended server is believed again.
    fixture.tree.publishSigned(fixture.signer, 12);
    QCOMPARE(fixture.client.fetchLauncherMetadata(&error), fixture.tree.metadata);
}

void SignedMetadataTest::signatureWithoutAnEndIsCutOff()
{
    Fixture fixture;
    HttpAnswer answer = HttpAnswer::drip(QByteArray(10'000'000, 'x'), 10'000, 20);
    answer.announcedLength = -2;
    fixture.server.route(fixture.signaturePath(), answer);
    const MessageCapture messages;
    QVERIFY(fixture.client.fetchLauncherMetadata().packages.isEmpty());
    QCOMPARE(messages.lines().last(), fixture.distrust(u"there is no signature of it"_s));
}

void SignedMetadataTest::quittingWhileTheSignatureComesIsNoDistrust()
{
    Fixture fixture;
    fixture.server.route(fixture.signaturePath(), HttpAnswer::stall().calling([] {
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    }));
    const MessageCapture messages;
    LauncherMetadata metadata = fixture.tree.metadata;
    QTimer::singleShot(0, qApp, [&] { metadata = fixture.client.fetchLauncherMetadata(); });
    QCoreApplication::exec();
    QCOMPARE(metadata, LauncherMetadata());
    QVERIFY(messages.lines().filter(u"Cannot trust"_s).isEmpty());
    QVERIFY(!fixture.hasSavedCopy());
}

void SignedMetadataTest::remembersTheHighestSerialOfEachAddress()
{
    Fixture fixture;
    QVERIFY(!fixture.client.fetchLauncherMetadata().packages.isEmpty());
    fixture.tree.publishSigned(fixture.signer, 9);
    {
        const MessageCapture messages;
        QVERIFY(fixture.client.fetchLauncherMetadata().packages.isEmpty());
        QCOMPARE(messages.lines(), QStringList(fixture.distrust(
                                       u"its serial number is 9, and 10 was accepted before"_s)));
    }
    fixture.tree.publishSigned(fixture.signer, 10);
    QVERIFY(!fixture.client.fetchLauncherMetadata().packages.isEmpty());
    fixture.tree.publishSigned(fixture.signer, 15);
    QVERIFY(!fixture.client.fetchLauncherMetadata().packages.isEmpty());
    QCOMPARE(fixture.accepted(), 15);

    // Another server begins anew.
    ScriptedHttpServer other;
    ContentTree tree(other);
    tree.publishSigned(fixture.signer, 3);
    fixture.client.setBaseUrl(other.baseUrl());
    QVERIFY(!fixture.client.fetchLauncherMetadata().packages.isEmpty());
    QCOMPARE(fixture.accepted(), 15);
}

void SignedMetadataTest::fullDiskKeepsNobodyFromPlaying()
{
    Fixture fixture;
    const QString file = fixture.data.filePath(u"file"_s);
    testfiles::write(file, "x");
    fixture.client.setDataFolder(file + u"/data"_s);
    const MessageCapture messages;
    QCOMPARE(fixture.client.fetchLauncherMetadata(), fixture.tree.metadata);
    QVERIFY2(messages.lines().first().startsWith(
                 u"Cannot write %1/data/accepted-serials.json: "_s.arg(file)),
             qPrintable(messages.lines().join(u'\n')));
}

void SignedMetadataTest::requiredHashDecides_data()
{
    QTest::addColumn<PackageClient::RequiredHash>("hash");
    QTest::addColumn<bool>("taken");
    const QString right = u"b9e68e1bea3e5b19ca6b2f98b73a54b73daafaa250484902e09982e07a12e733"_s;
    QTest::newRow("none") << PackageClient::RequiredHash() << true;
    QTest::newRow("the right one") << PackageClient::RequiredHash(right) << true;
    QTest::newRow("in capitals") << PackageClient::RequiredHash(right.toUpper()) << false;
    QTest::newRow("another") << PackageClient::RequiredHash(QString(64, u'0')) << false;
    QTest::newRow("an empty one") << PackageClient::RequiredHash(QString()) << false;
}

void SignedMetadataTest::requiredHashDecides()
{
    QFETCH(PackageClient::RequiredHash, hash);
    QFETCH(bool, taken);
    Fixture fixture;
    fixture.server.route(u"/launcher/a"_s, "text\n");
    const QUrl address = fixture.server.url(u"/launcher/a"_s);
    const MessageCapture messages;
    QString error;
    QCOMPARE(fixture.client.fetchText(address, &error, hash), taken ? u"text"_s : QString());
    QCOMPARE(fixture.client.fetchBytes(address, &error, 100, hash),
             taken ? QByteArray("text\n") : QByteArray());
    QCOMPARE(error, QString());
    const QString line =
        u"Cannot trust %1: its SHA-256 is not the one that was signed"_s.arg(address.toString());
    QCOMPARE(messages.lines(), taken ? QStringList() : QStringList({line, line}));
}

QTEST_GUILESS_MAIN(SignedMetadataTest)
#include "tst_signedmetadata.moc"
