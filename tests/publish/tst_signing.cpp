#include "package/Hashes.h"
#include "package/SignedTerms.h"
#include "publish/Addresses.h"
#include "publish/HintsPublication.h"
#include "publish/Inventory.h"
#include "publish/MetadataDocument.h"
#include "publish/Prune.h"
#include "publish/PublishRequest.h"
#include "publish/SignedVersions.h"
#include "publish/SigningKit.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace publish;

class SigningTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void unsignedContentStaysAsItWas();
    void signsTheHashesOfWhatIsServed();
    void signsAgainOnlyWhatHasChanged();
    void signsAgainWhenTheSignatureIsMissing();
    void serialsGrowOverAllChannels();
    void endsTheSigningWhenTold();
    void pruningGoesOnWithoutAKey();
    void pruningRemovesOldSignatures();
    void listsWhatIsSigned();
    void hintsLeaveSignedMetadataAlone();
    void signsForATime();
    void signsAllThatIsCurrent();

private:
    std::unique_ptr<SignedVersions> m_fixture;
};

void SigningTest::init()
{
    m_fixture = std::make_unique<SignedVersions>();
    QCOMPARE(m_fixture->fill(), QStringList());
    QVERIFY(m_fixture->startSigning());
}

void SigningTest::unsignedContentStaysAsItWas()
{
    const Files before = m_fixture->served();
    QCOMPARE(m_fixture->switchTo(u"3"_s), QStringList());
    QVERIFY(m_fixture->current().contains("sha256"));
    m_fixture->signing = {};
    m_fixture->signing.endSigning = true;
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    QCOMPARE(m_fixture->current(), before.value(addresses::metadata));
    m_fixture->signing = {};
    QCOMPARE(m_fixture->switchTo(u"3"_s), QStringList());
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    QCOMPARE(m_fixture->current(), before.value(addresses::metadata));
}

void SigningTest::signsTheHashesOfWhatIsServed()
{
    m_fixture->setInput({{u"client"_s, "x"}, {u"assets/a"_s, "a"}});
    PublishRequest request = m_fixture->request(u"5"_s);
    request.assets = u"assets"_s;
    request.signing = m_fixture->signing;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(m_fixture->launchersFault(), QString());
    const QJsonObject build = QJsonDocument::fromJson(m_fixture->current())
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
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    QVERIFY(!m_fixture->current().contains("assetsurlsha256"));
    QCOMPARE(m_fixture->launchersFault(), QString());
}

void SigningTest::signsAgainOnlyWhatHasChanged()
{
    QCOMPARE(m_fixture->sign(), QStringList());
    const Files before = m_fixture->served();
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    QCOMPARE(m_fixture->served(), before);
    const qint64 old = m_fixture->serial();
    QCOMPARE(m_fixture->switchTo(u"3"_s), QStringList());
    QVERIFY(m_fixture->serial() > old);
    QCOMPARE(m_fixture->launchersFault(), QString());
}

void SigningTest::signsAgainWhenTheSignatureIsMissing()
{
    QCOMPARE(m_fixture->sign(), QStringList());
    for (const bool isCut : {false, true}) {
        const QString path = m_fixture->content() + addresses::signatures +
                             hashBytes(m_fixture->current()) + u".minisig"_s;
        const QByteArray good = testfiles::read(path);
        QVERIFY(QFile::remove(path));
        if (isCut)
            testfiles::write(path, good.first(good.size() / 2));
        QVERIFY(!m_fixture->launchersFault().isEmpty());
        QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
        QCOMPARE(m_fixture->launchersFault(), QString());
    }
}

void SigningTest::serialsGrowOverAllChannels()
{
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    QCOMPARE(m_fixture->switchTo(u"3"_s, u"beta"_s), QStringList());
    QVERIFY(m_fixture->serial(u"beta"_s) >= now);
    QCOMPARE(m_fixture->launchersFault(u"beta"_s), QString());
    QVERIFY(!m_fixture->launchersFault().isEmpty());
    qint64 last = m_fixture->serial(u"beta"_s);
    for (const QString& channel : {QString(), u"beta"_s, u"alpha"_s, QString()}) {
        QCOMPARE(
            m_fixture->switchTo(m_fixture->serial(channel) % 2 == 0 ? u"1"_s : u"2"_s, channel),
            QStringList());
        if (m_fixture->serial(channel) <= last)
            QCOMPARE(m_fixture->switchTo(u"4"_s, channel), QStringList());
        QVERIFY(m_fixture->serial(channel) > last);
        QCOMPARE(readSignedTerms(m_fixture->current(channel)).channel, channel);
        QCOMPARE(m_fixture->launchersFault(channel), QString());
        last = m_fixture->serial(channel);
    }
}

void SigningTest::endsTheSigningWhenTold()
{
    const Files before = m_fixture->served();
    QCOMPARE(m_fixture->switchTo(u"4"_s, u"beta"_s), QStringList());
    QCOMPARE(m_fixture->sign(), QStringList());
    m_fixture->signing = {};
    m_fixture->signing.endSigning = true;
    QCOMPARE(m_fixture->sign(), QStringList());
    QCOMPARE(m_fixture->current(), before.value(addresses::metadata));
    for (const char* member : {"serial", "expires", "\"channel\"", "sha256"})
        QVERIFY(!m_fixture->current(u"beta"_s).contains(member));
    m_fixture->signing = {};
    QCOMPARE(m_fixture->switchTo(u"3"_s), QStringList());
}

