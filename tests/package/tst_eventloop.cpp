#include "package/EventLoopPacer.h"
#include "package/MainLoopRun.h"
#include "support/IsolatedHome.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// Counts a timer's ticks. How many there are within a time depends on what else the machine does,
/// so tests ask only whether there were enough to show that the loop turned all along.
class TickWatch
{
public:
    TickWatch()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { ++m_ticks; });
        m_timer.start(1);
    }

    [[nodiscard]] int ticks() const { return m_ticks; }

private:
    QTimer m_timer;
    int m_ticks = 0;
};

} // namespace

/// The loop of a running application goes on turning under blocking operations.
class EventLoopTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void staysAliveWhileABigFileIsInstalled();
    void staysAliveWhileABigFileIsChecked();
    void staysAliveOverManySmallFiles();
    void turnsAtOnceAndThenOnlyWhenDue();
};

void EventLoopTest::staysAliveWhileABigFileIsInstalled()
{
    InstallFixture fixture;
    const QByteArray content = testfiles::textBytes(24'000'000);
    fixture.tree().addFile(u"big"_s, content);
    MainLoopRun loop;
    std::optional<TickWatch> watch;
    VERIFY_SUCCESS(loop.run([&](QString* error) {
        watch.emplace();
        return fixture.client().installPackage(fixture.tree().packageUrl(), fixture.tree().package,
                                               fixture.folder(), error);
    }));
    QVERIFY(fixture.content(u"big"_s) == content);
    QVERIFY(watch->ticks() >= 10);
}

void EventLoopTest::staysAliveWhileABigFileIsChecked()
{
    InstallFixture fixture;
    OrlFile file;
    file.localfile = u"big"_s;
    file.unpackedsize = qint64(512) << 20;
    file.unpackedhash = u"never met"_s;
    testfiles::writeHole(fixture.path(u"big"_s), file.unpackedsize);
    std::optional<TickWatch> watch;
    MainLoopRun loop;
    const InstallOutcome outcome = loop.run([&](QString*) {
        watch.emplace();
        return fixture.client().isFileInstalled(file, fixture.folder());
    });
    QVERIFY(!outcome.ok);
    // No processor hashes this within five turns' time.
    QVERIFY2(watch->ticks() >= 5, QByteArray::number(watch->ticks()).constData());
}

void EventLoopTest::staysAliveOverManySmallFiles()
{
    InstallFixture fixture;
    testfiles::write(fixture.path(u"a"_s), "content");
    OrlPackageDoc package;
    const OrlFile file = fileEntry(u"a"_s, u"a"_s, "content", "packed");
    package.files.fill(file, 20'000);
    std::optional<TickWatch> watch;
    MainLoopRun loop;
    const InstallOutcome outcome = loop.run([&](QString*) {
        watch.emplace();
        return !fixture.client().hasMissingFiles(package, fixture.folder());
    });
    QVERIFY(outcome.ok);
    QVERIFY2(watch->ticks() >= 2, QByteArray::number(watch->ticks()).constData());
}

void EventLoopTest::turnsAtOnceAndThenOnlyWhenDue()
{
    int turns = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
    timer.start(0);
    EventLoopPacer pacer;
    QVERIFY(pacer.turnIfDue());
    const int first = turns;
    QVERIFY(first > 0);
    QElapsedTimer clock;
    clock.start();
    while (turns == first) {
        QVERIFY(pacer.turnIfDue());
        QVERIFY(clock.elapsed() < 60'000);
    }
    QVERIFY(clock.elapsed() >= EventLoopPacer::turnIntervalMs - 1);
    QVERIFY(!pacer.isQuitting());
}

VORNAK_TEST_MAIN(EventLoopTest)
#include "tst_eventloop.moc"
