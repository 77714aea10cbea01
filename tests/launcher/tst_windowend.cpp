#include "launcher/FlowFixture.h"
#include "support/IsolatedHome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QPointer>
#include <QSettings>
#include <QStackedLayout>
#include <QTimer>

using namespace Qt::StringLiterals;

/// The end of the program and of the window, at the moments when something else is going on.
class WindowEndTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void windowMayGoWhileItsClientRuns();
    void quittingEndsATransferUnderAnotherPageOrBox_data();
    void quittingEndsATransferUnderAnotherPageOrBox();
    void clickUnderTheAboutBoxDoesNotDisturbTheFlow();
    void aboutBoxDoesNotHoldUpAnUpdate();
    void aboutBoxGoesWhenTheGameStarts();
};

void WindowEndTest::windowMayGoWhileItsClientRuns()
{
    const QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setDataFolder(folder.path());
    auto window = std::make_unique<LauncherWindow>(&client);
    const QString program = folder.filePath(u"client"_s);
    testfiles::write(program, testclient::programBytes());
    PackageClient::makeExecutable(program);
    testclient::writeScript(program, "wait " + folder.filePath(u"never"_s).toUtf8());
    window->show();
    window->startClient(program, folder.path(), u"1"_s);
    QTRY_VERIFY(QFile::exists(testclient::recordPath(program)));
    QVERIFY(window->isHidden());
    // The request would be taken by a reaction to the client's end.
    testfiles::write(folder.filePath(u".restart"_s), "");
    window.reset();
    QCoreApplication::processEvents();
    QVERIFY(QFile::exists(folder.filePath(u".restart"_s)));
}

void WindowEndTest::quittingEndsATransferUnderAnotherPageOrBox_data()
{
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<bool>("aboutBox");
    QTest::newRow("licence page") << false << false;
    QTest::newRow("About box") << true << true;
    QTest::newRow("About box over the licence page") << false << true;
}

void WindowEndTest::quittingEndsATransferUnderAnotherPageOrBox()
{
    QFETCH(bool, accepted);
    QFETCH(bool, aboutBox);
    QSettings().setValue(u"eulaAccepted"_s, accepted);
    FlowFixture fixture;
    QCOMPARE(fixture.find<QStackedLayout>("pageStack")->currentIndex(), accepted ? 1 : 0);
    fixture.tree.metadata.packages.first().installautomatically = true;
    fixture.tree.publish();
    const QString stalled = fixture.tree.packedPath(fixture.tree.package.files.last());
    QElapsedTimer sinceQuitting;
    const auto quit = [&sinceQuitting, aboutBox] {
        QCOMPARE(QApplication::activeModalWidget() != nullptr, aboutBox);
        sinceQuitting.start();
        QCoreApplication::quit();
    };
    const auto whileStalled = [&fixture, quit, aboutBox] {
        QTimer::singleShot(100, &fixture.window(), quit);
        if (aboutBox)
            Q_EMIT fixture.find<QLabel>("aboutLabel")->linkActivated(u"about"_s);
    };
    fixture.server.route(stalled, HttpAnswer::stall().calling([&fixture, whileStalled] {
        QTimer::singleShot(0, &fixture.window(), whileStalled);
    }));
    fixture.window().show();
    QTimer::singleShot(0, &fixture.window(), &LauncherWindow::loadConfiguration);
    QTimer::singleShot(20'000, qApp, [] { QCoreApplication::exit(9); });
    QCOMPARE(QCoreApplication::exec(), 0);
    QVERIFY(sinceQuitting.isValid());
    QVERIFY2(sinceQuitting.elapsed() < 1000, qPrintable(QString::number(sinceQuitting.elapsed())));
    QVERIFY(fixture.installed("package.json.version").isNull());
    QVERIFY(fixture.installed("package.json").isNull());
    QCOMPARE(fixture.server.count(stalled), 1);
}

void WindowEndTest::clickUnderTheAboutBoxDoesNotDisturbTheFlow()
{
    FlowFixture fixture;
    fixture.tree.publish();
    const auto whileFetching = [&fixture] {
        QTimer::singleShot(0, &fixture.window(), [&fixture] {
            fixture.click();
            QApplication::activeModalWidget()->close();
        });
        Q_EMIT fixture.find<QLabel>("aboutLabel")->linkActivated(u"about"_s);
    };
    fixture.server.setRequestHook([&fixture, whileFetching](const QString& path) {
        if (path == ContentTree::packagePath)
            QTimer::singleShot(0, &fixture.window(), whileFetching);
    });
    fixture.window().show();
    fixture.window().loadConfiguration();
    QCOMPARE(fixture.server.paths().last(), QString(ContentTree::hintsPath));
    QCOMPARE(fixture.mode(), u"Download"_s);
}

void WindowEndTest::aboutBoxDoesNotHoldUpAnUpdate()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.window().show();
    bool opened = false;
    QString titleAtTheEnd;
    fixture.server.setRequestHook([&](const QString& path) {
        if (path == fixture.tree.packedPath(fixture.tree.package.files.first())) {
            QTimer::singleShot(0, &fixture.window(), [&] {
                opened = true;
                Q_EMIT fixture.find<QLabel>("aboutLabel")->linkActivated(u"about"_s);
            });
        } else if (path == fixture.tree.packedPath(fixture.tree.package.files.last())) {
            const QWidget* box = QApplication::activeModalWidget();
            titleAtTheEnd = box ? box->windowTitle() : QString();
        }
    });
    // So that the test ends even if the box holds up everything.
    QTimer::singleShot(5'000, &fixture.window(), [] {
        if (QWidget* box = QApplication::activeModalWidget())
            box->close();
    });
    fixture.click();
    QVERIFY(opened);
    QCOMPARE(titleAtTheEnd, u"About"_s);
    QCOMPARE(fixture.mode(), u"Play"_s);
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    QVERIFY(box);
    QVERIFY(!box->iconPixmap().isNull());
    const QPointer<QMessageBox> gone(box);
    box->button(QMessageBox::Ok)->click();
    QTRY_VERIFY(!gone);
}

void WindowEndTest::aboutBoxGoesWhenTheGameStarts()
{
    FlowFixture fixture;
    fixture.publishAndLoad();
    fixture.window().show();
    fixture.server.setRequestHook([&](const QString&) {
        if (!QApplication::activeModalWidget())
            Q_EMIT fixture.find<QLabel>("aboutLabel")->linkActivated(u"about"_s);
    });
    fixture.window().runUpdate(true);
    QTRY_VERIFY(fixture.clientHasStarted());
    QTRY_VERIFY(fixture.window().isHidden());
    QTRY_VERIFY(fixture.window().findChildren<QMessageBox*>().isEmpty());
}

VORNAK_WIDGET_TEST_MAIN(WindowEndTest)
#include "tst_windowend.moc"
