#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/Prune.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "publish/UsedVersions.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

const QString build1 = u"/launcher/packages/Quelra/1/windows-x86_64/"_s;
const QString build2 = u"/launcher/packages/Quelra/2/windows-x86_64/"_s;

QString notes(const PublishFixture& fixture)
{
    return fixture.content() + u"/.publisher/versions"_s;
}

void loseMetadata(const PublishFixture& fixture)
{
    QVERIFY(QFile::remove(fixture.content() + addresses::metadata));
}

QString utcText(const QDateTime& time)
{
    return time.toUTC().toString(Qt::ISODate);
}

} // namespace

/// What is remembered of versions that the metadata no longer knows.
class UsedVersionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void refusesAPrunedVersionForAYear();
    void refusesOtherContentWhenTheMetadataWasLost();
    void takesTheSameContentWhenTheMetadataWasLost();
    void refusesAVersionOfWhichEverythingWasLost();
    void learnsWhatEarlierPublishersLeft();
    void passesOverLinesThatItDoesNotKnow();
    void refusesAPackageThatDiffersInCaseOnly();
    void refusesAPlatformThatDiffersInCaseOnly();
    void warnsOfWhatIsLikelyAMistake_data();
    void warnsOfWhatIsLikelyAMistake();

private:
    PruneReport prune() const;

    std::unique_ptr<PublishFixture> m_fixture;
};

void UsedVersionsTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    for (const char* version : {"1", "2"})
        QCOMPARE(m_fixture->publishFiles(QString::fromLatin1(version), {{u"client"_s, version}}),
                 QStringList());
}

PruneReport UsedVersionsTest::prune() const
{
    PruneReport report;
    const QStringList faults =
        pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report);
    return faults.isEmpty() ? report : PruneReport();
}

void UsedVersionsTest::refusesAPrunedVersionForAYear()
{
    QCOMPARE(prune().removedVersions, QStringList(u"Quelra 1"_s));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QByteArray bytes = testfiles::read(notes(*m_fixture));
    QVERIFY2(bytes.startsWith((build1 + u" 20"_s).toLatin1()), bytes);
    QVERIFY2(bytes.endsWith((build2 + u" -\n"_s).toLatin1()), bytes);
    const auto removedAt = [this](const QDateTime& time) {
        testfiles::write(notes(*m_fixture),
                         u"%1 %2\n%3 -\n"_s.arg(build1, utcText(time), build2).toLatin1());
    };
    removedAt(now.addDays(-364));
    const Files before = m_fixture->served();
    QCOMPARE(
        m_fixture->publishFiles(u"1"_s, {{u"client"_s, "1"}}),
        QStringList(
            u"version 1 of Quelra was removed on %1, and caches may hold its documents "
            "until %2; give another version"_s.arg(now.addDays(-364).date().toString(Qt::ISODate),
                                                   now.addDays(1).date().toString(Qt::ISODate))));
    QCOMPARE(m_fixture->served(), before);
    PublishRequest request = m_fixture->request(u"1"_s);
    request.dryRun = true;
    QCOMPARE(m_fixture->run(request).size(), 1);
    // Its address for another platform was never served.
    request = m_fixture->request(u"1"_s);
    request.platform = {u"windows"_s, u"arm64"_s};
    QCOMPARE(m_fixture->run(request), QStringList());
    removedAt(now.addDays(-366));
    QCOMPARE(m_fixture->publishFiles(u"1"_s, {{u"client"_s, "other"}}), QStringList());
    QVERIFY(testfiles::read(notes(*m_fixture)).contains((build1 + u" -\n"_s).toLatin1()));
}

void UsedVersionsTest::refusesOtherContentWhenTheMetadataWasLost()
{
    loseMetadata(*m_fixture);
    const Files before = m_fixture->served();
    QCOMPARE(m_fixture->publishFiles(u"2"_s, {{u"client"_s, "other"}}),
             QStringList(u"version 2 of Quelra was published before with other content; give the "
                         "new content a new version"_s));
    QCOMPARE(m_fixture->served(), before);
    QCOMPARE(m_fixture->publishFiles(u"3"_s, {{u"client"_s, "other"}}), QStringList());
}

void UsedVersionsTest::takesTheSameContentWhenTheMetadataWasLost()
{
    loseMetadata(*m_fixture);
    QCOMPARE(m_fixture->publishFiles(u"2"_s, {{u"client"_s, "2"}}), QStringList());
    QVERIFY(m_fixture->report.unchanged);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}), QStringList());
}

void UsedVersionsTest::refusesAVersionOfWhichEverythingWasLost()
{
    QVERIFY(QDir(m_fixture->content() + u"/launcher"_s).removeRecursively());
    const QStringList faults = m_fixture->publishFiles(u"1"_s, {{u"client"_s, "1"}});
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().startsWith(u"version 1 of Quelra was removed on "_s),
             qPrintable(faults.first()));
    QCOMPARE(m_fixture->publishFiles(u"3"_s, {{u"client"_s, "1"}}), QStringList());
    // From now on the time counts.
    QVERIFY(testfiles::read(notes(*m_fixture)).startsWith((build1 + u" 20"_s).toLatin1()));
}

