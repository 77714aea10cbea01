#include "launcher/FlowFixture.h"
#include "package/FileLock.h"

#include <QApplication>
#include <QTimer>

using namespace Qt::StringLiterals;

/// What the window shows while it waits for somebody else.
class WaitingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void secondLauncherWaitsAndLooksAgain();
    void closingEndsTheWaitForAnotherLauncher();
    void noPictureIsAskedForAfterClosing();
    void clickThatWaitsIsSeenToBeTaken();
    void clickIsForgottenWhenItWaitedTooLong();
    void stalledTransferIsToldOnceASecond();
    void nothingIsToldBeforeTheFirstReportAndAfterTheUpdate();
    void reasonOfAFailedUpdateStaysOnTheButtonUntilTheNextClick();
    void reasonOfAFailedUpdateGoesWithAClickThatIsForgotten();
    void clickAfterAFailedConfigurationSaysWhatHelps();
};

void WaitingTest::secondLauncherWaitsAndLooksAgain()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    auto other = FileLock::take(fixture.dataFolder() + u"/packages.lock"_s);
    QVERIFY(other);
    fixture.server.clearLog();
    QString meanwhile;
    QStringList askedMeanwhile;
    QTimer::singleShot(300, &fixture.window(), [&] {
        meanwhile = fixture.status();
        askedMeanwhile = fixture.server.paths();
        // The other one has installed a newer version.
        fixture.tree.package.version = u"2.0.0"_s;
        fixture.tree.publish();
        fixture.install(u"bin/client"_s, testclient::programBytes());
        fixture.install(u"data.bin"_s, fixture.data);
        fixture.install(u"package.json"_s, serializePackageDoc(fixture.tree.package));
        fixture.install(u"package.json.version"_s, "2.0.0");
        other.reset();
    });
    fixture.click();
    QCOMPARE(meanwhile, u"Waiting for another launcher"_s);
    QCOMPARE(askedMeanwhile, QStringList());
    QCOMPARE(fixture.server.paths(),
             (QStringList{ContentTree::versionPath, ContentTree::packagePath}));
    QCOMPARE(fixture.mode(), u"Play"_s);
    QCOMPARE(fixture.window().installedVersion(), u"2.0.0"_s);
    QVERIFY(FileLock::take(fixture.dataFolder() + u"/packages.lock"_s));
}

void WaitingTest::closingEndsTheWaitForAnotherLauncher()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    const auto other = FileLock::take(fixture.dataFolder() + u"/packages.lock"_s);
    fixture.server.clearLog();
    fixture.window().show();
    QElapsedTimer sinceClosing;
    QTimer::singleShot(0, &fixture.window(), [&] { fixture.click(); });
    QTimer::singleShot(100, &fixture.window(), [&] {
        sinceClosing.start();
        fixture.window().close();
    });
    QTimer::singleShot(20'000, qApp, [] { QCoreApplication::exit(9); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(sinceClosing.elapsed() < 1000);
    QCOMPARE(fixture.server.paths(), QStringList());
    QVERIFY(!QFile::exists(fixture.packageFolder()));
}

void WaitingTest::noPictureIsAskedForAfterClosing()
{
    FlowFixture fixture;
    fixture.tree.publish();
    fixture.server.route(ContentTree::hintsPath, HttpAnswer::stall().calling([&] {
        QTimer::singleShot(20, &fixture.window(), &QWidget::close);
    }));
    auto* browser = fixture.find<QTextBrowser>("infoBrowser");
    fixture.window().show();
    QTimer::singleShot(0, &fixture.window(), &LauncherWindow::loadConfiguration);
    QTimer::singleShot(20'000, qApp, [] { QCoreApplication::exit(9); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(browser->toPlainText().startsWith(u"Loading"_s));
}

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

void WaitingTest::reasonOfAFailedUpdateGoesWithAClickThatIsForgotten()
{
    FlowFixture fixture;
    auto* button = fixture.find<QPushButton>("mainButton");
    fixture.server.route(fixture.tree.packedPath(fixture.tree.package.files.last()),
                         QByteArray("not what was promised"));
    fixture.publishAndLoad();
    fixture.click();
    QCOMPARE(button->toolTip(), u"Download failed: data.bin"_s);
    auto* timer = fixture.find<QTimer>("clickTimer");
    timer->setInterval(1);
    bool asked = false;
    fixture.server.route(ContentTree::versionPath, HttpAnswer::ok("1.0.0").calling([&] {
        asked = true;
        fixture.click();
        QTRY_VERIFY(!timer->isActive());
    }));
    fixture.window().loadConfiguration();
    QVERIFY(asked);
    QCOMPARE(button->toolTip(), u"Download"_s);
}

void WaitingTest::clickAfterAFailedConfigurationSaysWhatHelps()
{
    FlowFixture fixture;
    fixture.server.route(u"/launcher/quelrametadata.json"_s, HttpAnswer::error(500));
    fixture.window().loadConfiguration();
    fixture.click();
    auto* button = fixture.find<QPushButton>("mainButton");
    QVERIFY2(button->toolTip().contains(u"start it again"_s), qPrintable(button->toolTip()));
    QCOMPARE(button->accessibleDescription(), button->toolTip());
}

QTEST_MAIN(WaitingTest)
#include "tst_waiting.moc"
