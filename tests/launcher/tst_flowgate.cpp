#include "launcher/FlowGate.h"
#include "support/IsolatedHome.h"

#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <memory>

/// Operations on the stack and the click that comes meanwhile.
class FlowGateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsWhileAnOperationIsOnTheStack();
    void heldClickIsDueOnceAfterTheOutermostOperation();
    void withoutAClickNothingIsDue();
    void forgottenClickIsNotDue();
    void clickIsHeldForTenSeconds();
};

void FlowGateTest::runsWhileAnOperationIsOnTheStack()
{
    FlowGate gate;
    QVERIFY(!gate.isRunning());
    {
        const FlowGate::Guard outer(gate);
        {
            const FlowGate::Guard inner(gate);
            QVERIFY(gate.isRunning());
        }
        QVERIFY(gate.isRunning());
    }
    QVERIFY(!gate.isRunning());
}

void FlowGateTest::heldClickIsDueOnceAfterTheOutermostOperation()
{
    FlowGate gate;
    const QSignalSpy due(&gate, &FlowGate::clickDue);
    {
        const FlowGate::Guard outer(gate);
        {
            const FlowGate::Guard inner(gate);
            gate.holdClick();
            gate.holdClick();
        }
        QVERIFY(gate.holdsClick());
        QCOMPARE(due.size(), 0);
    }
    QCOMPARE(due.size(), 1);
    QVERIFY(!gate.holdsClick());
    {
        const FlowGate::Guard another(gate);
    }
    QCOMPARE(due.size(), 1);
}

void FlowGateTest::withoutAClickNothingIsDue()
{
    FlowGate gate;
    const QSignalSpy due(&gate, &FlowGate::clickDue);
    {
        const FlowGate::Guard guard(gate);
    }
    QCOMPARE(due.size(), 0);
}

void FlowGateTest::forgottenClickIsNotDue()
{
    FlowGate gate;
    const QSignalSpy due(&gate, &FlowGate::clickDue);
    const QSignalSpy changes(&gate, &FlowGate::clickHeldChanged);
    {
        const FlowGate::Guard guard(gate);
        gate.holdClick();
        QCOMPARE(changes.size(), 1);
        gate.forgetClick();
        QCOMPARE(changes.size(), 2);
    }
    QCOMPARE(due.size(), 0);
}

void FlowGateTest::clickIsHeldForTenSeconds()
{
    FlowGate gate;
    auto* timer = gate.findChild<QTimer*>(QStringLiteral("clickTimer"));
    QVERIFY(timer);
    QCOMPARE(timer->intervalAsDuration(), std::chrono::seconds(10));
    timer->setInterval(1);
    const QSignalSpy due(&gate, &FlowGate::clickDue);
    {
        const FlowGate::Guard guard(gate);
        gate.holdClick();
        const QSignalSpy changes(&gate, &FlowGate::clickHeldChanged);
        QTRY_VERIFY(!gate.holdsClick());
        QTRY_COMPARE(changes.size(), 1);
    }
    QCOMPARE(due.size(), 0);
}

VORNAK_TEST_MAIN(FlowGateTest)
#include "tst_flowgate.moc"
