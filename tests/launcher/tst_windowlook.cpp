#include "launcher/WindowFixture.h"

#include <QCheckBox>
#include <QColor>
#include <QFile>
#include <QGroupBox>
#include <QImage>
#include <QKeySequence>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QStackedLayout>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextEdit>

class WindowLookTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyWidgetCarriesItsName();
    void opensOnTheLicenceUntilItIsAccepted();
    void licenceIsThereBeforeAndAfterItIsAccepted();
    void acceptShowsKeyboardAndPress();
    void versionSuffixIsTheLastNumber_data();
    void versionSuffixIsTheLastNumber();
    void buttonStyleNamesItsPictures();
    void buttonTellsItsModeWithoutText();
    void logoLabelKeepsTheLogosSizeWithoutContents_data();
    void logoLabelKeepsTheLogosSizeWithoutContents();
    void busyLookDisablesTheButtonAndShowsTheBar();
    void refreshOffersWhatFitsTheInstallation();
    void refreshClearsTheStatusUnlessBusy();
    void textsOfTheServerAreNoMarkup();
    void hintsWithoutPicturesGiveWayToEmbeddedOnes();
    void hintShowsItsTitleAndPicturesOfTheServer();
    void hintTitleShowsItsAmpersand();
    void toolTipsTellWhatACutTextHides();
};

void WindowLookTest::init()
{
    QSettings().clear();
}

void WindowLookTest::everyWidgetCarriesItsName()
{
    WindowFixture fixture;
    QVERIFY(fixture.find<QLabel>("logoLabel"));
    QVERIFY(fixture.find<QPushButton>("mainButton"));
    QVERIFY(fixture.find<QProgressBar>("progressBar"));
    QVERIFY(fixture.find<QLabel>("versionLabel"));
    QVERIFY(fixture.find<QLabel>("statusLabel"));
    QVERIFY(fixture.find<QCheckBox>("defaultClientCheckBox"));
    QVERIFY(fixture.find<QGroupBox>("packageGroup"));
    QVERIFY(fixture.find<QTextBrowser>("infoBrowser"));
    QVERIFY(fixture.find<QGroupBox>("hintGroup"));
    QVERIFY(fixture.find<QLabel>("revisionLabel"));
    QVERIFY(fixture.find<QLabel>("makerLogoLabel"));
    QVERIFY(fixture.find<QLabel>("aboutLabel"));
    QVERIFY(fixture.find<QTextEdit>("eulaEdit"));
    QVERIFY(fixture.find<QPushButton>("acceptButton"));
    QVERIFY(fixture.find<QStackedLayout>("pageStack"));
    QCOMPARE(fixture.window().windowTitle(), QStringLiteral("Vornak"));
    QVERIFY(!fixture.window().windowIcon().isNull());
    QCOMPARE(fixture.window().width(), 800);
    QCOMPARE(fixture.window().maximumHeight(), 600);
    QCOMPARE(fixture.find<QPushButton>("mainButton")->size(), QSize(98, 40));
    QCOMPARE(fixture.find<QTextBrowser>("infoBrowser")->toPlainText(),
             QStringLiteral("Loading launcher package configuration\u2026"));
    QCOMPARE(fixture.find<QTextBrowser>("infoBrowser")->minimumSize(), QSize(542, 110));
    QCOMPARE(fixture.find<QGroupBox>("hintGroup")->title(), QStringLiteral("Hint"));
    QCOMPARE(fixture.find<QLabel>("aboutLabel")->text(),
             QStringLiteral("<a href=\"about\" style=\"color: #909090; text-decoration: "
                            "none;\">About</a>"));
    QCOMPARE(fixture.find<QLabel>("makerLogoLabel")->text(),
             QStringLiteral("<a href=\"https://www.vornak.example\"><img "
                            "src=\":/images/launcher/OrlenvikLogo.png\"></a>"));
}

