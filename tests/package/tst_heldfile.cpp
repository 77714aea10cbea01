#include "package/HeldFile.h"

#include <QElapsedTimer>
#include <QTest>

#include <utility>

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
    QVERIFY2(clock.elapsed() >= 2000, qPrintable(QString::number(clock.elapsed())));
    QVERIFY2(attempts >= 2, qPrintable(QString::number(attempts)));
}

void TestHeldFile::keepsTheWindowAliveWhileItWaits()
{
    // Never two attempts without a turn between them, and no nap as long as a whole wait: the turns
    // are more than the attempts.
    bool turned = true;
    int attempts = 0;
    int turns = 0;
    QVERIFY(!tryWhileHeld(
        [&] {
            ++attempts;
            return std::exchange(turned, false) ? FileAttempt::Held : FileAttempt::Done;
        },
        [&] {
            turned = true;
            ++turns;
            return true;
        },
        2s));
    QVERIFY2(turns >= attempts, qPrintable(QString::number(turns)));
}

void TestHeldFile::stopsWhenTheProgramEnds()
{
    QElapsedTimer clock;
    clock.start();
    QVERIFY(!tryWhileHeld([] { return FileAttempt::Held; }, [] { return false; }, 60s));
    QVERIFY(clock.elapsed() < 30'000);
}

QTEST_GUILESS_MAIN(TestHeldFile)
#include "tst_heldfile.moc"
