#include "package/Hashes.h"
#include "package/SignedTerms.h"
#include "publish/Addresses.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/FourVersions.h"
#include "publish/HintsPublication.h"
#include "publish/Inventory.h"
#include "publish/Prune.h"
#include "publish/PublishRequest.h"
#include "publish/RemoveBuilds.h"
#include "publish/SignContent.h"
#include "publish/SigningKit.h"
#include "publish/SwitchVersion.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

/// Gives each document the same signature.
class ConstantSigner : public MetadataSigner
{
public:
    std::optional<QByteArray> sign(const QByteArray&, ContentFolder&, QString*) const override
    {
        return made;
    }
    std::optional<minisign::PublicKey> publicKey() const override { return {}; }

    QByteArray made;
};

} // namespace

class SigningTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void unsignedContentStaysAsItWas();
    void signsTheHashesOfWhatIsServed();
    void doesNotSignWhatIsDamaged();
    void doesNotSignWhatSomebodyElseChanged_data();
    void doesNotSignWhatSomebodyElseChanged();
    void signsAgainOnlyWhatHasChanged();
    void signsAgainWhenTheSignatureIsMissing();
    void serialsGrowOverAllChannels();
    void refusesWhenNoSerialIsLeft();
    void everyCommandRefusesToWriteUnsigned();
    void endsTheSigningWhenTold();
    void pruningGoesOnWithoutAKey();
    void pruningRemovesOldSignatures();
    void listsWhatIsSigned();
    void hintsLeaveSignedMetadataAlone();
    void signsForATime();
    void signsAllThatIsCurrent();
    void refusesASignerWhoseSignatureIsWrong();

private:
    QStringList sign();
    QStringList switchTo(const QString& version, const QString& channel = {});
    QByteArray current(const QString& channel = {}) const;
    qint64 serial(const QString& channel = {}) const;

    std::unique_ptr<FourVersions> m_fixture;
    Signing m_signing;
    QList<minisign::PublicKey> m_keys;
};

void SigningTest::init()
{
    m_fixture = std::make_unique<FourVersions>();
    QCOMPARE(m_fixture->fill(), QStringList());
    m_signing = newSigning(*m_fixture, u"key"_s);
    QVERIFY(m_signing.signer);
    m_keys = {*m_signing.signer->publicKey()};
}

QStringList SigningTest::sign()
{
    qsizetype documents = 0;
    return signContent(m_fixture->content(), m_signing, documents);
}

QStringList SigningTest::switchTo(const QString& version, const QString& channel)
{
    return switchVersion({m_fixture->content(), {}, {}, version, channel, m_signing});
}

QByteArray SigningTest::current(const QString& channel) const
{
    return m_fixture->served().value(channels::metadata(channel));
}

qint64 SigningTest::serial(const QString& channel) const
{
    return readSignedTerms(current(channel)).serial;
}

void SigningTest::unsignedContentStaysAsItWas()
{
    const Files before = m_fixture->served();
    QCOMPARE(switchTo(u"3"_s), QStringList());
    QVERIFY(current().contains("sha256"));
    m_signing = {};
    m_signing.endSigning = true;
    QCOMPARE(switchTo(u"4"_s), QStringList());
    QCOMPARE(current(), before.value(addresses::metadata));
    m_signing = {};
    QCOMPARE(switchTo(u"3"_s), QStringList());
    QCOMPARE(switchTo(u"4"_s), QStringList());
    QCOMPARE(current(), before.value(addresses::metadata));
}

void SigningTest::signsTheHashesOfWhatIsServed()
{
    m_fixture->setInput({{u"client"_s, "x"}, {u"assets/a"_s, "a"}});
    PublishRequest request = m_fixture->request(u"5"_s);
    request.assets = u"assets"_s;
    request.signing = m_signing;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    const QJsonObject build = QJsonDocument::fromJson(current())
                                  .object()
                                  .value(u"packages"_s)
                                  .toArray()
                                  .at(0)
                                  .toObject()
                                  .value(u"builds"_s)
                                  .toArray()
                                  .at(0)
                                  .toObject();
    const Files served = m_fixture->served();
    for (const QString& key : {u"url"_s, u"versionurl"_s, u"assetsurl"_s, u"assetsversionurl"_s}) {
        QVERIFY(!build.value(key).toString().isEmpty());
        QCOMPARE(build.value(key + u"sha256"_s).toString(),
                 hashBytes(served.value(build.value(key).toString())));
    }
    // A build without assets says nothing of theirs.
    QCOMPARE(switchTo(u"4"_s), QStringList());
    QVERIFY(!current().contains("assetsurlsha256"));
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
}

