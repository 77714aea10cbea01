#include "package/FileCheck.h"
#include "package/OrlPackageDoc.h"
#include "package/PackageClient.h"
#include "package/Unpack.h"
#include "package/VerifiedFiles.h"
#include "support/IsolatedHome.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

const QByteArray intact(5000, 'a');

bool overwrite(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Changes one byte in place; the size stays.
bool edit(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) && file.seek(2500) &&
           file.write("b") == 1;
}

bool setModified(const QString& path, const QDateTime& time)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) &&
           file.setFileTime(time, QFileDevice::FileModificationTime);
}

// A time that can be set back exactly: Qt's counts in milliseconds, the file system finer.
bool writeDated(const QString& path)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123);
    return overwrite(path, intact) && setModified(path, time);
}

bool editSecretly(const QString& path)
{
    const QDateTime before = QFileInfo(path).lastModified();
    return edit(path) && setModified(path, before);
}

bool replace(const QString& path, const QByteArray& bytes)
{
    const QString beside = path + ".beside"_L1;
    return overwrite(beside, bytes) && QFile::remove(path) && QFile::rename(beside, path);
}

bool replaceSecretly(const QString& path)
{
    QByteArray other = intact;
    other[10] = 'b';
    const QDateTime before = QFileInfo(path).lastModified();
    return replace(path, other) && setModified(path, before);
}

qint64 latestTime(const FileStamp& stamp)
{
    return qMax(stamp.modified, stamp.changed);
}

using Change = std::function<bool(const QString&)>;

void addChanges()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("staysInstalled");
    QTest::newRow("deleted") << Change([](auto path) { return QFile::remove(path); }) << false;
    QTest::newRow("emptied") << Change([](auto path) { return overwrite(path, {}); }) << false;
    QTest::newRow("truncated") << Change([](auto path) { return QFile::resize(path, 4999); })
                               << false;
    QTest::newRow("longer") << Change([](auto path) { return overwrite(path, intact + 'a'); })
                            << false;
    QTest::newRow("replaced by another")
        << Change([](auto path) { return replace(path, QByteArray(5000, 'b')); }) << false;
    QTest::newRow("replaced, modification time set back") << Change(replaceSecretly) << false;
    QTest::newRow("replaced by the same")
        << Change([](auto path) { return replace(path, intact); }) << true;
    QTest::newRow("edited") << Change(edit) << false;
    QTest::newRow("edited, modification time set back") << Change(editSecretly) << false;
    QTest::newRow("written anew with the same content")
        << Change([](auto path) { return overwrite(path, intact); }) << true;
    QTest::newRow("touched") << Change([](auto path) {
        return setModified(path, QDateTime::currentDateTime());
    }) << true;
    QTest::newRow("dated back") << Change([](auto path) {
        return setModified(path, QDateTime::currentDateTime().addYears(-3));
    }) << true;
    QTest::newRow("a folder in its place")
        << Change([](auto path) { return QFile::remove(path) && QDir().mkdir(path); }) << false;
}

} // namespace

Q_DECLARE_METATYPE(Change)

class VerifiedFilesTest : public QObject
{
    Q_OBJECT

private:
    [[nodiscard]] bool holdsNow() const
    {
        const auto stamp = fileStamp(m_path);
        return stamp && m_verified.holds(m_path, *stamp, m_file.unpackedhash);
    }

    // As a file is that was checked long after it had last changed.
    void rememberAsRead()
    {
        const auto stamp = fileStamp(m_path);
        QVERIFY(stamp);
        m_verified.addRead(m_path, *stamp, latestTime(*stamp) + VerifiedFiles::coarsestStep + 1,
                           m_file.unpackedhash);
        QVERIFY(holdsNow());
    }

    void rememberAsWritten()
    {
        m_verified.addWritten(m_path, m_file.unpackedhash);
        m_verified.settle();
        QVERIFY(holdsNow());
    }

