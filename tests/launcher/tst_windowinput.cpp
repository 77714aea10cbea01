#include "launcher/WindowFixture.h"

#include <QApplication>
#include <QCheckBox>
#include <QDesktopServices>
#include <QEvent>
#include <QFocusFrame>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSet>
#include <QSettings>
#include <QSignalSpy>
#include <QStackedLayout>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTimer>

namespace {

/// Takes what the program asks the desktop to open.
class LinkCollector : public QObject
{
    Q_OBJECT

public:
    LinkCollector()
    {
        for (const QString& scheme : schemes())
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~LinkCollector() override
    {
        for (const QString& scheme : schemes())
            QDesktopServices::unsetUrlHandler(scheme);
    }

    [[nodiscard]] QList<QUrl> opened() const { return m_opened; }

public Q_SLOTS:
    void open(const QUrl& address) { m_opened.append(address); }

private:
    static QStringList schemes()
    {
        return {QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("file"),
                QStringLiteral("search-ms")};
    }

    QList<QUrl> m_opened;
};

} // namespace

/// What a player does with the window, by mouse and keyboard.
class WindowInputTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void acceptingIsRememberedByTheNextWindow();
    void checkBoxIsCheckedAtFirstAndWritesEveryToggle();
    void anyLinkOfTheLabelOpensTheAboutBox();
    void returnPressesTheButtonOnTheLauncherPageOnly();
    void tabReachesCheckBoxLinksAndAccept();
    void everyStopOfTheKeyboardShows_data();
    void everyStopOfTheKeyboardShows();
    void aClickShowsNoStop();
    void returnAcceptsTheLicence_data();
    void returnAcceptsTheLicence();
    void returnOpensALinkAndDoesNotPressTheButton();
    void hintsOpenPagesOfTheWebOnly();
};

void WindowInputTest::init()
{
    QSettings().clear();
}

void WindowInputTest::acceptingIsRememberedByTheNextWindow()
{
    {
        WindowFixture fixture;
        fixture.find<QPushButton>("acceptButton")->click();
        QCOMPARE(QSettings().value(QStringLiteral("eulaAccepted")), QVariant(true));
    }
    WindowFixture next;
    QCOMPARE(next.find<QStackedLayout>("pageStack")->currentIndex(), 1);
}

void WindowInputTest::checkBoxIsCheckedAtFirstAndWritesEveryToggle()
{
    WindowFixture fixture;
    auto* box = fixture.find<QCheckBox>("defaultClientCheckBox");
    QVERIFY(box->isChecked());
    QVERIFY(!QSettings().contains(QStringLiteral("defaultClient")));
    box->toggle();
    QCOMPARE(QSettings().value(QStringLiteral("defaultClient")).toBool(), false);
    WindowFixture next;
    QVERIFY(!next.find<QCheckBox>("defaultClientCheckBox")->isChecked());
    box->toggle();
    QCOMPARE(QSettings().value(QStringLiteral("defaultClient")).toBool(), true);
}

void WindowInputTest::anyLinkOfTheLabelOpensTheAboutBox()
{
    WindowFixture fixture;
    fixture.window().show();
    QString title;
    QString text;
    QTimer::singleShot(0, &fixture.window(), [&title, &text] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box);
        title = box->windowTitle();
        text = box->text();
        box->close();
    });
    Q_EMIT fixture.find<QLabel>("aboutLabel")->linkActivated(QStringLiteral("elsewhere"));
    QCOMPARE(title, QStringLiteral("About"));
    QCOMPARE(text, QStringLiteral("Vornak launcher\n\nSource code, including modifications, at the "
                                  "Vornak repository."));
}

void WindowInputTest::returnPressesTheButtonOnTheLauncherPageOnly()
{
    WindowFixture fixture;
    QSignalSpy clicks(fixture.find<QPushButton>("mainButton"), &QPushButton::clicked);
    fixture.window().show();
    QTest::keyClick(&fixture.window(), Qt::Key_Return);
    QCOMPARE(clicks.count(), 0);
    fixture.find<QPushButton>("acceptButton")->click();
    QTest::keyClick(&fixture.window(), Qt::Key_Return);
    QCOMPARE(clicks.count(), 1);
    QTest::keyClick(fixture.find<QCheckBox>("defaultClientCheckBox"), Qt::Key_Enter);
    QCOMPARE(clicks.count(), 2);
    QKeyEvent heldDown(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, true);
    QApplication::sendEvent(&fixture.window(), &heldDown);
    QCOMPARE(clicks.count(), 2);
    fixture.find<QPushButton>("mainButton")->setEnabled(false);
    QTest::keyClick(&fixture.window(), Qt::Key_Return);
    QCOMPARE(clicks.count(), 2);
}

