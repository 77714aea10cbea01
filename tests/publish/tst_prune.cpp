#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/FourVersions.h"
#include "publish/Prune.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

class PruneTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void prunesDownToTheCurrentVersion();
    void keepsLatestBesidesTheCurrentOne();
    void keepsACurrentVersionThatIsOld();
    void versionsThatAreGoneDoNotCount();
    void dryRunRemovesNothing();
    void pruneRemovesWhatNobodyNames();
    void pruneRemovesNothingWhenACurrentDocumentIsDamaged();
    void prunedFilesArePackedAgain();
    void pruneCountsEachProductForItself();

private:
    QStringList prune(int keep, PruneReport& report);

    std::unique_ptr<FourVersions> m_fixture;
};

void PruneTest::init()
{
    m_fixture = std::make_unique<FourVersions>();
    QCOMPARE(m_fixture->fill(), QStringList());
}

QStringList PruneTest::prune(int keep, PruneReport& report)
{
    return pruneVersions(m_fixture->content(), keep, false, m_fixture->progress, report);
}

void PruneTest::prunesDownToTheCurrentVersion()
{
    PruneReport report;
    QCOMPARE(prune(0, report), QStringList());
    QCOMPARE(report.keptVersions, QStringList(u"Quelra 4"_s));
    QCOMPARE(report.removedVersions, (QStringList{u"Quelra 1"_s, u"Quelra 2"_s, u"Quelra 3"_s}));
    // Three own files, and the shared ones 1 to 3.
    QCOMPARE(report.removedFiles, 6);
    QCOMPARE(m_fixture->verify(), QStringList());
    PublishFixture fresh;
    QCOMPARE(fresh.publishFiles(u"4"_s, FourVersions::filesOf(4)), QStringList());
    QCOMPARE(m_fixture->served(), fresh.served());
    // A second run finds nothing more.
    report = {};
    QCOMPARE(prune(0, report), QStringList());
    QCOMPARE(report.removedFiles, 0);
    QCOMPARE(report.removedVersions, QStringList());
}

void PruneTest::keepsLatestBesidesTheCurrentOne()
{
    PruneReport report;
    QCOMPARE(prune(1, report), QStringList());
    QCOMPARE(report.keptVersions, (QStringList{u"Quelra 3"_s, u"Quelra 4"_s}));
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"3"_s}), QStringList());
    QCOMPARE(m_fixture->verify(), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}).size(), 1);
}

void PruneTest::keepsACurrentVersionThatIsOld()
{
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1"_s}), QStringList());
    PruneReport report;
    QCOMPARE(prune(1, report), QStringList());
    QCOMPARE(report.keptVersions, (QStringList{u"Quelra 1"_s, u"Quelra 4"_s}));
    QCOMPARE(m_fixture->verify(), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"4"_s}), QStringList());
    QCOMPARE(m_fixture->verify(), QStringList());
}

void PruneTest::versionsThatAreGoneDoNotCount()
{
    // An operator deleted it by hand; the metadata still knows it.
    QVERIFY(QDir(m_fixture->content() + u"/launcher/packages/Quelra/3"_s).removeRecursively());
    PruneReport report;
    QCOMPARE(prune(1, report), QStringList());
    QCOMPARE(report.keptVersions, (QStringList{u"Quelra 2"_s, u"Quelra 4"_s}));
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}), QStringList());
    QCOMPARE(m_fixture->verify(), QStringList());
}

void PruneTest::dryRunRemovesNothing()
{
    const Files before = m_fixture->served();
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 0, true, m_fixture->progress, report),
             QStringList());
    QCOMPARE(report.removedFiles, 6);
    QCOMPARE(m_fixture->served(), before);
}

void PruneTest::pruneRemovesWhatNobodyNames()
{
    const Files before = m_fixture->served();
    writeFiles(m_fixture->content(),
               {{u"launcher/files/ab/abandoned.lzma"_s, "x"},
                {u"launcher/packages/Quelra/unfinished/windows-x86_64/package.json"_s, "{}"},
                {u"launcher/packages/Gone/1/windows-x86_64/package.json"_s, "{}"}});
    PruneReport report;
    QCOMPARE(prune(9, report), QStringList());
    QCOMPARE(m_fixture->served(), before);
}

void PruneTest::pruneRemovesNothingWhenACurrentDocumentIsDamaged()
{
    const QString path = u"launcher/packages/Quelra/4/windows-x86_64/package.json"_s;
    const QByteArray good = testfiles::read(m_fixture->content() + u'/' + path);
    for (const QByteArray& bad : {QByteArray(), QByteArray("{"), good.chopped(1)}) {
        writeFiles(m_fixture->content(), {{path, bad}});
        const Files served = m_fixture->served();
        PruneReport report;
        QCOMPARE(prune(1, report).size(), 1);
        QCOMPARE(m_fixture->served(), served);
    }
    writeFiles(m_fixture->content(), {{path, good}});
    QFile::remove(m_fixture->content() +
                  u"/launcher/packages/Quelra/4/windows-x86_64/package.json"_s);
    const Files before = m_fixture->served();
    PruneReport report;
    QCOMPARE(prune(1, report).size(), 1);
    QCOMPARE(m_fixture->served(), before);
}

void PruneTest::prunedFilesArePackedAgain()
{
    PruneReport report;
    QCOMPARE(prune(0, report), QStringList());
    QCOMPARE(m_fixture->publishFiles(u"5"_s, FourVersions::filesOf(1)), QStringList());
    QCOMPARE(m_fixture->report.packed, 3);
    QCOMPARE(m_fixture->report.reused, 1);
    QCOMPARE(m_fixture->verify(), QStringList());
}

void PruneTest::pruneCountsEachProductForItself()
{
    for (const QString& version : {u"1"_s, u"2"_s})
        QCOMPARE(m_fixture->publishLauncher(version), QStringList());
    PruneReport report;
    QCOMPARE(prune(1, report), QStringList());
    QCOMPARE(report.keptVersions,
             (QStringList{u"Quelra 3"_s, u"Quelra 4"_s, u"the launcher 1"_s, u"the launcher 2"_s}));
    QCOMPARE(m_fixture->verify(), QStringList());
}

VORNAK_TEST_MAIN(PruneTest)
#include "tst_prune.moc"
