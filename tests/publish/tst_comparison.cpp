#include "publish/Comparison.h"
#include "publish/Publication.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

OrlFile file(const char* path, const char* hash, qint64 packedsize)
{
    OrlFile made;
    made.localfile = QString::fromLatin1(path);
    made.unpackedhash = QString::fromLatin1(hash);
    made.packedsize = packedsize;
    return made;
}

QList<OrlFile> oldFiles()
{
    return {file("same", "a", 1), file("changed", "b", 10), file("old name", "c", 100),
            file("gone", "d", 1000)};
}

QList<OrlFile> newFiles()
{
    return {file("changed", "e", 20), file("copy of same", "a", 1), file("new name", "c", 100),
            file("same", "a", 1)};
}

Files firstVersion()
{
    return {{u"client"_s, testfiles::randomBytes(4000, 1)},
            {u"data"_s, testfiles::randomBytes(3000, 2)},
            {u"gone"_s, "x"}};
}

Files secondVersion()
{
    return {{u"client"_s, testfiles::randomBytes(4000, 1)},
            {u"data"_s, testfiles::randomBytes(3000, 3)},
            {u"new"_s, testfiles::randomBytes(2000, 4)},
            {u"twin"_s, testfiles::randomBytes(2000, 4)}};
}

} // namespace

class ComparisonTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhatChanged();
    void countsWhatAPlayerDownloads();
    void secondsAreThoseOfTheReferenceRate();
    void dryRunWritesNothing();
    void dryRunNeedsNoContent();
    void dryRunCountsUnpackedContentsInFull();
    void dryRunFindsFaults();
    void dryRunLeavesTheIndexOfARunningPublisherAlone();
    void dryRunForetellsThePublication();
    void comparesWithWhatIsCurrent();
    void comparesAssetsToo();
};

void ComparisonTest::tellsWhatChanged()
{
    const FileChanges changes = compareFiles(oldFiles(), newFiles());
    QCOMPARE(changes.added, (QStringList{u"copy of same"_s, u"new name"_s}));
    QCOMPARE(changes.changed, QStringList(u"changed"_s));
    QCOMPARE(changes.removed, (QStringList{u"old name"_s, u"gone"_s}));
    QCOMPARE(changes.unchanged, 1);
}

void ComparisonTest::countsWhatAPlayerDownloads()
{
    UpdateCost cost = updateCost(u"1"_s, oldFiles(), newFiles());
    QCOMPARE(cost.version, u"1"_s);
    QCOMPARE(cost.files, 3);
    QCOMPARE(cost.bytes, 121);
    cost = updateCost({}, {}, newFiles());
    QCOMPARE(cost.files, 4);
    QCOMPARE(cost.bytes, 122);
    QCOMPARE(updateCost({}, newFiles(), newFiles()).files, 0);
}

void ComparisonTest::secondsAreThoseOfTheReferenceRate()
{
    QCOMPARE(referenceSeconds(12'500'000), 1.0);
    QCOMPARE(referenceSeconds(0), 0.0);
}

void ComparisonTest::dryRunWritesNothing()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, firstVersion()), QStringList());
    const QStringList before = testfiles::list(fixture.content());
    const Files served = fixture.served();
    fixture.setInput(secondVersion());
    PublishRequest request = fixture.request(u"2"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(testfiles::list(fixture.content()), before);
    QCOMPARE(fixture.served(), served);
}

void ComparisonTest::dryRunNeedsNoContent()
{
    PublishFixture fixture;
    fixture.setInput(firstVersion());
    PublishRequest request = fixture.request(u"1"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.comparedWith, QString());
    QCOMPARE(fixture.report.costs.size(), 1);
    QVERIFY(!QFile::exists(fixture.content()));
}

void ComparisonTest::dryRunCountsUnpackedContentsInFull()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, firstVersion()), QStringList());
    fixture.setInput(secondVersion());
    PublishRequest request = fixture.request(u"2"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.packed, 2);
    QCOMPARE(fixture.report.reused, 1);
    QCOMPARE(fixture.report.addedBytes, 5000);
    QCOMPARE(fixture.report.costs.last().version, u"1"_s);
    QCOMPARE(fixture.report.costs.last().bytes, 7000);
    // What is gone from the disk has to be packed once more.
    QDir(fixture.content() + u"/launcher/files"_s).removeRecursively();
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.packed, 3);
}

void ComparisonTest::dryRunFindsFaults()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, firstVersion()), QStringList());
    fixture.setInput(secondVersion());
    PublishRequest request = fixture.request(u"1"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request).size(), 1);
}

void ComparisonTest::dryRunLeavesTheIndexOfARunningPublisherAlone()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, firstVersion()), QStringList());
    const QString index = fixture.content() + u"/.publisher/packed.index"_s;
    const QByteArray half = testfiles::read(index) + "0123 4";
    testfiles::write(index, half);
    PublishRequest request = fixture.request(u"2"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(testfiles::read(index), half);
}

void ComparisonTest::dryRunForetellsThePublication()
{
    PublishFixture fixture;
    for (const QString& version : {u"0.8"_s, u"0.9"_s})
        QCOMPARE(fixture.publishFiles(version, firstVersion()), QStringList());
    fixture.setInput(secondVersion());
    PublishRequest request = fixture.request(u"2"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request), QStringList());
    const PublishReport foretold = fixture.report;
    request.dryRun = false;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.packed, foretold.packed);
    QCOMPARE(fixture.report.reused, foretold.reused);
    QCOMPARE(fixture.report.comparedWith, u"0.9"_s);
    QCOMPARE(fixture.report.changes.added, (QStringList{u"new"_s, u"twin"_s}));
    QCOMPARE(fixture.report.changes.changed, QStringList(u"data"_s));
    QCOMPARE(fixture.report.changes.removed, QStringList(u"gone"_s));
    QCOMPARE(fixture.report.changes.unchanged, 1);
    QCOMPARE(foretold.changes.added, fixture.report.changes.added);
    QCOMPARE(fixture.report.costs.size(), 3);
    for (qsizetype i = 0; i < 3; ++i) {
        QCOMPARE(fixture.report.costs.at(i).version, foretold.costs.at(i).version);
        QCOMPARE(fixture.report.costs.at(i).files, foretold.costs.at(i).files);
    }
}

void ComparisonTest::comparesWithWhatIsCurrent()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, firstVersion()), QStringList());
    QCOMPARE(fixture.publishFiles(u"2"_s, secondVersion()), QStringList());
    QCOMPARE(switchVersion({fixture.content(), {}, {}, u"1"_s}), QStringList());
    PublishRequest request = fixture.request(u"3"_s);
    request.publicUrl = u"https://cdn.example/game"_s;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.comparedWith, u"1"_s);
    QCOMPARE(fixture.report.changes.added.size(), 2);
    request.version = u"4"_s;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.comparedWith, u"3"_s);
    QCOMPARE(fixture.report.changes.unchanged, 4);
}

void ComparisonTest::comparesAssetsToo()
{
    PublishFixture fixture;
    PublishRequest request = fixture.request(u"1"_s);
    request.assets = u"assets"_s;
    fixture.setInput({{u"client"_s, "1"}, {u"assets/a"_s, "a"}});
    QCOMPARE(fixture.run(request), QStringList());
    request.version = u"2"_s;
    fixture.setInput({{u"client"_s, "1"}, {u"assets/a"_s, "b"}});
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.changes.changed, QStringList(u"assets/a"_s));
    QCOMPARE(fixture.report.costs.last().files, 1);
}

VORNAK_TEST_MAIN(ComparisonTest)
#include "tst_comparison.moc"
