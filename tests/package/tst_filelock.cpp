#include "package/FileLock.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

/// Another process holds the lock by "flock", as another launcher would.
class FileLockTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isTakenOnce();
    void isGivenBackWhenItsHolderIsKilled();
    void isNotInheritedByStartedProcesses();
    void whatLiesOnTheDiskMeansNothing();
    void saysWhenThereCanBeNone();

private:
    QString path() const { return m_folder.filePath(QStringLiteral("work.lock")); }

    QTemporaryDir m_folder;
};

void FileLockTest::isTakenOnce()
{
    QString error;
    {
        const auto lock = FileLock::take(path(), &error);
        QVERIFY(lock);
        QVERIFY(!FileLock::take(path(), &error));
    }
    QVERIFY(FileLock::take(path(), &error));
    QCOMPARE(error, QString());
}

void FileLockTest::isGivenBackWhenItsHolderIsKilled()
{
    QProcess other;
    other.start(QStringLiteral("flock"),
                {QStringLiteral("--no-fork"), path(), QStringLiteral("sh"), QStringLiteral("-c"),
                 QStringLiteral("echo held; exec sleep 1000")});
    QVERIFY2(other.waitForReadyRead(), "flock is part of the package util-linux");
    QVERIFY(!FileLock::take(path()));
    other.kill();
    QVERIFY(other.waitForFinished());
    QVERIFY(FileLock::take(path()));
}

void FileLockTest::isNotInheritedByStartedProcesses()
{
    QProcess child;
    {
        const auto lock = FileLock::take(path());
        QVERIFY(lock);
        child.start(QStringLiteral("sleep"), {QStringLiteral("1000")});
        QVERIFY(child.waitForStarted());
    }
    QVERIFY(FileLock::take(path()));
    child.kill();
    QVERIFY(child.waitForFinished());
}

void FileLockTest::whatLiesOnTheDiskMeansNothing()
{
    QFile file(path());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("1\nelsewhere\nanother-machine\n");
    file.close();
    QVERIFY(FileLock::take(path()));
}

void FileLockTest::saysWhenThereCanBeNone()
{
    QString error;
    const QString nowhere = m_folder.filePath(QStringLiteral("missing/work.lock"));
    QVERIFY(!FileLock::take(nowhere, &error));
    QVERIFY(error.contains(nowhere));
}

QTEST_GUILESS_MAIN(FileLockTest)
#include "tst_filelock.moc"