void SigningTest::doesNotSignWhatIsDamaged()
{
    const QString path = u"/launcher/packages/Quelra/4/windows-x86_64/version.txt"_s;
    for (const QByteArray& damage : {QByteArray("5"), QByteArray()}) {
        if (damage.isEmpty())
            QVERIFY(QFile::remove(m_fixture->content() + path));
        else
            testfiles::write(m_fixture->content() + path, damage);
        const Files before = m_fixture->served();
        const QStringList faults = sign();
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().contains(path), qPrintable(faults.first()));
        QCOMPARE(m_fixture->served(), before);
    }
}

void SigningTest::doesNotSignWhatSomebodyElseChanged_data()
{
    QTest::addColumn<bool>("stripped");
    QTest::newRow("changed") << false;
    QTest::newRow("changed, and without anything that shows that it was signed") << true;
}

void SigningTest::doesNotSignWhatSomebodyElseChanged()
{
    QFETCH(bool, stripped);
    QCOMPARE(sign(), QStringList());
    const QByteArray good = current();
    auto document = MetadataDocument::read(good, nullptr);
    document->setPackage(u"Quelra"_s, {u"Mine"_s, {}, {}, {}});
    if (stripped)
        document->removeTerms();
    const QString path = m_fixture->content() + addresses::metadata;
    testfiles::write(path, document->bytes());
    const Files before = m_fixture->served();
    const Signing signing = m_signing;
    for (const Signing& way : {signing, Signing()}) {
        m_signing = way;
        for (const QStringList& faults :
             {sign(), switchTo(u"3"_s), switchTo(u"3"_s, u"beta"_s),
              m_fixture->publishFiles(u"5"_s, FourVersions::filesOf(5))}) {
            QCOMPARE(faults.size(), 1);
            QVERIFY2(faults.first().contains(u"was changed since it was signed"_s),
                     qPrintable(faults.first()));
        }
        QCOMPARE(m_fixture->served(), before);
    }

    // What was signed is fine again.
    m_signing = signing;
    testfiles::write(path, good);
    QCOMPARE(switchTo(u"3"_s), QStringList());
    // So is what the operator says is right.
    testfiles::write(path, document->bytes());
    m_signing = {};
    m_signing.endSigning = true;
    QCOMPARE(sign(), QStringList());
    m_signing = signing;
    QCOMPARE(sign(), QStringList());
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
}

void SigningTest::signsAgainOnlyWhatHasChanged()
{
    QCOMPARE(sign(), QStringList());
    const Files before = m_fixture->served();
    QCOMPARE(switchTo(u"4"_s), QStringList());
    QCOMPARE(m_fixture->served(), before);
    const qint64 old = serial();
    QCOMPARE(switchTo(u"3"_s), QStringList());
    QVERIFY(serial() > old);
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
}

void SigningTest::signsAgainWhenTheSignatureIsMissing()
{
    QCOMPARE(sign(), QStringList());
    for (const bool isCut : {false, true}) {
        const QString path =
            m_fixture->content() + addresses::signatures + hashBytes(current()) + u".minisig"_s;
        const QByteArray good = testfiles::read(path);
        QVERIFY(QFile::remove(path));
        if (isCut)
            testfiles::write(path, good.first(good.size() / 2));
        QVERIFY(!launchersFault(*m_fixture, m_keys).isEmpty());
        QCOMPARE(switchTo(u"4"_s), QStringList());
        QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    }
}

void SigningTest::serialsGrowOverAllChannels()
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    QCOMPARE(switchTo(u"3"_s, u"beta"_s), QStringList());
    QVERIFY(serial(u"beta"_s) >= now);
    QCOMPARE(launchersFault(*m_fixture, m_keys, u"beta"_s), QString());
    QVERIFY(!launchersFault(*m_fixture, m_keys).isEmpty());
    qint64 last = serial(u"beta"_s);
    for (const QString& channel : {QString(), u"beta"_s, u"alpha"_s, QString()}) {
        QCOMPARE(switchTo(serial(channel) % 2 == 0 ? u"1"_s : u"2"_s, channel), QStringList());
        if (serial(channel) <= last)
            QCOMPARE(switchTo(u"4"_s, channel), QStringList());
        QVERIFY(serial(channel) > last);
        QCOMPARE(readSignedTerms(current(channel)).channel, channel);
        QCOMPARE(launchersFault(*m_fixture, m_keys, channel), QString());
        last = serial(channel);
    }
}

