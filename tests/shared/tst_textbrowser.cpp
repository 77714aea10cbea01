#include "shared/BrowserKit.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QMetaMethod>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace browserkit;
using shared::QTextBrowserWithNetwork;

class TextBrowserTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsAPictureOfTheWeb();
    void fetchesOnceHoweverOftenItIsAsked();
    void neverFetchesAgainWhatItHas();
    void laysOutOnceForAllPicturesInFlight();
    void followsRedirects();
    void readsBundledPicturesThroughTheirResolvedAddress();
    void readsLocalPicturesByTheAddressAsGiven();
    void keepsThePlaceOfWhoeverReadsFurtherDown();
    void leavesEverythingButPicturesToTheBaseClass();
    void sendsNoHeadersOfItsOwn();
    void declaresItsTwoSlots();
};

void TextBrowserTest::showsAPictureOfTheWeb()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, picture());
    ShownBrowser browser;
    browser.setContent(u"before"_s + image(server.url(u"/a.png"_s)) + u"after"_s);
    QVERIFY(!browser.showsPictures());
    QTRY_VERIFY(browser.showsPictures());
    QCOMPARE(browser.toPlainText().count(u"before"_s), 1);
    QCOMPARE(server.paths(), QStringList{u"/a.png"_s});
    QCOMPARE(browser.loadResource(QTextDocument::ImageResource, server.url(u"/a.png"_s)),
             QVariant(picture()));
}

void TextBrowserTest::fetchesOnceHoweverOftenItIsAsked()
{
    ScriptedHttpServer server;
    const QUrl url = server.url(u"/a.png"_s);
    server.route(u"/a.png"_s, HttpAnswer::drip(picture(), picture().size() / 20, 50));
    ShownBrowser browser;
    for (int i = 0; i < 3; ++i)
        browser.setContent(image(url) + image(url) + image(url));
    for (int i = 0; i < 20; ++i) {
        QVERIFY(!browser.loadResource(QTextDocument::ImageResource, url).isValid());
        QTest::qWait(1);
    }
    QTRY_VERIFY(browser.showsPictures());
    QCOMPARE(server.count(u"/a.png"_s), 1);
}

void TextBrowserTest::neverFetchesAgainWhatItHas()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, picture());
    ShownBrowser browser;
    const QString html = image(server.url(u"/a.png"_s));
    browser.setContent(html);
    QTRY_VERIFY(browser.showsPictures());
    server.close();
    for (int i = 0; i < 3; ++i) {
        browser.setContent(u"<p>other</p>"_s);
        QVERIFY(!browser.showsPictures());
        browser.setContent(html);
        QVERIFY(browser.showsPictures());
    }
    QCOMPARE(server.paths().size(), 1);
}

void TextBrowserTest::laysOutOnceForAllPicturesInFlight()
{
    ScriptedHttpServer server;
    const QUrl first = server.url(u"/a.png"_s);
    const QUrl second = server.url(u"/b.png"_s);
    server.route(u"/a.png"_s, picture());
    server.route(u"/b.png"_s, HttpAnswer::drip(picture(), picture().size() / 8, 20));
    ShownBrowser browser;
    const int once = browser.setContent(image(first) + image(second));
    const int before = browser.changes();
    QTRY_VERIFY(browser.loadResource(QTextDocument::ImageResource, first).isValid());
    QCOMPARE(browser.changes(), before);
    QVERIFY(!browser.loadResource(QTextDocument::ImageResource, second).isValid());
    QTRY_VERIFY(browser.loadResource(QTextDocument::ImageResource, second).isValid());
    QCOMPARE(browser.changes(), before + once);
    QVERIFY(browser.document()->size().height() >= 2 * pictureHeight);
    QTest::qWait(20);
    QCOMPARE(browser.changes(), before + once);
    QCOMPARE(server.paths().size(), 2);
}

void TextBrowserTest::followsRedirects()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, HttpAnswer::redirect(u"/b.png"_s));
    server.route(u"/b.png"_s, picture());
    ShownBrowser browser;
    browser.setContent(image(server.url(u"/a.png"_s)));
    QTRY_VERIFY(browser.showsPictures());
    // Kept under the address that was asked for.
    QVERIFY(browser.loadResource(QTextDocument::ImageResource, server.url(u"/a.png"_s)).isValid());
}

