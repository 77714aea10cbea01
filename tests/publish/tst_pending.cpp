#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/FourVersions.h"
#include "publish/MetadataDocument.h"
#include "publish/PendingMetadata.h"
#include "publish/Prune.h"
#include "publish/PublishRequest.h"
#include "publish/SignContent.h"
#include "publish/SigningKit.h"
#include "publish/SwitchVersion.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

/// Content whose key is on another machine.
class PendingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void publishesWhatAnotherMachineSigns();
    void goesBackToWhatAnotherMachineSigns();
    void stagesOneThingAfterTheOther();
    void stagesInAChannel();
    void takesNoOtherSignature();
    void doesNotMakeCurrentWhatIsNotSigned();
    void doesNotMakeCurrentWhatIsOutdated();
    void doesNotMakeAnotherVersionCurrent();
    void doesNotMakeADamagedVersionCurrent();
    void pruningKeepsWhatWaits();
    void stagesNothingOverWhatSomebodyElseChanged();
    void stagesAsBeforeWithAKey();
    void stagingASwitchNeedsSignedContent();

private:
    QStringList stage(int version);
    QStringList switchTo(const QString& version, bool isStaged = false,
                         const QString& channel = {});
    /// Signs what waits, as another machine would.
    QStringList sign(const Signing& signing, const QString& channel = {});
    QByteArray waiting(const QString& channel = {}) const;

    std::unique_ptr<FourVersions> m_fixture;
    Signing m_signing;
    QList<minisign::PublicKey> m_keys;
};

void PendingTest::init()
{
    m_fixture = std::make_unique<FourVersions>();
    QCOMPARE(m_fixture->fill(), QStringList());
    m_signing = newSigning(*m_fixture, u"key"_s);
    QVERIFY(m_signing.signer);
    m_keys = {*m_signing.signer->publicKey()};
    qsizetype documents = 0;
    QCOMPARE(signContent(m_fixture->content(), m_signing, documents), QStringList());
}

QStringList PendingTest::stage(int version)
{
    m_fixture->setInput(FourVersions::filesOf(version));
    PublishRequest request = m_fixture->request(QString::number(version));
    request.stage = true;
    return m_fixture->run(request);
}

QStringList PendingTest::switchTo(const QString& version, bool isStaged, const QString& channel)
{
    return switchVersion({m_fixture->content(), {}, {}, version, channel, {}, isStaged});
}

QStringList PendingTest::sign(const Signing& signing, const QString& channel)
{
    ContentFolder tree(m_fixture->content());
    const auto signature = signing.signer->sign(waiting(channel), tree, nullptr);
    testfiles::write(m_fixture->path(u"signature"_s), signature.value_or(QByteArray()));
    return takeSignature(m_fixture->content(), channel, m_fixture->path(u"signature"_s), {});
}

QByteArray PendingTest::waiting(const QString& channel) const
{
    return testfiles::read(m_fixture->content() + pending::address(channel));
}

void PendingTest::publishesWhatAnotherMachineSigns()
{
    const QByteArray before = m_fixture->served().value(channels::metadata({}));
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(m_fixture->report.toSign, m_fixture->content() + pending::address({}));
    QCOMPARE(m_fixture->served().value(channels::metadata({})), before);
    const QByteArray document = waiting();
    QVERIFY(document.contains("/launcher/packages/Quelra/5/"));
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(m_fixture->served().value(channels::metadata({})), before);
    QCOMPARE(switchTo(u"5"_s), QStringList());
    QCOMPARE(m_fixture->served().value(channels::metadata({})), document);
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    QCOMPARE(m_fixture->currentVersion(), u"5"_s);
    QCOMPARE(m_fixture->verify(), QStringList());
    QVERIFY(waiting().isNull());
}

void PendingTest::goesBackToWhatAnotherMachineSigns()
{
    QCOMPARE(switchTo(u"2"_s).size(), 1);
    QCOMPARE(switchTo(u"2"_s, true), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(switchTo(u"2"_s), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"2"_s);
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
}

void PendingTest::stagesOneThingAfterTheOther()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(stage(6), QStringList());
    // Another document needs another signature.
    QCOMPARE(switchTo(u"6"_s).size(), 1);
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(switchTo(u"6"_s), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"6"_s);
    const auto document =
        MetadataDocument::read(m_fixture->served().value(channels::metadata({})), nullptr);
    QCOMPARE(document->history({false, u"Quelra"_s}).sliced(4), QStringList({u"5"_s, u"6"_s}));
    QCOMPARE(switchTo(u"5"_s, true), QStringList());
}