void SigningTest::pruningGoesOnWithoutAKey()
{
    QCOMPARE(m_fixture->sign(), QStringList());
    const QByteArray before = m_fixture->current();
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report),
             QStringList());
    QCOMPARE(report.removedVersions.size(), 3);
    QCOMPARE(m_fixture->current(), before);
    QCOMPARE(m_fixture->progress.warnings.size(), 1);
    // Who signs next cleans up.
    QCOMPARE(m_fixture->sign(), QStringList());
    const auto document = MetadataDocument::read(m_fixture->current(), nullptr);
    QCOMPARE(document->history({false, u"Quelra"_s}), QStringList(u"4"_s));
    QCOMPARE(m_fixture->launchersFault(), QString());
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report,
                           m_fixture->signing),
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
    QCOMPARE(m_fixture->sign(), QStringList());
    const QString first = files().constFirst();
    QCOMPARE(m_fixture->switchTo(u"3"_s), QStringList());
    const QString second =
        files().filter(QRegularExpression(u"^(?!"_s + first + u"$)"_s)).constFirst();
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    QCOMPARE(m_fixture->switchTo(u"4"_s, u"beta"_s), QStringList());
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
    QCOMPARE(m_fixture->launchersFault(), QString());
    QCOMPARE(m_fixture->launchersFault(u"beta"_s), QString());
}

void SigningTest::listsWhatIsSigned()
{
    Inventory inventory;
    QCOMPARE(takeInventory(m_fixture->content(), m_fixture->progress, inventory), QStringList());
    QVERIFY(inventory.signatures.isEmpty());
    m_fixture->signing.expiresInDays = 9;
    QCOMPARE(m_fixture->switchTo(u"4"_s, u"beta"_s), QStringList());
    QCOMPARE(takeInventory(m_fixture->content(), m_fixture->progress, inventory), QStringList());
    QCOMPARE(inventory.signatures.size(), 2);
    QCOMPARE(inventory.signatures.first().terms.serial, 0);
    QVERIFY(!inventory.signatures.first().fault.isEmpty());
    QCOMPARE(inventory.signatures.last().channel, u"beta"_s);
    QCOMPARE(inventory.signatures.last().terms.serial, m_fixture->serial(u"beta"_s));
    QVERIFY(inventory.signatures.last().terms.expires);
    QCOMPARE(inventory.signatures.last().fault, QString());
}

void SigningTest::hintsLeaveSignedMetadataAlone()
{
    QCOMPARE(m_fixture->sign(), QStringList());
    const QByteArray before = m_fixture->current();
    testfiles::write(m_fixture->path(u"hints.json"_s),
                     R"([{"title": "a", "text": "<table><tr><td>b</td></tr></table>"}])");
    HintsReport report;
    QCOMPARE(publishHints(m_fixture->path(u"hints.json"_s), m_fixture->content(), {}, {}, report),
             QStringList());
    QCOMPARE(report.warnings.size(), 1);
    QCOMPARE(m_fixture->current(), before);
    PublishRequest request = m_fixture->request(u"5"_s);
    request.signing = m_fixture->signing;
    QCOMPARE(m_fixture->run(request), QStringList());
    QVERIFY(m_fixture->current().contains("/hints.json"));
}

void SigningTest::signsForATime()
{
    m_fixture->signing.expiresInDays = 30;
    const QDateTime before = QDateTime::currentDateTimeUtc();
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    const QDateTime end = QDateTime::fromString(
        readSignedTerms(m_fixture->current()).expires.value_or(QString()), Qt::ISODate);
    QCOMPARE(end.timeSpec(), Qt::UTC);
    const qint64 days = 30;
    QVERIFY(qAbs(before.addDays(days).secsTo(end)) < 3600);
    QCOMPARE(m_fixture->launchersFault(), QString());
    // A time that is asked for is set, though nothing else changes.
    const qint64 old = m_fixture->serial();
    m_fixture->signing.expiresInDays = 60;
    QCOMPARE(m_fixture->switchTo(u"4"_s), QStringList());
    QVERIFY(m_fixture->serial() > old);
    QVERIFY(readSignedTerms(m_fixture->current()).expires != end.toString(Qt::ISODate));
}

void SigningTest::signsAllThatIsCurrent()
{
    m_fixture->signing = {};
    QCOMPARE(m_fixture->switchTo(u"3"_s, u"beta"_s), QStringList());
    m_fixture->signing = newSigning(*m_fixture, u"another"_s);
    m_fixture->keys = {*m_fixture->signing.signer->publicKey()};
    QVERIFY(!m_fixture->launchersFault().isEmpty());
    for (int i = 0; i < 2; ++i) {
        const qint64 old = std::max(m_fixture->serial(), m_fixture->serial(u"beta"_s));
        QCOMPARE(m_fixture->sign(), QStringList());
        QVERIFY(m_fixture->serial() > old);
        QVERIFY(m_fixture->serial(u"beta"_s) > m_fixture->serial());
        QCOMPARE(m_fixture->launchersFault(), QString());
        QCOMPARE(m_fixture->launchersFault(u"beta"_s), QString());
        QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    }
}

VORNAK_TEST_MAIN(SigningTest)
#include "tst_signing.moc"