void UsedVersionsTest::learnsWhatEarlierPublishersLeft()
{
    QVERIFY(QFile::remove(notes(*m_fixture)));
    QCOMPARE(prune().removedVersions.size(), 1);
    QCOMPARE(m_fixture->publishFiles(u"1"_s, {{u"client"_s, "1"}}).size(), 1);
}

void UsedVersionsTest::passesOverLinesThatItDoesNotKnow()
{
    const QByteArray bytes = testfiles::read(notes(*m_fixture));
    testfiles::write(notes(*m_fixture), "\n \nnonsense\n/a soon\n/a\n/a - -\n\xff -\n" + bytes);
    loseMetadata(*m_fixture);
    QCOMPARE(m_fixture->publishFiles(u"2"_s, {{u"client"_s, "other"}}).size(), 1);
    QCOMPARE(m_fixture->publishFiles(u"2"_s, {{u"client"_s, "2"}}), QStringList());
    QCOMPARE(testfiles::read(notes(*m_fixture)), bytes);
}

void UsedVersionsTest::refusesAPackageThatDiffersInCaseOnly()
{
    PublishRequest request = m_fixture->request(u"3"_s);
    request.product.directory = u"qUELRA"_s;
    const Files before = m_fixture->served();
    QCOMPARE(
        m_fixture->run(request),
        QStringList(u"the package qUELRA differs from the package Quelra in case only; Windows "
                    "has one folder for both"_s));
    QCOMPARE(m_fixture->served(), before);
    request.product.directory = u"Quelra2"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
}

void UsedVersionsTest::refusesAPlatformThatDiffersInCaseOnly()
{
    PublishRequest request = m_fixture->request(u"9"_s);
    request.platform = {u"Windows"_s, u"x86_64"_s};
    const Files before = m_fixture->served();
    QCOMPARE(m_fixture->run(request),
             QStringList(u"the platform 'Windows' 'x86_64' differs from 'windows' 'x86_64', which "
                         "was published before, in case only; Windows has one folder for both"_s));
    QCOMPARE(m_fixture->served(), before);
    request.platform = {u"windows"_s, u"x86"_s};
    QCOMPARE(m_fixture->run(request), QStringList());
}

void UsedVersionsTest::warnsOfWhatIsLikelyAMistake_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QByteArray>("executable");
    QTest::addColumn<QString>("os");
    QTest::addColumn<QString>("architecture");
    QTest::addColumn<QStringList>("warnings");
    const QString windows = u"windows"_s;
    const QString x86 = u"x86_64"_s;
    const QString text64(64, u'4');
    const auto row = [](const char* name) -> QTestData& { return QTest::newRow(name); };
    row("nothing") << text64 << QByteArray("x") << windows << x86 << QStringList();
    row("long version") << text64 + u'5' << QByteArray("x") << windows << x86
                        << QStringList(u"the version text has 65 characters, over 64"_s);
    row("empty executable") << u"3"_s << QByteArray() << windows << x86
                            << QStringList(u"client: the executable is empty"_s);
    row("system") << u"3"_s << QByteArray("x") << u"windws"_s << x86
                  << QStringList(u"launchers take builds for the operating system 'windows' only; "
                                 "no player gets one for 'windws'"_s);
    row("architecture") << u"3"_s << QByteArray("x") << windows << u"x86-64"_s
                        << QStringList(
                               u"launchers take the build for 'windows' 'x86_64'; no player "
                               "gets the one for 'windows' 'x86-64'"_s);
    row("the second of two that fit")
        << u"3"_s << QByteArray("x") << windows << u"arm64;x86_64"_s
        << QStringList(u"launchers take the build for 'windows' 'x86_64'; no player gets the one "
                       "for 'windows' 'arm64;x86_64'"_s);
}

void UsedVersionsTest::warnsOfWhatIsLikelyAMistake()
{
    QFETCH(QString, version);
    QFETCH(QByteArray, executable);
    QFETCH(QString, os);
    QFETCH(QString, architecture);
    for (const bool dryRun : {true, false}) {
        m_fixture->setInput({{u"client"_s, executable}});
        m_fixture->progress.warnings.clear();
        PublishRequest request = m_fixture->request(version);
        request.platform = {os, architecture};
        request.dryRun = dryRun;
        QCOMPARE(m_fixture->run(request), QStringList());
        QTEST(m_fixture->progress.warnings, "warnings");
    }
    // The only build there is fits all.
    PublishFixture fixture;
    fixture.setInput({{u"client"_s, "x"}});
    PublishRequest request = fixture.request(u"1"_s);
    request.platform = {u"windows"_s, u"x86"_s};
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.progress.warnings,
             QStringList(u"launchers look for the architecture 'x86_64'; players get the build for "
                         "'x86' only while there is no other"_s));
}

VORNAK_TEST_MAIN(UsedVersionsTest)
#include "tst_usedversions.moc"