    void noticesChange()
    {
        QFETCH(Change, change);
        QFETCH(bool, staysInstalled);
        QVERIFY(isInstalledAt(m_path, m_file, m_verified));
        QVERIFY(change(m_path));
        QVERIFY(!holdsNow());
        QCOMPARE(isInstalledAt(m_path, m_file, m_verified), staysInstalled);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
    OrlFile m_file{{}, u"file"_s, {}, 0, hashBytes(intact), intact.size()};
    VerifiedFiles m_verified;

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(m_file.localfile);
        m_verified = VerifiedFiles();
        QVERIFY(writeDated(m_path));
    }

    void stampTellsFilesApart()
    {
        const QString other = m_folder->filePath(u"other"_s);
        QVERIFY(overwrite(other, intact));
        QVERIFY(fileStamp(m_path));
        QCOMPARE(fileStamp(m_path)->size, intact.size());
        QVERIFY(fileStamp(m_path) == fileStamp(m_path));
        QVERIFY(fileStamp(m_path)->identity != fileStamp(other)->identity);
        QCOMPARE(fileStamp(m_path)->volume, fileStamp(other)->volume);
    }

    void stampIsForFilesOnly()
    {
        QVERIFY(!fileStamp(m_folder->filePath(u"missing"_s)));
        QVERIFY(!fileStamp(m_folder->path()));
        QVERIFY(!fileStamp(m_path + "/below"_L1));
    }

    void stampTimesComeFromTheClock()
    {
        // Linux counts finer than the clock's step where that is needed to tell changes apart.
        constexpr qint64 step = 100'000'000;
        const qint64 before = fileClock();
        QVERIFY(edit(m_path));
        const auto stamp = fileStamp(m_path);
        QVERIFY(stamp);
        QVERIFY(stamp->changed >= before);
        QVERIFY(stamp->changed <= fileClock() + step);
        QVERIFY(setModified(m_path, QDateTime::currentDateTime().addYears(-1)));
        QVERIFY(fileStamp(m_path)->modified < before);
        QVERIFY(fileStamp(m_path)->changed >= stamp->changed);
    }

    void noticesChangeAfterReading_data() { addChanges(); }
    void noticesChangeAfterReading()
    {
        rememberAsRead();
        noticesChange();
    }

    void noticesChangeAfterWriting_data() { addChanges(); }
    void noticesChangeAfterWriting()
    {
        rememberAsWritten();
        noticesChange();
    }

    // A change that follows at once must not fall into the same step of the clock.
    void noticesEditRightAfterWriting()
    {
        for (int i = 0; i < 100; ++i) {
            QVERIFY(writeDated(m_path));
            rememberAsWritten();
            QVERIFY(editSecretly(m_path));
            QVERIFY2(!isInstalledAt(m_path, m_file, m_verified), qPrintable(u"round %1"_s.arg(i)));
        }
    }

    void noticesEditRightAfterCheckingFreshFile()
    {
        for (int i = 0; i < 100; ++i) {
            QVERIFY(writeDated(m_path));
            QVERIFY(isInstalledAt(m_path, m_file, m_verified));
            QVERIFY(editSecretly(m_path));
            QVERIFY2(!isInstalledAt(m_path, m_file, m_verified), qPrintable(u"round %1"_s.arg(i)));
        }
    }

