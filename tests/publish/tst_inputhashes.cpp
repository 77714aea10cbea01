#include "package/FileStamp.h"
#include "package/Unpack.h"
#include "package/VerifiedFiles.h"
#include "publish/ContentFolder.h"
#include "publish/InputFolder.h"
#include "publish/InputHashes.h"
#include "publish/JobRunner.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDateTime>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

const JobLimits twoThreads{2, qint64(1) << 30};

QString packedPath(const PublishFixture& fixture)
{
    for (const QString& path : testfiles::list(fixture.content())) {
        if (path.endsWith(u".lzma"_s))
            return fixture.content() + u'/' + path;
    }
    return {};
}

// A file counts as unchanged only when it was last touched before the step of the coarsest clock.
void letTheClockGoOn()
{
    const qint64 end = fileClock() + VerifiedFiles::coarsestStep;
    QTRY_VERIFY_WITH_TIMEOUT(fileClock() > end, 20'000);
}

QByteArray damaged(QByteArray bytes)
{
    bytes[bytes.size() / 2] = static_cast<char>(bytes.at(bytes.size() / 2) ^ 1);
    return bytes;
}

} // namespace

/// What a publication reads when little or nothing has changed since the last one.
class InputHashesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsOnlyWhatChanged();
    void readsAFileThatKeptItsSizeAndTime();
    void readsAFileThatTookAnothersPlace();
    void readsEverythingOnRequest();
    void freshFilesAreReadAgain();
    void passesOverLinesWithoutSense();
    void notesKeepAnyName();
    void packedFilesAreNotRead();
    void missingPackedFileIsPackedAgain();
    void packedFilesOfAnInterruptedPublicationAreRead();
};

void InputHashesTest::readsOnlyWhatChanged()
{
    PublishFixture fixture;
    fixture.setInput(smallClient());
    letTheClockGoOn();
    QCOMPARE(fixture.run(fixture.request(u"1"_s)), QStringList());
    QCOMPARE(fixture.progress.stretches.first(), u"Reading 300001 5"_s);
    fixture.progress.stretches.clear();
    writeFiles(fixture.input(), {{u"data/map"_s, "new"}});
    QCOMPARE(fixture.run(fixture.request(u"2"_s)), QStringList());
    QCOMPARE(fixture.progress.stretches,
             (QStringList{u"Reading 3 1"_s, u"Checking what was packed before 0 0"_s,
                          u"Packing 3 1"_s}));
    QCOMPARE(fixture.report.changes.changed, QStringList(u"data/map"_s));
    QCOMPARE(fixture.report.changes.unchanged, 4);
    // The notes outlive a dry run, which reads by them as well.
    fixture.progress.stretches.clear();
    PublishRequest request = fixture.request(u"3"_s);
    request.dryRun = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.progress.stretches, QStringList(u"Reading 3 1"_s));
}

void InputHashesTest::readsAFileThatKeptItsSizeAndTime()
{
    PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"data"_s, "old"}});
    letTheClockGoOn();
    QCOMPARE(fixture.run(fixture.request(u"1"_s)), QStringList());
    QFile file(fixture.input() + u"/data"_s);
    QVERIFY(file.open(QIODevice::ReadWrite));
    const QDateTime time = file.fileTime(QFileDevice::FileModificationTime);
    QCOMPARE(file.write("new"), 3);
    QVERIFY(file.flush());
    QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
    file.close();
    fixture.progress.stretches.clear();
    QCOMPARE(fixture.run(fixture.request(u"2"_s)), QStringList());
    QCOMPARE(fixture.progress.stretches.first(), u"Reading 3 1"_s);
    QCOMPARE(fixture.report.changes.changed, QStringList(u"data"_s));
}

void InputHashesTest::readsAFileThatTookAnothersPlace()
{
    PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"data"_s, "old"}, {u"other"_s, "new"}});
    letTheClockGoOn();
    QCOMPARE(fixture.run(fixture.request(u"1"_s)), QStringList());
    QVERIFY(QFile::remove(fixture.input() + u"/data"_s));
    QVERIFY(QFile::rename(fixture.input() + u"/other"_s, fixture.input() + u"/data"_s));
    QCOMPARE(fixture.run(fixture.request(u"2"_s)), QStringList());
    QCOMPARE(fixture.report.changes.changed, QStringList(u"data"_s));
}

void InputHashesTest::readsEverythingOnRequest()
{
    PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"data"_s, "old"}});
    letTheClockGoOn();
    QCOMPARE(fixture.run(fixture.request(u"1"_s)), QStringList());
    fixture.progress.stretches.clear();
    PublishRequest request = fixture.request(u"2"_s);
    request.packing.reread = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.progress.stretches.first(), u"Reading 4 2"_s);
    QVERIFY(fixture.progress.stretches.at(1).endsWith(u" 2"_s));
}