void TextBrowserTest::readsBundledPicturesThroughTheirResolvedAddress()
{
    QTextBrowserWithNetwork browser;
    const QString name = u"images/launcher/checkbox-checked.png"_s;
    const QByteArray expected = testfiles::read(u":/"_s + name);
    QVERIFY(!expected.isEmpty());
    QCOMPARE(browser.loadResource(QTextDocument::ImageResource, QUrl(u"qrc:/"_s + name)),
             QVariant(expected));
    browser.setSource(QUrl(u"qrc:/styles/window.qss"_s));
    QCOMPARE(browser.loadResource(QTextDocument::ImageResource, QUrl(u"../"_s + name)),
             QVariant(expected));
}

void TextBrowserTest::readsLocalPicturesByTheAddressAsGiven()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"a.png"_s);
    testfiles::write(path, picture());
    QTextBrowserWithNetwork browser;
    QCOMPARE(browser.loadResource(QTextDocument::ImageResource, QUrl::fromLocalFile(path)),
             QVariant(picture()));
    // Without a source a relative address means nothing on the web and is not fetched.
    const MessageCapture log;
    QVERIFY(
        !browser.loadResource(QTextDocument::ImageResource, QUrl(u"/images/none.png"_s)).isValid());
}

void TextBrowserTest::keepsThePlaceOfWhoeverReadsFurtherDown()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, picture());
    ShownBrowser browser;
    browser.setContent(u"<p>line</p>"_s.repeated(40) + image(server.url(u"/a.png"_s)));
    browser.verticalScrollBar()->setValue(100);
    const qreal before = browser.document()->size().height();
    QTRY_VERIFY(browser.document()->size().height() > before);
    QCOMPARE(browser.verticalScrollBar()->value(), 100);
}

void TextBrowserTest::leavesEverythingButPicturesToTheBaseClass()
{
    ScriptedHttpServer server;
    const MessageCapture log;
    QTextBrowserWithNetwork browser;
    for (const int type : {QTextDocument::HtmlResource, QTextDocument::StyleSheetResource,
                           QTextDocument::MarkdownResource})
        QVERIFY(!browser.loadResource(type, server.url(u"/a"_s)).isValid());
    QTest::qWait(30);
    QVERIFY(server.paths().isEmpty());
}

void TextBrowserTest::sendsNoHeadersOfItsOwn()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, picture());
    ShownBrowser browser;
    browser.setContent(image(server.url(u"/a.png"_s)));
    QTRY_COMPARE(server.requests().size(), 1);
    QList<QByteArray> names = server.requests().at(0).headers.keys();
    std::sort(names.begin(), names.end());
    QCOMPARE(names, (QList<QByteArray>{"accept-encoding", "accept-language", "connection", "host",
                                       "user-agent"}));
}

void TextBrowserTest::declaresItsTwoSlots()
{
    const QMetaObject& meta = QTextBrowserWithNetwork::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("shared::QTextBrowserWithNetwork"));
    QCOMPARE(QByteArray(meta.superClass()->className()), QByteArray("QTextBrowser"));
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    const QMetaMethod finished = meta.method(meta.methodOffset());
    QCOMPARE(finished.methodSignature(), QByteArray("onDownloadFinished(QUrl,QByteArray)"));
    QCOMPARE(finished.parameterNames(), (QList<QByteArray>{"url", "data"}));
    QCOMPARE(finished.methodType(), QMetaMethod::Slot);
    const QMetaMethod failed = meta.method(meta.methodOffset() + 1);
    QCOMPARE(failed.methodSignature(),
             QByteArray("onDownloadFailed(QUrl,QNetworkReply::NetworkError,QString)"));
    QCOMPARE(failed.parameterNames(), (QList<QByteArray>{"url", "code", "errorString"}));
    QCOMPARE(failed.methodType(), QMetaMethod::Slot);
}

VORNAK_WIDGET_TEST_MAIN(TextBrowserTest)
#include "tst_textbrowser.moc"
