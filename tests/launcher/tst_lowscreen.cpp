#include "launcher/WindowFixture.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QTextBrowser>
#include <QTextEdit>

/// The window on a screen that is lower than the window would be.
class LowScreenTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everythingThatIsClickedLiesOnTheScreen_data();
    void everythingThatIsClickedLiesOnTheScreen();
};

void LowScreenTest::everythingThatIsClickedLiesOnTheScreen_data()
{
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<bool>("busy");
    QTest::newRow("licence") << false << false;
    QTest::newRow("idle") << true << false;
    QTest::newRow("updating") << true << true;
}

void LowScreenTest::everythingThatIsClickedLiesOnTheScreen()
{
    QFETCH(bool, accepted);
    QFETCH(bool, busy);
    QSettings().setValue(QStringLiteral("eulaAccepted"), accepted);
    WindowFixture fixture;
    LauncherWindow& window = fixture.window();
    window.show();
    window.move(0, 60);
    if (busy) {
        window.setBusy(true);
        window.onProgress(500'000'000, 1'000'000'000);
    }
    for (int turn = 0; turn < 20; ++turn)
        QCoreApplication::processEvents();
    const QRect screen = window.screen()->availableGeometry();
    QCOMPARE(screen.height(), 440);
    QVERIFY(window.height() <= screen.height());
    for (const char* name : {"acceptButton", "eulaEdit", "mainButton", "defaultClientCheckBox",
                             "infoBrowser", "makerLogoLabel", "aboutLabel"}) {
        const auto* widget = window.findChild<QWidget*>(QLatin1StringView(name));
        if (!widget->isVisible())
            continue;
        const QRect place(widget->mapToGlobal(QPoint()), widget->size());
        QVERIFY2(screen.contains(place), name);
    }
    QCOMPARE(fixture.find<QPushButton>("acceptButton")->isVisible(), !accepted);
    QVERIFY(fixture.find<QTextBrowser>("infoBrowser")->height() >= 40);
}

int main(int argc, char* argv[])
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("screen.json")));
    if (!file.open(QIODevice::WriteOnly))
        return 1;
    file.write(R"({"screens":[{"name":"low","x":0,"y":0,"width":800,"height":440,)"
               R"("logicalDpi":96,"logicalBaseDpi":96,"dpr":1}]})");
    file.close();
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + file.fileName().toUtf8());
    const QApplication application(argc, argv);
    LowScreenTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_lowscreen.moc"
