#include "package/HeldFile.h"

#include <QElapsedTimer>
#include <QTest>

using namespace std::chrono_literals;

class TestHeldFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void succeedsAtOnceWhenNothingIsInTheWay();
    void givesUpAtOnceWhenTheAttemptFails();
    void succeedsWhenTheFileIsReleased();
    void givesUpAfterItsPatience();
    void keepsTheWindowAliveWhileItWaits();
    void stopsWhenTheProgramEnds();
};

void TestHeldFile::succeedsAtOnceWhenNothingIsInTheWay()
{
    int attempts = 0;
    int turns = 0;
    QVERIFY(tryWhileHeld(
        [&] {
            ++attempts;
            return FileAttempt::Done;
        },
        [&] {
            ++turns;
            return true;
        }));
    QCOMPARE(attempts, 1);
    QCOMPARE(turns, 0);
}

void TestHeldFile::givesUpAtOnceWhenTheAttemptFails()
{
    int attempts = 0;
    QVERIFY(!tryWhileHeld(
        [&] {
            ++attempts;
            return FileAttempt::Failed;
        },
        {}));
    QCOMPARE(attempts, 1);
}

void TestHeldFile::succeedsWhenTheFileIsReleased()
{
    int attempts = 0;
    QVERIFY(tryWhileHeld([&] { return ++attempts == 5 ? FileAttempt::Done : FileAttempt::Held; },
                         {}, 10s));
    QCOMPARE(attempts, 5);
}

void TestHeldFile::givesUpAfterItsPatience()
{
    QElapsedTimer clock;
    clock.start();
    int attempts = 0;
    QVERIFY(!tryWhileHeld(
        [&] {
            ++attempts;
            return FileAttempt::Held;
        },
        {}));
    QVERIFY2(clock.elapsed() >= 2000 && clock.elapsed() < 4000,
             qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(attempts >= 10, qPrintable(QString::number(attempts)));
}

void TestHeldFile::keepsTheWindowAliveWhileItWaits()
{
    QElapsedTimer sinceTurn;
    sinceTurn.start();
    qint64 longestGap = 0;
    int turns = 0;
    QVERIFY(!tryWhileHeld([] { return FileAttempt::Held; },
                          [&] {
                              longestGap = qMax(longestGap, sinceTurn.restart());
                              ++turns;
                              return true;
                          },
                          500ms));
    QVERIFY2(turns >= 20, qPrintable(QString::number(turns)));
    // One turn per frame is what it aims at; a busy machine may stretch it.
    QVERIFY2(longestGap < 200, qPrintable(QString::number(longestGap)));
}

void TestHeldFile::stopsWhenTheProgramEnds()
{
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!tryWhileHeld([] { return FileAttempt::Held; }, [] { return false; }, 10s));
    QVERIFY(clock.elapsed() < 1000);
}

QTEST_GUILESS_MAIN(TestHeldFile)
#include "tst_heldfile.moc"