void PendingTest::stagesInAChannel()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(switchTo(u"5"_s, true, u"beta"_s), QStringList());
    QCOMPARE(sign(m_signing, u"beta"_s), QStringList());
    QCOMPARE(switchTo(u"5"_s, false, u"beta"_s), QStringList());
    QCOMPARE(launchersFault(*m_fixture, m_keys, u"beta"_s), QString());
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    // What waits for everybody is not outdated by that.
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(switchTo(u"5"_s), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"5"_s);
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
}

void PendingTest::takesNoOtherSignature()
{
    QCOMPARE(sign(m_signing).size(), 1);
    QCOMPARE(stage(5), QStringList());
    const Files before = m_fixture->served();
    QCOMPARE(sign(newSigning(*m_fixture, u"another"_s)).size(), 1);
    testfiles::write(m_fixture->path(u"signature"_s), before.last());
    QCOMPARE(
        takeSignature(m_fixture->content(), {}, m_fixture->path(u"signature"_s), m_keys).size(), 1);
    QCOMPARE(takeSignature(m_fixture->content(), {}, m_fixture->path(u"nothing"_s), m_keys).size(),
             1);
    QCOMPARE(m_fixture->served(), before);
    // A key that is given counts.
    const Signing other = newSigning(*m_fixture, u"other"_s);
    ContentFolder tree(m_fixture->content());
    testfiles::write(m_fixture->path(u"signature"_s),
                     *other.signer->sign(waiting(), tree, nullptr));
    QCOMPARE(takeSignature(m_fixture->content(), {}, m_fixture->path(u"signature"_s),
                           {*other.signer->publicKey()}),
             QStringList());
    QCOMPARE(switchTo(u"5"_s), QStringList());
}

void PendingTest::doesNotMakeCurrentWhatIsNotSigned()
{
    QCOMPARE(stage(5), QStringList());
    const Files before = m_fixture->served();
    const QStringList faults = switchTo(u"5"_s);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"is not signed yet"_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->served(), before);
    QCOMPARE(sign(m_signing), QStringList());
    testfiles::write(m_fixture->content() + pending::address({}), waiting() + ' ');
    QCOMPARE(switchTo(u"5"_s).size(), 1);
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
}

void PendingTest::doesNotMakeCurrentWhatIsOutdated()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"3"_s, {}, m_signing}), QStringList());
    const QStringList faults = switchTo(u"5"_s);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"stage it again"_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->currentVersion(), u"3"_s);
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    QCOMPARE(switchTo(u"5"_s), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"5"_s);
}

void PendingTest::doesNotMakeAnotherVersionCurrent()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    const QStringList faults = switchTo(u"3"_s);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().endsWith(u"does not make version 3 of Quelra current"_s),
             qPrintable(faults.first()));
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
}

void PendingTest::doesNotMakeADamagedVersionCurrent()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    testfiles::write(
        m_fixture->content() + u"/launcher/packages/Quelra/5/windows-x86_64/version.txt"_s, "6");
    QVERIFY(!switchTo(u"5"_s).isEmpty());
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
}

void PendingTest::pruningKeepsWhatWaits()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report),
             QStringList());
    QCOMPARE(switchTo(u"5"_s), QStringList());
    QCOMPARE(m_fixture->verify(), QStringList());
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
}

void PendingTest::stagesNothingOverWhatSomebodyElseChanged()
{
    QCOMPARE(stage(5), QStringList());
    QCOMPARE(sign(m_signing), QStringList());
    const QString path = m_fixture->content() + channels::metadata({});
    const QByteArray good = testfiles::read(path);
    testfiles::write(path, good + ' ');
    for (const QStringList& faults : {stage(6), switchTo(u"2"_s, true), switchTo(u"5"_s)}) {
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().contains(u"was changed since it was signed"_s),
                 qPrintable(faults.first()));
    }
    QCOMPARE(testfiles::read(path), good + ' ');
    testfiles::write(path, good);
    QCOMPARE(switchTo(u"5"_s), QStringList());
}

void PendingTest::stagesAsBeforeWithAKey()
{
    m_fixture->setInput(FourVersions::filesOf(5));
    PublishRequest request = m_fixture->request(u"5"_s);
    request.stage = true;
    request.signing = m_signing;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(m_fixture->report.toSign, QString());
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    QCOMPARE(launchersFault(*m_fixture, m_keys), QString());
    QVERIFY(waiting().isNull());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"5"_s, {}, m_signing}), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"5"_s);
}

void PendingTest::stagingASwitchNeedsSignedContent()
{
    Signing end;
    end.endSigning = true;
    qsizetype documents = 0;
    QCOMPARE(signContent(m_fixture->content(), end, documents), QStringList());
    QCOMPARE(switchTo(u"2"_s, true).size(), 1);
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    QCOMPARE(stage(5), QStringList());
    QVERIFY(waiting().isNull());
}

VORNAK_TEST_MAIN(PendingTest)
#include "tst_pending.moc"
