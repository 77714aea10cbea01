#include "launcher/WindowFixture.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QProgressBar>
#include <QStackedLayout>

#include <limits>
#include <utility>

namespace {

/// Counts how often layouts below a widget are asked to be done anew.
class LayoutCounter : public QObject
{
public:
    explicit LayoutCounter(QWidget* top)
    {
        top->installEventFilter(this);
        for (QWidget* widget : top->findChildren<QWidget*>())
            widget->installEventFilter(this);
    }

    int count = 0;

protected:
    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        count += event->type() == QEvent::LayoutRequest ? 1 : 0;
        return false;
    }
};

void showLauncherPage(WindowFixture& fixture)
{
    fixture.find<QStackedLayout>("pageStack")->setCurrentIndex(1);
    fixture.window().show();
}

} // namespace

class ProgressTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formatsTimeRateAndSizes_data();
    void formatsTimeRateAndSizes();
    void survivesExtremeNumbers();
    void ignoresReportsUnlessBusy();
    void showsPercentAndText_data();
    void showsPercentAndText();
    void laysTheWindowOutOnceForTextsThatFit();
    void statusGrowsWithALongerText();
    void statusTakesItsOwnSizeAfterTheUpdate();
};

void ProgressTextTest::formatsTimeRateAndSizes_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<qint64>("elapsed");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, qint64 bytes, qint64 total, qint64 elapsed,
                        const char* text) {
        QTest::newRow(name) << bytes << total << elapsed << QString::fromLatin1(text);
    };
    row("half way", 2'500'000, 12'000'000, 5'000, "ETA 00:00:19 500 kB/s 2.5/12 mB");
    row("no time has passed", 1'000, 2'000, 0, "ETA 00:00:00 1000 kB/s 0.0/0.0 mB");
    row("one byte a second gives no time", 5, 100, 5'000, "ETA 00:00:00 0 kB/s 0.0/0.0 mB");
    row("just over one byte a second", 12, 132, 10'000, "ETA 00:01:40 0 kB/s 0.0/0.0 mB");
    row("all there", 100, 100, 1'000, "ETA 00:00:00 0 kB/s 0.0/0.0 mB");
    row("beyond the total", 200, 100, 1'000, "ETA 00:00:00 0 kB/s 0.0/0.0 mB");
    row("unknown total", 3'000'000, 0, 1'000, "ETA 00:00:00 3000 kB/s 3.0/3.0 mB");
    row("last with a digit behind the point", 9'999'999, 9'999'999, 1'000,
        "ETA 00:00:00 9999 kB/s 10.0/10.0 mB");
    row("first without", 10'000'000, 10'000'000, 1'000, "ETA 00:00:00 10000 kB/s 10/10 mB");
    row("a hundred hours", 1'000, 720'001'000, 500, "ETA 100:00:00 2 kB/s 0.0/720 mB");
    row("minutes and seconds", 1'000'000, 126'000'000, 1'000, "ETA 00:02:05 1000 kB/s 1.0/126 mB");
}

void ProgressTextTest::formatsTimeRateAndSizes()
{
    QFETCH(qint64, bytes);
    QFETCH(qint64, total);
    QFETCH(qint64, elapsed);
    QTEST(LauncherWindow::etaText(bytes, total, elapsed), "text");
}

void ProgressTextTest::survivesExtremeNumbers()
{
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    constexpr qint64 least = std::numeric_limits<qint64>::min();
    QCOMPARE(
        LauncherWindow::etaText(most, most, 0),
        QStringLiteral("ETA 00:00:00 9223372036854775807 kB/s 9223372036855/9223372036855 mB"));
    // What matters here is that the sanitizers have nothing to say.
    for (const qint64 bytes : {least, qint64(-1), qint64(0), qint64(1), most}) {
        for (const qint64 total : {least, qint64(0), qint64(1), most})
            QVERIFY(LauncherWindow::etaText(bytes, total, 1).startsWith(QLatin1StringView("ETA ")));
    }
    WindowFixture fixture;
    fixture.window().setBusy(true);
    fixture.window().onProgress(most, 1);
    QCOMPARE(fixture.find<QProgressBar>("progressBar")->value(), 100);
    fixture.window().onProgress(most / 2, most);
    QCOMPARE(fixture.find<QProgressBar>("progressBar")->value(), 50);
}

void ProgressTextTest::ignoresReportsUnlessBusy()
{
    WindowFixture fixture;
    fixture.find<QLabel>("statusLabel")->setText(QStringLiteral("as it was"));
    fixture.window().onProgress(50, 100);
    QCOMPARE(fixture.find<QLabel>("statusLabel")->text(), QStringLiteral("as it was"));
    QCOMPARE(fixture.find<QProgressBar>("progressBar")->value(), 0);
}

void ProgressTextTest::showsPercentAndText_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<qint64>("total");
    QTest::addColumn<int>("percent");
    QTest::newRow("truncated") << qint64(999) << qint64(1000) << 99;
    QTest::newRow("full") << qint64(1000) << qint64(1000) << 100;
    QTest::newRow("too much") << qint64(2000) << qint64(1000) << 100;
    QTest::newRow("unknown total") << qint64(7) << qint64(0) << 100;
    QTest::newRow("nothing of nothing") << qint64(0) << qint64(0) << 0;
}

void ProgressTextTest::showsPercentAndText()
{
    QFETCH(qint64, bytes);
    QFETCH(qint64, total);
    WindowFixture fixture;
    fixture.window().setBusy(true);
    // Through the signal, as an installation does.
    Q_EMIT fixture.client().progress(bytes, total, 1, 1);
    QTEST(fixture.find<QProgressBar>("progressBar")->value(), "percent");
    QVERIFY(fixture.find<QLabel>("statusLabel")->text().startsWith(QLatin1StringView("ETA ")));
}

void ProgressTextTest::laysTheWindowOutOnceForTextsThatFit()
{
    WindowFixture fixture;
    showLauncherPage(fixture);
    fixture.window().setBusy(true);
    fixture.window().onProgress(1'000'000'000, 2'000'000'000);
    LayoutCounter layouts(&fixture.window());
    // A request for a new layout goes up to the window from round to round.
    int before = 0;
    do {
        before = std::exchange(layouts.count, 0);
        QCoreApplication::processEvents();
    } while (layouts.count != 0 || before != 0);
    auto* status = fixture.find<QLabel>("statusLabel");
    const QRect place = status->geometry();
    QVERIFY(status->height() >= status->heightForWidth(status->width()));

    for (int i = 1; i < 20; ++i) {
        fixture.window().onProgress(1'000 * i, 2'000'000);
        QVERIFY(status->text().contains(QStringLiteral("/2.0 mB")));
        QCoreApplication::processEvents();
    }
    QCOMPARE(layouts.count, 0);
    QCOMPARE(status->geometry(), place);
}

void ProgressTextTest::statusGrowsWithALongerText()
{
    WindowFixture fixture;
    showLauncherPage(fixture);
    fixture.window().setBusy(true);
    auto* status = fixture.find<QLabel>("statusLabel");
    for (const qint64 total : {1'000'000, 500'000'000, 2'000'000'000}) {
        fixture.window().onProgress(total / 2, total);
        QCoreApplication::processEvents();
        QVERIFY(status->width() > status->fontMetrics().horizontalAdvance(status->text()));
    }
    // More than fits the panel on one line.
    const int oneLine = status->height();
    fixture.window().onProgress(std::numeric_limits<qint64>::max() / 2,
                                std::numeric_limits<qint64>::max());
    QVERIFY(status->fontMetrics().horizontalAdvance(status->text()) > status->minimumWidth());
    QVERIFY(status->minimumHeight() > oneLine);
}

void ProgressTextTest::statusTakesItsOwnSizeAfterTheUpdate()
{
    WindowFixture fixture;
    showLauncherPage(fixture);
    auto* status = fixture.find<QLabel>("statusLabel");
    fixture.window().refreshState();
    const QSize least = status->minimumSize();
    const QSize most = status->maximumSize();
    fixture.window().setBusy(true);
    fixture.window().onProgress(50, 100);
    QVERIFY(status->minimumSize() != least);
    fixture.window().setBusy(false);
    fixture.window().refreshState();
    QCOMPARE(status->minimumSize(), least);
    QCOMPARE(status->maximumSize(), most);
}

QTEST_MAIN(ProgressTextTest)
#include "tst_progresstext.moc"