void SigningTest::refusesWhenNoSerialIsLeft()
{
    QCOMPARE(sign(), QStringList());
    const QByteArray largest = QByteArray::number(SignedTerms::largestSerial);
    const QByteArray document = current().replace(QByteArray::number(serial()), largest);
    ContentFolder tree(m_fixture->content());
    const auto signature = m_signing.signer->sign(document, tree, nullptr);
    testfiles::write(m_fixture->content() + addresses::signatures + hashBytes(document) +
                         u".minisig"_s,
                     signature.value());
    testfiles::write(m_fixture->content() + addresses::metadata, document);
    QCOMPARE(serial(), SignedTerms::largestSerial);
    const Files before = m_fixture->served();
    const QStringList faults = switchTo(u"3"_s);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"no serial number is left"_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->served(), before);
}

void SigningTest::everyCommandRefusesToWriteUnsigned()
{
    QCOMPARE(switchTo(u"4"_s, u"beta"_s), QStringList());
    const QStringList before = testfiles::list(m_fixture->content());
    const Files served = m_fixture->served();
    m_signing = {};
    QList<QStringList> faults{m_fixture->publishFiles(u"5"_s, FourVersions::filesOf(5)),
                              switchTo(u"3"_s), switchTo(u"3"_s, u"beta"_s)};
    RemoveReport report;
    faults.append(removeBuilds({m_fixture->content(), {false, u"Quelra"_s}, {}, false, {}},
                               m_fixture->progress, report));
    for (const QStringList& of : std::as_const(faults)) {
        QCOMPARE(of.size(), 1);
        QVERIFY2(of.first().contains(u"--sign-with"_s), qPrintable(of.first()));
    }
    QCOMPARE(m_fixture->served(), served);
    QCOMPARE(testfiles::list(m_fixture->content()), before);
}

void SigningTest::endsTheSigningWhenTold()
{
    const Files before = m_fixture->served();
    QCOMPARE(switchTo(u"4"_s, u"beta"_s), QStringList());
    QCOMPARE(sign(), QStringList());
    m_signing = {};
    m_signing.endSigning = true;
    QCOMPARE(sign(), QStringList());
    QCOMPARE(current(), before.value(addresses::metadata));
    for (const char* member : {"serial", "expires", "\"channel\"", "sha256"})
        QVERIFY(!current(u"beta"_s).contains(member));
    m_signing = {};
    QCOMPARE(switchTo(u"3"_s), QStringList());
}

void SigningTest::pruningGoesOnWithoutAKey()
{
    QCOMPARE(sign(), QStringList());
    const QByteArray before = current();
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report),
             QStringList());
    QCOMPARE(report.removedVersions.size(), 3);
    QCOMPARE(current(), before);
    QCOMPARE(m_fixture->progress.warnings.size(), 1);
    // Who signs next cleans up.
    QCOMPARE(sign(), QStringList());
    const auto document = MetadataDocument::read(current(), nullptr);
    QCOMPARE(document->history({false, u"Quelra"_s}), QStringList(u"4"_s));
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report, m_signing),
             QStringList());
    QCOMPARE(m_fixture->progress.warnings.size(), 1);
}

void SigningTest::pruningRemovesOldSignatures()
{
    const auto files = [this] { return m_fixture->served().keys().filter(u".minisig"_s); };
    const auto makeOld = [this](const QString& address) {
        QFile file(m_fixture->content() + address);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(-31),
                                 QFileDevice::FileModificationTime));
    };
    QCOMPARE(sign(), QStringList());
    const QString first = files().constFirst();
    QCOMPARE(switchTo(u"3"_s), QStringList());
    const QString second =
        files().filter(QRegularExpression(u"^(?!"_s + first + u"$)"_s)).constFirst();
    QCOMPARE(switchTo(u"4"_s), QStringList());
    QCOMPARE(switchTo(u"4"_s, u"beta"_s), QStringList());
    QCOMPARE(files().size(), 4);
    // All are old but the second.
    for (const QString& address : files()) {
        if (address != second)
            makeOld(address);
    }
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 9, false, m_fixture->progress, report),
             QStringList());
    QCOMPARE(files().size(), 3);
    QVERIFY(!files().contains(first));
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    QCOMPARE(launchersFault(*m_fixture, m_keys, u"beta"_s), QString());
}

