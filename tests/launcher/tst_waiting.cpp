#include "launcher/FlowFixture.h"

#include <QTimer>

using namespace Qt::StringLiterals;

/// What the window shows while it waits for somebody else.
class WaitingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clickThatWaitsIsSeenToBeTaken();
    void clickIsForgottenWhenItWaitedTooLong();
    void stalledTransferIsToldOnceASecond();
    void nothingIsToldBeforeTheFirstReportAndAfterTheUpdate();
    void reasonOfAFailedUpdateStaysOnTheButtonUntilTheNextClick();
};

void WaitingTest::clickThatWaitsIsSeenToBeTaken()
{
    FlowFixture fixture;
    fixture.tree.publish();
    auto* button = fixture.find<QPushButton>("mainButton");
    Qt::CursorShape cursor{};
    QString toolTip;
    fixture.server.route(ContentTree::versionPath, HttpAnswer::ok("1.0.0").calling([&] {
        fixture.click();
        cursor = button->cursor().shape();
        toolTip = button->toolTip();
    }));
    fixture.window().loadConfiguration();
    QCOMPARE(cursor, Qt::BusyCursor);
    QCOMPARE(toolTip, u"Waiting for the server\u2026"_s);
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(button->toolTip(), u"Download"_s);
    QTRY_COMPARE(fixture.mode(), u"Play"_s);
}

void WaitingTest::clickIsForgottenWhenItWaitedTooLong()
{
    FlowFixture fixture;
    fixture.tree.publish();
    auto* timer = fixture.find<QTimer>("clickTimer");
    QCOMPARE(timer->intervalAsDuration(), std::chrono::seconds(10));
    timer->setInterval(1);
    auto* button = fixture.find<QPushButton>("mainButton");
    fixture.server.route(ContentTree::versionPath, HttpAnswer::ok("1.0.0").calling([&] {
        fixture.click();
        QTRY_VERIFY(!timer->isActive());
        QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(button->toolTip(), u"Download"_s);
    }));
    fixture.window().loadConfiguration();
    QCoreApplication::processEvents();
    QCOMPARE(fixture.mode(), u"Download"_s);
    QCOMPARE(fixture.installed("data.bin"), QByteArray());
}

void WaitingTest::stalledTransferIsToldOnceASecond()
{
    WindowFixture fixture;
    fixture.window().setBusy(true);
    auto* status = fixture.find<QLabel>("statusLabel");
    fixture.window().onProgress(10'000'000, 20'000'000);
    const QString first = status->text();
    auto* timer = fixture.find<QTimer>("progressTimer");
    QCOMPARE(timer->intervalAsDuration(), std::chrono::seconds(1));
    QVERIFY(timer->isActive());
    QTRY_VERIFY(status->text() != first);
    QVERIFY(status->text().endsWith(u" 10/20 mB"_s));
    const QString second = status->text();
    QTRY_VERIFY(status->text() != second);
    QVERIFY(timer->isActive());
}

void WaitingTest::nothingIsToldBeforeTheFirstReportAndAfterTheUpdate()
{
    WindowFixture fixture;
    auto* timer = fixture.find<QTimer>("progressTimer");
    fixture.window().onProgress(1, 2);
    QVERIFY(!timer->isActive());
    fixture.window().setBusy(true);
    QVERIFY(!timer->isActive());
    fixture.window().onProgress(1, 2);
    QVERIFY(timer->isActive());
    fixture.window().setBusy(false);
    QVERIFY(!timer->isActive());
}

void WaitingTest::reasonOfAFailedUpdateStaysOnTheButtonUntilTheNextClick()
{
    FlowFixture fixture;
    auto* button = fixture.find<QPushButton>("mainButton");
    const QString path = fixture.tree.packedPath(fixture.tree.package.files.last());
    fixture.server.route(path, QByteArray("not what was promised"));
    fixture.publishAndLoad();
    fixture.click();
    const QString reason = u"Download failed: data.bin"_s;
    QCOMPARE(fixture.status(), QString());
    QCOMPARE(button->toolTip(), reason);
    QCOMPARE(button->accessibleDescription(), reason);
    QCOMPARE(button->accessibleName(), u"Download"_s);
    fixture.server.route(path, HttpAnswer::error(404).calling([&] {
        QCOMPARE(button->toolTip(), u"Update"_s);
        QCOMPARE(button->accessibleDescription(), QString());
    }));
    fixture.click();
    QVERIFY(button->toolTip() != reason);
    QVERIFY(button->toolTip().startsWith(u"Download failed: "_s));
}

QTEST_MAIN(WaitingTest)
#include "tst_waiting.moc"