void InputHashesTest::freshFilesAreReadAgain()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    // It is still fresh when a busy machine comes to it.
    QFile file(fixture.input() + u"/client"_s);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(3600),
                             QFileDevice::FileModificationTime));
    file.close();
    RecordedProgress progress;
    InputHashes hashes(twoThreads, progress);
    QVERIFY(!hashes.read(readInputFolder(fixture.input()).files, nullptr).isEmpty());
    QCOMPARE(hashes.notes(), QByteArray());
}

void InputHashesTest::passesOverLinesWithoutSense()
{
    const PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}});
    letTheClockGoOn();
    const QList<InputFile> files = readInputFolder(fixture.input()).files;
    RecordedProgress progress;
    InputHashes first(twoThreads, progress);
    const QStringList expected = first.read(files, nullptr);
    const QByteArray notes = first.notes();
    QVERIFY(!notes.isEmpty());
    // However much of it a full disk has left.
    for (qsizetype length = 0; length < notes.size(); ++length) {
        InputHashes hashes(twoThreads, progress);
        hashes.load(notes.first(length) + "\n\nx y z\n");
        QCOMPARE(hashes.read(files, nullptr), expected);
    }
}

void InputHashesTest::notesKeepAnyName()
{
    const PublishFixture fixture;
    Files input{{u"client"_s, "1"}, {u"two  blanks and λ"_s, "22"}};
#ifdef Q_OS_UNIX
    // Windows takes the blank away.
    input.insert(u" "_s, "333");
#endif
    fixture.setInput(input);
    letTheClockGoOn();
    const QList<InputFile> files = readInputFolder(fixture.input()).files;
    RecordedProgress progress;
    InputHashes first(twoThreads, progress);
    const QStringList expected = first.read(files, nullptr);
    InputHashes second(twoThreads, progress);
    second.load(first.notes());
    progress.stretches.clear();
    QCOMPARE(second.read(files, nullptr), expected);
    QCOMPARE(progress.stretches, QStringList(u"Reading 0 0"_s));
    QCOMPARE(second.notes(), first.notes());
}

void InputHashesTest::packedFilesAreNotRead()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, {{u"client"_s, "some program"}}), QStringList());
    const QString packed = packedPath(fixture);
    const QByteArray good = testfiles::read(packed);
    testfiles::write(packed, damaged(good));
    QCOMPARE(fixture.run(fixture.request(u"2"_s)), QStringList());
    QCOMPARE(fixture.report.reused, 1);
    QCOMPARE(testfiles::read(packed), damaged(good));
    PublishRequest request = fixture.request(u"2"_s);
    request.packing.reread = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.packed, 1);
    QCOMPARE(testfiles::read(packed), good);
}

void InputHashesTest::missingPackedFileIsPackedAgain()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, {{u"client"_s, "some program"}}), QStringList());
    const QString packed = packedPath(fixture);
    const QByteArray good = testfiles::read(packed);
    testfiles::write(packed, good.chopped(1));
    QCOMPARE(fixture.run(fixture.request(u"2"_s)), QStringList());
    QCOMPARE(testfiles::read(packed), good);
    QVERIFY(QFile::remove(packed));
    QCOMPARE(fixture.run(fixture.request(u"3"_s)), QStringList());
    QCOMPARE(testfiles::read(packed), good);
}

// A failure of power may leave a file of the right size without its content.
void InputHashesTest::packedFilesOfAnInterruptedPublicationAreRead()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1"_s, {{u"client"_s, "some program"}}), QStringList());
    const QString index = fixture.content() + u"/.publisher/packed.index"_s;
    const QByteArray asPacked = testfiles::read(index).split('\n').first() + '\n';
    testfiles::write(index, asPacked);
    const QString packed = packedPath(fixture);
    const QByteArray good = testfiles::read(packed);
    testfiles::write(packed, QByteArray(good.size(), '\0'));
    // What was packed in between makes nothing safe that was not read.
    QCOMPARE(fixture.publishFiles(u"2"_s, {{u"client"_s, "another one"}}), QStringList());
    QCOMPARE(fixture.publishFiles(u"3"_s, {{u"client"_s, "some program"}}), QStringList());
    QCOMPARE(fixture.report.packed, 1);
    QCOMPARE(testfiles::read(packed), good);
}

VORNAK_TEST_MAIN(InputHashesTest)
#include "tst_inputhashes.moc"