void SigningTest::listsWhatIsSigned()
{
    Inventory inventory;
    QCOMPARE(takeInventory(m_fixture->content(), m_fixture->progress, inventory), QStringList());
    QVERIFY(inventory.signatures.isEmpty());
    m_signing.expiresInDays = 9;
    QCOMPARE(switchTo(u"4"_s, u"beta"_s), QStringList());
    QCOMPARE(takeInventory(m_fixture->content(), m_fixture->progress, inventory), QStringList());
    QCOMPARE(inventory.signatures.size(), 2);
    QCOMPARE(inventory.signatures.first().terms.serial, 0);
    QVERIFY(!inventory.signatures.first().fault.isEmpty());
    QCOMPARE(inventory.signatures.last().channel, u"beta"_s);
    QCOMPARE(inventory.signatures.last().terms.serial, serial(u"beta"_s));
    QVERIFY(inventory.signatures.last().terms.expires);
    QCOMPARE(inventory.signatures.last().fault, QString());
}

void SigningTest::hintsLeaveSignedMetadataAlone()
{
    QCOMPARE(sign(), QStringList());
    const QByteArray before = current();
    testfiles::write(m_fixture->path(u"hints.json"_s),
                     R"([{"title": "a", "text": "<table><tr><td>b</td></tr></table>"}])");
    HintsReport report;
    QCOMPARE(publishHints(m_fixture->path(u"hints.json"_s), m_fixture->content(), {}, {}, report),
             QStringList());
    QCOMPARE(report.warnings.size(), 1);
    QCOMPARE(current(), before);
    PublishRequest request = m_fixture->request(u"5"_s);
    request.signing = m_signing;
    QCOMPARE(m_fixture->run(request), QStringList());
    QVERIFY(current().contains("/hints.json"));
}

void SigningTest::signsForATime()
{
    m_signing.expiresInDays = 30;
    const QDateTime before = QDateTime::currentDateTimeUtc();
    QCOMPARE(switchTo(u"4"_s), QStringList());
    const QDateTime end =
        QDateTime::fromString(readSignedTerms(current()).expires.value_or(QString()), Qt::ISODate);
    QCOMPARE(end.timeSpec(), Qt::UTC);
    const qint64 days = 30;
    QVERIFY(qAbs(before.addDays(days).secsTo(end)) < 3600);
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    // A time that is asked for is set, though nothing else changes.
    const qint64 old = serial();
    m_signing.expiresInDays = 60;
    QCOMPARE(switchTo(u"4"_s), QStringList());
    QVERIFY(serial() > old);
    QVERIFY(readSignedTerms(current()).expires != end.toString(Qt::ISODate));
}

void SigningTest::signsAllThatIsCurrent()
{
    m_signing = {};
    QCOMPARE(switchTo(u"3"_s, u"beta"_s), QStringList());
    m_signing = newSigning(*m_fixture, u"another"_s);
    m_keys = {*m_signing.signer->publicKey()};
    QVERIFY(!launchersFault(*m_fixture, m_keys).isEmpty());
    for (int i = 0; i < 2; ++i) {
        const qint64 old = std::max(serial(), serial(u"beta"_s));
        QCOMPARE(sign(), QStringList());
        QVERIFY(serial() > old);
        QVERIFY(serial(u"beta"_s) > serial());
        QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
        QCOMPARE(launchersFault(*m_fixture, m_keys, u"beta"_s), QString());
        QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    }
}

void SigningTest::refusesASignerWhoseSignatureIsWrong()
{
    QCOMPARE(sign(), QStringList());
    const auto signer = std::make_shared<ConstantSigner>();
    const Files before = m_fixture->served();
    const QByteArray ofAnotherDocument =
        before.value(addresses::signatures + hashBytes(current()) + u".minisig"_s);
    QVERIFY(!ofAnotherDocument.isEmpty());
    m_signing = {};
    m_signing.signer = signer;
    for (const QByteArray& made : {QByteArray(), QByteArray("x"), ofAnotherDocument}) {
        signer->made = made;
        const QStringList faults = switchTo(u"3"_s);
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().startsWith(u"the metadata was not signed: "_s),
                 qPrintable(faults.first()));
        QCOMPARE(m_fixture->served(), before);
    }
}

VORNAK_TEST_MAIN(SigningTest)
#include "tst_signing.moc"