    void trustsOnlyWhatIsOlderThanTheStep_data()
    {
        QTest::addColumn<qint64>("age");
        QTest::addColumn<bool>("trusted");
        QTest::newRow("just written") << qint64(0) << false;
        QTest::newRow("a second old") << qint64(1'000'000'000) << false;
        QTest::newRow("as old as the step") << VerifiedFiles::coarsestStep << false;
        QTest::newRow("older") << VerifiedFiles::coarsestStep + 1 << true;
        QTest::newRow("from the future") << qint64(-3'600'000'000'000) << false;
    }
    void trustsOnlyWhatIsOlderThanTheStep()
    {
        QFETCH(qint64, age);
        const auto stamp = fileStamp(m_path);
        QVERIFY(stamp);
        m_verified.addRead(m_path, *stamp, latestTime(*stamp) + age, m_file.unpackedhash);
        QTEST(holdsNow(), "trusted");
    }

    // Dating a file back makes it no older: the change time tells.
    void doesNotTrustYoungFileThatIsDatedBack()
    {
        QVERIFY(setModified(m_path, QDateTime::currentDateTime().addYears(-3)));
        QVERIFY(isInstalledAt(m_path, m_file, m_verified));
        QVERIFY(!holdsNow());
    }

    // On a file system with a coarse clock, an edit after the check could leave the stamp as it is.
    void readsFileThatIsASecondOldAgain()
    {
        QTest::qWait(1000);
        QVERIFY(isInstalledAt(m_path, m_file, m_verified));
        QVERIFY(!holdsNow());
    }

    void doesNotTrustFileThatChangedWhileItWasRead()
    {
        const auto before = fileStamp(m_path);
        QVERIFY(before);
        QVERIFY(edit(m_path));
        m_verified.addRead(m_path, *before, fileClock() + 2 * VerifiedFiles::coarsestStep,
                           m_file.unpackedhash);
        QVERIFY(!holdsNow());
        QVERIFY(!m_verified.holds(m_path, *before, m_file.unpackedhash));
    }

    void forgetsWhatIsReadAnewTooYoung()
    {
        rememberAsRead();
        const auto stamp = fileStamp(m_path);
        m_verified.addRead(m_path, *stamp, fileClock(), m_file.unpackedhash);
        QVERIFY(!holdsNow());
    }

    void holdsNothingForAnotherHashOrPath()
    {
        rememberAsRead();
        const auto stamp = fileStamp(m_path);
        QVERIFY(!m_verified.holds(m_path, *stamp, hashBytes("other")));
        QVERIFY(!m_verified.holds(m_path, *stamp, m_file.unpackedhash.toUpper()));
        QVERIFY(!m_verified.holds(m_path + u'2', *stamp, m_file.unpackedhash));
    }

    void writtenFileCountsFromSettlingOn()
    {
        m_verified.addWritten(m_path, m_file.unpackedhash);
        QVERIFY(!holdsNow());
        m_verified.settle();
        QVERIFY(holdsNow());
    }

    void writtenFileThatChangedBeforeSettlingIsNotTrusted()
    {
        m_verified.addWritten(m_path, m_file.unpackedhash);
        // Past the clock's step; see VerifiedFiles about changes within it.
        QTest::qSleep(20);
        QVERIFY(editSecretly(m_path));
        m_verified.settle();
        QVERIFY(!isInstalledAt(m_path, m_file, m_verified));
    }

    // As on a file system that counts in whole seconds.
    void writtenFileWithCoarseTimesIsReadAgain()
    {
        QVERIFY(setModified(m_path, QDateTime::fromSecsSinceEpoch(1'700'000'000)));
        m_verified.addWritten(m_path, m_file.unpackedhash);
        m_verified.settle();
        QVERIFY(!holdsNow());
        QVERIFY(isInstalledAt(m_path, m_file, m_verified));
    }

    void writingAgainForgetsTheOldFile()
    {
        rememberAsRead();
        m_verified.addWritten(m_path, hashBytes("other"));
        QVERIFY(!holdsNow());
    }

    void clientNoticesEditOfFileThatItHasChecked()
    {
        // Only now is the file old enough to be remembered.
        QTest::qWait(static_cast<int>(VerifiedFiles::coarsestStep / 1'000'000) + 100);
        PackageClient client(nullptr);
        QVERIFY(client.isFileInstalled(m_file, m_folder->path()));
        QVERIFY(client.isFileInstalled(m_file, m_folder->path()));
        QVERIFY(editSecretly(m_path));
        QVERIFY(!client.isFileInstalled(m_file, m_folder->path()));
    }
};

VORNAK_TEST_MAIN(VerifiedFilesTest)
#include "tst_verifiedfiles.moc"
