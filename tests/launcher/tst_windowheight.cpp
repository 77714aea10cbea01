#include "launcher/FittingLabel.h"
#include "launcher/FlowFixture.h"

#include <QCoreApplication>
#include <QGroupBox>
#include <QImage>
#include <QSettings>

namespace {

void settle()
{
    for (int turn = 0; turn < 20; ++turn)
        QCoreApplication::processEvents();
}

/// Pixels of the label that are not those of an empty one, in its first or its last row and column.
bool isPaintedAtTheEdge(QLabel& label)
{
    QImage picture(label.size(), QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    label.render(&picture, {}, {}, QWidget::RenderFlags());
    for (int y = 0; y < picture.height(); ++y) {
        if (qAlpha(picture.pixel(0, y)) > 0 || qAlpha(picture.pixel(picture.width() - 1, y)) > 0)
            return true;
    }
    return false;
}

} // namespace

/// How tall the window is, and whether all that it shows has its place.
class WindowHeightTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void isTheSameAfterAnUpdateAsBefore_data();
    void isTheSameAfterAnUpdateAsBefore();
    void isRightBeforeTheNextTurnOfTheEventLoop();
    void givesEveryStatusItsPlace_data();
    void givesEveryStatusItsPlace();
    void breaksNoTextThatFitsOneLine();
    void showsTheWholeReasonWhenTheClientCannotStart();
    void keepsWhatThePlayerChose();
    void followsTheContentsAgainWhenDraggedToTheSmallest();
};

void WindowHeightTest::init()
{
    QSettings().clear();
    QSettings().setValue(QStringLiteral("eulaAccepted"), true);
}

void WindowHeightTest::isTheSameAfterAnUpdateAsBefore_data()
{
    QTest::addColumn<bool>("fails");
    QTest::newRow("installed") << false;
    QTest::newRow("failed") << true;
}

void WindowHeightTest::isTheSameAfterAnUpdateAsBefore()
{
    QFETCH(bool, fails);
    FlowFixture fixture;
    fixture.window().show();
    fixture.publishAndLoad();
    settle();
    const int before = fixture.window().height();
    const QRect panelBefore = fixture.find<QGroupBox>("packageGroup")->geometry();
    const QRect hintBefore = fixture.find<QGroupBox>("hintGroup")->geometry();
    if (fails)
        fixture.server.route(fixture.tree.packedPath(fixture.tree.package.files.last()),
                             HttpAnswer::error(500));
    int during = 0;
    connect(&fixture.client(), &PackageClient::progress, &fixture.window(),
            [&] { during = fixture.window().height(); });
    fixture.click();
    settle();
    QCOMPARE(fixture.mode(), fails ? QStringLiteral("Download") : QStringLiteral("Play"));
    QVERIFY(during > before);
    QCOMPARE(fixture.window().height(), before);
    QCOMPARE(fixture.find<QGroupBox>("packageGroup")->geometry(), panelBefore);
    QCOMPARE(fixture.find<QGroupBox>("hintGroup")->geometry(), hintBefore);
    // The panel ends where the hint begins, below the name on the background.
    const auto* logo = fixture.find<QLabel>("logoLabel");
    const auto* panel = fixture.find<QGroupBox>("packageGroup");
    QVERIFY(panel->y() > logo->geometry().bottom());
    QVERIFY(panel->geometry().bottom() < fixture.find<QGroupBox>("hintGroup")->y());
}

void WindowHeightTest::isRightBeforeTheNextTurnOfTheEventLoop()
{
    WindowFixture fixture;
    fixture.window().show();
    settle();
    const int idle = fixture.window().height();
    fixture.window().setBusy(true);
    const int busy = fixture.window().height();
    settle();
    QCOMPARE(fixture.window().height(), busy);
    QVERIFY(busy > idle);
    fixture.window().setBusy(false);
    QCOMPARE(fixture.window().height(), idle);
}

void WindowHeightTest::givesEveryStatusItsPlace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("lines");
    QTest::newRow("one line") << QStringLiteral("Quelra cannot be started") << 1;
    QTest::newRow("two lines") << QStringLiteral(
                                      "Quelra cannot be started: Process failed to start: The "
                                      "system cannot find the file specified.")
                               << 2;
    QTest::newRow("a path") << QStringLiteral("Failed to create folder: '/home/somebody/") +
                                   QString(60, u'p') + QStringLiteral("/client.bin'.")
                            << 3;
    QTest::newRow("one very long word") << QString(120, u'w') << 4;
    QTest::newRow("very long") << QString(4000, u'w') << 6;
}

void WindowHeightTest::givesEveryStatusItsPlace()
{
    QFETCH(QString, text);
    QFETCH(int, lines);
    WindowFixture fixture;
    fixture.window().show();
    settle();
    auto* status = fixture.find<FittingLabel>("statusLabel");
    status->showText(text);
    settle();
    auto* panel = fixture.find<QGroupBox>("packageGroup");
    const int lineHeight = status->fontMetrics().lineSpacing();
    QVERIFY2(status->height() >= lines * lineHeight, qPrintable(QString::number(status->height())));
    QVERIFY(panel->contentsRect().contains(status->geometry()));
    QVERIFY(!isPaintedAtTheEdge(*status));
    QVERIFY(fixture.window().height() <= 600);
    QVERIFY(panel->y() > fixture.find<QLabel>("logoLabel")->geometry().bottom());
    QCOMPARE(status->text(), text);
    QCOMPARE(status->toolTip(), lines == 6 ? text : QString());
}

void WindowHeightTest::breaksNoTextThatFitsOneLine()
{
    WindowFixture fixture;
    fixture.window().show();
    settle();
    auto* status = fixture.find<FittingLabel>("statusLabel");
    status->showText(QStringLiteral("x"));
    const int oneLine = status->height();
    const QString words = QStringLiteral("Waiting for another launcher to end is all it does");
    for (qsizetype length = 1; length < 40; ++length) {
        status->showText(words.first(length));
        QCOMPARE(status->height(), oneLine);
    }
}

void WindowHeightTest::showsTheWholeReasonWhenTheClientCannotStart()
{
    WindowFixture fixture;
    fixture.window().show();
    settle();
    const int idle = fixture.window().height();
    fixture.window().startClient(fixture.packageFolder() + QLatin1StringView("/none"),
                                 fixture.dataFolder(), QString());
    auto* status = fixture.find<QLabel>("statusLabel");
    QVERIFY(status->height() >= 2 * status->fontMetrics().lineSpacing());
    QVERIFY(fixture.window().height() > idle);
    const auto* panel = fixture.find<QGroupBox>("packageGroup");
    QVERIFY(panel->contentsRect().contains(status->geometry()));
}

void WindowHeightTest::keepsWhatThePlayerChose()
{
    FlowFixture fixture;
    fixture.window().show();
    fixture.publishAndLoad();
    settle();
    fixture.window().resize(800, 580);
    settle();
    fixture.click();
    settle();
    QCOMPARE(fixture.mode(), QStringLiteral("Play"));
    QCOMPARE(fixture.window().height(), 580);
}

void WindowHeightTest::followsTheContentsAgainWhenDraggedToTheSmallest()
{
    FlowFixture fixture;
    fixture.window().show();
    fixture.publishAndLoad();
    settle();
    const int content = fixture.window().height();
    fixture.window().resize(800, 580);
    fixture.window().refreshState();
    QCOMPARE(fixture.window().height(), 580);
    fixture.window().resize(800, content);
    fixture.click();
    settle();
    QCOMPARE(fixture.window().height(), content);
}

QTEST_MAIN(WindowHeightTest)
#include "tst_windowheight.moc"