void WindowInputTest::tabReachesCheckBoxLinksAndAccept()
{
    WindowFixture fixture;
    fixture.window().show();
    fixture.window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    const auto reached = [&fixture](int steps) {
        QSet<QString> names;
        for (int i = 0; i < steps; ++i) {
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget()
                                                        : &fixture.window(),
                            Qt::Key_Tab);
            if (QApplication::focusWidget())
                names.insert(QApplication::focusWidget()->objectName());
        }
        return names;
    };
    QVERIFY(reached(4).contains(QStringLiteral("acceptButton")));
    fixture.find<QPushButton>("acceptButton")->click();
    const QSet<QString> names = reached(8);
    for (const char* name : {"defaultClientCheckBox", "makerLogoLabel", "aboutLabel"})
        QVERIFY2(names.contains(QLatin1StringView(name)), name);
}

void WindowInputTest::everyStopOfTheKeyboardShows_data()
{
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<int>("key");
    QTest::newRow("licence, Tab") << false << int(Qt::Key_Tab);
    QTest::newRow("licence, Shift+Tab") << false << int(Qt::Key_Backtab);
    QTest::newRow("launcher, Tab") << true << int(Qt::Key_Tab);
    QTest::newRow("launcher, Shift+Tab") << true << int(Qt::Key_Backtab);
}

void WindowInputTest::everyStopOfTheKeyboardShows()
{
    QFETCH(bool, accepted);
    QFETCH(int, key);
    WindowFixture fixture;
    LauncherWindow& window = fixture.window();
    window.show();
    if (accepted)
        fixture.find<QPushButton>("acceptButton")->click();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    if (QWidget* first = QApplication::focusWidget())
        first->clearFocus();
    const auto picture = [&window] { return window.grab().toImage(); };
    const QImage without = picture();
    for (int step = 0; step < 12; ++step) {
        QWidget* at = QApplication::focusWidget();
        QTest::keyClick(at ? at : &window, Qt::Key(key));
        QVERIFY(QApplication::focusWidget() != at);
        at = QApplication::focusWidget();
        QVERIFY2(picture() != without, qPrintable(at->objectName()));
    }
}

void WindowInputTest::aClickShowsNoStop()
{
    WindowFixture fixture;
    fixture.window().show();
    fixture.find<QPushButton>("acceptButton")->click();
    fixture.window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    auto* browser = fixture.find<QTextBrowser>("infoBrowser");
    browser->clearFocus();
    QTest::mouseClick(browser->viewport(), Qt::LeftButton);
    QCOMPARE(QApplication::focusWidget(), browser);
    QVERIFY(!fixture.window().findChild<QFocusFrame*>()->isVisible());
}

void WindowInputTest::returnAcceptsTheLicence_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter") << int(Qt::Key_Enter);
    QTest::newRow("Space") << int(Qt::Key_Space);
}

void WindowInputTest::returnAcceptsTheLicence()
{
    QFETCH(int, key);
    WindowFixture fixture;
    QSignalSpy clicks(fixture.find<QPushButton>("mainButton"), &QPushButton::clicked);
    fixture.window().show();
    fixture.find<QPushButton>("acceptButton")->setFocus();
    QTest::keyClick(fixture.find<QPushButton>("acceptButton"), Qt::Key(key));
    QCOMPARE(fixture.find<QStackedLayout>("pageStack")->currentIndex(), 1);
    QCOMPARE(clicks.count(), 0);
}

void WindowInputTest::returnOpensALinkAndDoesNotPressTheButton()
{
    WindowFixture fixture;
    LinkCollector collector;
    fixture.window().show();
    fixture.find<QPushButton>("acceptButton")->click();
    fixture.window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    QSignalSpy clicks(fixture.find<QPushButton>("mainButton"), &QPushButton::clicked);
    auto* logo = fixture.find<QLabel>("makerLogoLabel");
    logo->setFocus(Qt::TabFocusReason);
    QTest::keyClick(logo, Qt::Key_Return);
    QCOMPARE(collector.opened().size(), 1);
    QCOMPARE(clicks.count(), 0);
}

void WindowInputTest::hintsOpenPagesOfTheWebOnly()
{
    WindowFixture fixture;
    LinkCollector collector;
    auto* browser = fixture.find<QTextBrowser>("infoBrowser");
    for (const char* address : {"http://host.invalid/a", "search-ms:query=a", "file:///etc/passwd",
                                "relative", "https://host.invalid/b"}) {
        browser->setHtml(QStringLiteral("<a href=\"%1\">link</a>").arg(QLatin1String(address)));
        browser->setFocus();
        browser->moveCursor(QTextCursor::Start);
        QTest::keyClick(browser, Qt::Key_Tab);
        QTest::keyClick(browser, Qt::Key_Return);
        QCOMPARE(browser->toPlainText(), QStringLiteral("link"));
    }
    QCOMPARE(collector.opened(), (QList<QUrl>{QUrl(QStringLiteral("http://host.invalid/a")),
                                              QUrl(QStringLiteral("https://host.invalid/b"))}));
}

QTEST_MAIN(WindowInputTest)
#include "tst_windowinput.moc"