void WindowLookTest::opensOnTheLicenceUntilItIsAccepted()
{
    WindowFixture fixture;
    auto* pages = fixture.find<QStackedLayout>("pageStack");
    QCOMPARE(pages->count(), 2);
    QCOMPARE(pages->currentIndex(), 0);
    fixture.find<QPushButton>("acceptButton")->click();
    QCOMPARE(pages->currentIndex(), 1);
}

void WindowLookTest::licenceIsThereBeforeAndAfterItIsAccepted()
{
    QFile file(QStringLiteral(":/documents/quelra-eula.md"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QTextDocument licence;
    licence.setMarkdown(QString::fromUtf8(file.readAll()));
    QVERIFY(!licence.isEmpty());

    WindowFixture fixture;
    QCOMPARE(fixture.find<QTextEdit>("eulaEdit")->toPlainText(), licence.toPlainText());
    fixture.find<QPushButton>("acceptButton")->click();
    WindowFixture next;
    QCOMPARE(next.find<QTextEdit>("eulaEdit")->toPlainText(), licence.toPlainText());
}

void WindowLookTest::acceptShowsKeyboardAndPress()
{
    WindowFixture fixture;
    fixture.window().show();
    fixture.window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    auto* accept = fixture.find<QPushButton>("acceptButton");
    const QPoint rim(accept->width() / 2, 0);
    const QPoint ground(12, accept->height() / 2);

    fixture.find<QTextEdit>("eulaEdit")->setFocus();
    const QImage idle = accept->grab().toImage();
    QCOMPARE(idle.pixelColor(rim), QColor(0x96, 0x6e, 0x42));
    accept->setFocus();
    const QImage focused = accept->grab().toImage();
    QCOMPARE(focused.pixelColor(rim), QColor(0xff, 0xc4, 0x74));
    accept->setDown(true);
    const QImage pressed = accept->grab().toImage();
    QVERIFY(pressed.pixelColor(ground).lightness() < focused.pixelColor(ground).lightness());
}

void WindowLookTest::versionSuffixIsTheLastNumber_data()
{
    QTest::addColumn<QString>("suffix");
    const auto row = [](const char* text, const char* suffix) {
        QTest::newRow(text) << QString::fromLatin1(suffix);
    };
    row("", "");
    row("1.4.27", "27");
    row("build-7", "7");
    row("15", "15");
    row("2.", "2.");
    row("2-5.", "5.");
    row("3-", "3-");
    row("1.2-3", "2-3");
}

void WindowLookTest::versionSuffixIsTheLastNumber()
{
    QTEST(LauncherWindow::versionSuffix(QString::fromLatin1(QTest::currentDataTag())), "suffix");
}

void WindowLookTest::buttonStyleNamesItsPictures()
{
    WindowFixture fixture;
    auto* button = fixture.find<QPushButton>("mainButton");
    fixture.window().setButtonStyle(QStringLiteral("Red"), QString());
    QCOMPARE(button->styleSheet(),
             QStringLiteral(
                 "QPushButton { background-image: url(:/images/launcher/Button_Red_idle.png);  "
                 "border: none; }QPushButton:hover { background-image: "
                 "url(:/images/launcher/Button_Red_hover.png); }QPushButton:pressed { "
                 "background-image: url(:/images/launcher/Button_Red_pressed.png); padding-top: "
                 "1px; padding-left: 1px; padding-bottom: -1px; padding-right: -1px; "
                 "}QPushButton:disabled { background-image: "
                 "url(:/images/launcher/Button_Red_idle.png); }"));
    fixture.window().setButtonStyle(QStringLiteral("Green"), QStringLiteral("Play"));
    QVERIFY(button->styleSheet().startsWith(QLatin1StringView(
        "QPushButton { background-image: url(:/images/launcher/Button_Green_idle.png); image: "
        "url(:/images/launcher/Icon_Play.png); border: none; }")));
}

void WindowLookTest::buttonTellsItsModeWithoutText()
{
    WindowFixture fixture;
    auto* button = fixture.find<QPushButton>("mainButton");
    QCOMPARE(button->text(), QString());
    QCOMPARE(button->accessibleName(), QStringLiteral("Download"));
    fixture.window().setBusy(true);
    QCOMPARE(button->accessibleName(), QStringLiteral("Update"));
    QCOMPARE(button->toolTip(), QStringLiteral("Update"));
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
}

void WindowLookTest::logoLabelKeepsTheLogosSizeWithoutContents_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QSize>("size");
    QTest::newRow("classic") << int(LauncherWindow::Classic) << QSize(240, 96);
    QTest::newRow("updating") << int(LauncherWindow::Updating) << QSize(196, 152);
    QTest::newRow("launching") << int(LauncherWindow::Launching) << QSize(196, 152);
    QTest::newRow("any other is classic") << 7 << QSize(240, 96);
}

void WindowLookTest::logoLabelKeepsTheLogosSizeWithoutContents()
{
    QFETCH(int, mode);
    WindowFixture fixture;
    fixture.window().setLogo(LauncherWindow::Updating);
    fixture.window().setLogo(mode);
    auto* label = fixture.find<QLabel>("logoLabel");
    QTEST(label->size(), "size");
    QVERIFY(label->pixmap(Qt::ReturnByValue).isNull());
    QVERIFY(label->text().isEmpty());
}

void WindowLookTest::busyLookDisablesTheButtonAndShowsTheBar()
{
    WindowFixture fixture;
    auto* button = fixture.find<QPushButton>("mainButton");
    auto* bar = fixture.find<QProgressBar>("progressBar");
    QVERIFY(bar->isHidden());
    fixture.window().setBusy(true, QStringLiteral("UPDATING"));
    QVERIFY(!button->isEnabled());
    QVERIFY(!bar->isHidden());
    QVERIFY(button->styleSheet().contains(QLatin1StringView("Button_Orange_idle")));
    QCOMPARE(fixture.find<QLabel>("logoLabel")->size(), QSize(196, 152));
    QCOMPARE(fixture.find<QLabel>("statusLabel")->text(), QString());
    fixture.window().setBusy(false, QString());
    QVERIFY(button->isEnabled());
    QVERIFY(bar->isHidden());
    QCOMPARE(fixture.find<QLabel>("logoLabel")->size(), QSize(240, 96));
}

void WindowLookTest::refreshOffersWhatFitsTheInstallation()
{
    WindowFixture fixture;
    auto* button = fixture.find<QPushButton>("mainButton");
    fixture.window().refreshState();
    QCOMPARE(button->accessibleName(), QStringLiteral("Download"));
    QCOMPARE(fixture.find<QLabel>("versionLabel")->text(), QString());
    QCOMPARE(fixture.find<QLabel>("revisionLabel")->text(), QStringLiteral("dev"));

    fixture.install(QStringLiteral("package.json.version"), " 1.4.27\r\n");
    fixture.window().refreshState();
    QCOMPARE(button->accessibleName(), QStringLiteral("Play"));
    QCOMPARE(fixture.find<QLabel>("versionLabel")->text(), QStringLiteral("1.4.27"));
    QCOMPARE(fixture.find<QLabel>("revisionLabel")->text(), QStringLiteral("27"));
}

void WindowLookTest::refreshClearsTheStatusUnlessBusy()
{
    WindowFixture fixture;
    auto* status = fixture.find<QLabel>("statusLabel");
    status->setText(QStringLiteral("gone soon"));
    fixture.window().refreshState();
    QCOMPARE(status->text(), QString());
    fixture.window().setBusy(true);
    status->setText(QStringLiteral("stays"));
    fixture.window().refreshState();
    QCOMPARE(status->text(), QStringLiteral("stays"));
    QVERIFY(!fixture.find<QPushButton>("mainButton")->isEnabled());
}

void WindowLookTest::textsOfTheServerAreNoMarkup()
{
    WindowFixture fixture;
    fixture.window().show();
    for (const char* name : {"versionLabel", "statusLabel", "revisionLabel"}) {
        auto* label = fixture.find<QLabel>(name);
        label->setText(QStringLiteral("<h1>1.0</h1>"));
        const int marked = label->sizeHint().height();
        label->setText(QStringLiteral("1.0"));
        QCOMPARE(marked, label->sizeHint().height());
    }
}

void WindowLookTest::hintsWithoutPicturesGiveWayToEmbeddedOnes()
{
    WindowFixture fixture;
    fixture.window().showHint({{QString(), QStringLiteral("neither picture nor table")}});
    const QString shown = fixture.find<QTextBrowser>("infoBrowser")->toPlainText();
    QVERIFY(!shown.contains(QLatin1StringView("neither picture nor table")));
    QVERIFY(!shown.contains(QLatin1StringView("Loading")));
    QVERIFY(fixture.find<QGroupBox>("hintGroup")->title() != QLatin1StringView("Hint"));
}

void WindowLookTest::hintShowsItsTitleAndPicturesOfTheServer()
{
    WindowFixture fixture;
    fixture.client().setBaseUrl(QStringLiteral("http://127.0.0.1:9//"));
    auto* browser = fixture.find<QTextBrowser>("infoBrowser");
    fixture.window().showHint(
        {{QStringLiteral("Travel"), QStringLiteral("<img src=\"/images/news/a.png\">by boat")}});
    QCOMPARE(fixture.find<QGroupBox>("hintGroup")->title(), QStringLiteral("Travel"));
    QVERIFY(browser->toHtml().contains(
        QLatin1StringView("src=\"http://127.0.0.1:9/images/news/a.png\"")));
    fixture.window().showHint({{QString(), QStringLiteral("<TABLE><tr><td>x</td></tr></TABLE>")}});
    QCOMPARE(fixture.find<QGroupBox>("hintGroup")->title(), QStringLiteral("Hint"));
}

void WindowLookTest::hintTitleShowsItsAmpersand()
{
    WindowFixture fixture;
    auto* group = fixture.find<QGroupBox>("hintGroup");
    fixture.window().show();
    const auto picture = [&](const QString& title) {
        fixture.window().showHint({{title, QStringLiteral("<table><tr><td>x</td></tr></table>")}});
        return group->grab(QRect(0, 0, group->width(), 16)).toImage();
    };
    const QImage without = picture(QStringLiteral("Food Drink"));
    QVERIFY(picture(QStringLiteral("Food &Drink")) != without);
    QCOMPARE(QKeySequence::mnemonic(group->title()), QKeySequence());
}

void WindowLookTest::toolTipsTellWhatACutTextHides()
{
    WindowFixture fixture;
    auto* version = fixture.find<QLabel>("versionLabel");
    auto* revision = fixture.find<QLabel>("revisionLabel");
    fixture.install(QStringLiteral("package.json.version"), "1.4.27");
    fixture.window().refreshState();
    QCOMPARE(version->toolTip(), QString());
    QCOMPARE(revision->toolTip(), QStringLiteral("Revision 27"));
    const QByteArray longVersion = QByteArray(200, 'v') + "<img src=x>" + QByteArray(200, 'v');
    fixture.install(QStringLiteral("package.json.version"), longVersion);
    fixture.window().refreshState();
    QCOMPARE(version->text(), QString::fromLatin1(longVersion));
    QVERIFY(version->minimumSizeHint().width() <= 420 || version->maximumWidth() <= 420);
    QVERIFY(version->toolTip().contains(QLatin1StringView("&lt;img")));
    QVERIFY(revision->maximumWidth() < 300);
}

QTEST_MAIN(WindowLookTest)
#include "tst_windowlook.moc"
