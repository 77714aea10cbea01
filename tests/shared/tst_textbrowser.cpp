#include "shared/QTextBrowserWithNetwork.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QApplication>
#include <QBuffer>
#include <QEventLoop>
#include <QImage>
#include <QMetaMethod>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextDocument>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;
using shared::QTextBrowserWithNetwork;

namespace {

constexpr int pictureHeight = 180;

QByteArray picture()
{
    QImage image(40, pictureHeight, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QString image(const QUrl& url)
{
    return u"<p><img src=\"%1\"></p>"_s.arg(url.toString());
}

/// A browser that is laid out, so that it asks for its pictures.
class ShownBrowser : public QTextBrowserWithNetwork
{
public:
    ShownBrowser()
    {
        resize(542, 110);
        show();
        connect(this, &QTextBrowser::textChanged, this, [this] { ++m_changes; });
    }

    /// Sets the content and has it laid out at once. Returns how many changes of text that made.
    int setContent(const QString& html)
    {
        const int before = m_changes;
        setHtml(html);
        document()->size();
        return m_changes - before;
    }

    [[nodiscard]] QImage picture() const { return viewport()->grab().toImage(); }
    [[nodiscard]] QRgb emptyColour() const { return picture().pixel(500, 5); }
    [[nodiscard]] int changes() const { return m_changes; }
    [[nodiscard]] bool showsPictures() const
    {
        return document()->size().height() >= pictureHeight;
    }

private:
    int m_changes = 0;
};

} // namespace

Q_DECLARE_METATYPE(HttpAnswer)

class TextBrowserTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsAPictureOfTheWeb();
    void fetchesOnceHoweverOftenItIsAsked();
    void neverFetchesAgainWhatItHas();
    void laysOutOnceForAllPicturesInFlight();
    void failedPictureStaysMissingAndIsAskedForAgain_data();
    void failedPictureStaysMissingAndIsAskedForAgain();
    void pictureCutShortByAResetIsNotKept();
    void failureAfterASuccessKeepsTheOtherPicture();
    void followsRedirects();
    void readsBundledPicturesThroughTheirResolvedAddress();
    void readsLocalPicturesByTheAddressAsGiven();
    void asksNoOtherMachineForItsFiles();
    void missingPictureLeavesItsPlaceEmpty_data();
    void missingPictureLeavesItsPlaceEmpty();
    void nameOfAPictureIsNotReadAsAPath();
    void keepsThePlaceOfWhoeverReadsFurtherDown();
    void leavesEverythingButPicturesToTheBaseClass();
    void sendsNoHeadersOfItsOwn();
    void mayBeDestroyedDuringAFetch();
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

void TextBrowserTest::failedPictureStaysMissingAndIsAskedForAgain_data()
{
    QTest::addColumn<QString>("kind");
    for (const QString& kind : {u"error page"_s, u"empty"_s, u"truncated"_s, u"loop"_s})
        QTest::newRow(qPrintable(kind)) << kind;
}

void TextBrowserTest::failedPictureStaysMissingAndIsAskedForAgain()
{
    QFETCH(QString, kind);
    ScriptedHttpServer server;
    const QUrl url = server.url(u"/a.png"_s);
    const QHash<QString, HttpAnswer> answers{{u"error page"_s, HttpAnswer::error(404, picture())},
                                             {u"empty"_s, HttpAnswer::ok({})},
                                             {u"truncated"_s, HttpAnswer::truncated(picture(), 20)},
                                             {u"loop"_s, HttpAnswer::redirect(url.toString())}};
    server.route(u"/a.png"_s, answers.value(kind));
    ShownBrowser browser;
    const MessageCapture log;
    browser.setContent(image(url));
    const int before = browser.changes();
    QTRY_VERIFY(!server.paths().isEmpty() && server.activeTransfers() == 0);
    QTest::qWait(50);
    QCOMPARE(browser.changes(), before);
    QVERIFY(!browser.showsPictures());

    server.clearLog();
    server.route(u"/a.png"_s, picture());
    browser.setContent(image(url));
    QTRY_VERIFY(browser.showsPictures());
    QCOMPARE(server.paths(), QStringList{u"/a.png"_s});
    QVERIFY2(log.lines().isEmpty(), qUtf8Printable(log.lines().join(u'\n')));
}

void TextBrowserTest::pictureCutShortByAResetIsNotKept()
{
    ScriptedHttpServer server;
    ShownBrowser browser;
    // Qt itself takes some resets for a success; which ones depends on the moment.
    for (int i = 0; i < 50; ++i) {
        const QString path = u"/%1.png"_s.arg(i);
        server.route(path, HttpAnswer::resetAfter(picture(), 10));
        browser.setContent(image(server.url(path)));
        QEventLoop loop;
        QTimer::singleShot(40, &loop, &QEventLoop::quit);
        loop.exec();
        QCOMPARE(server.activeTransfers(), 0);
        QVERIFY(!browser.loadResource(QTextDocument::ImageResource, server.url(path)).isValid());
    }
}

void TextBrowserTest::failureAfterASuccessKeepsTheOtherPicture()
{
    ScriptedHttpServer server;
    const QUrl good = server.url(u"/a.png"_s);
    server.route(u"/a.png"_s, picture());
    ShownBrowser browser;
    browser.setContent(image(good) + image(server.url(u"/missing.png"_s)));
    QTRY_COMPARE(browser.loadResource(QTextDocument::ImageResource, good), QVariant(picture()));
    QTRY_VERIFY(server.count(u"/missing.png"_s) >= 1 && server.activeTransfers() == 0);
    // Laying out for the good one may ask for the other once more, but must not go round and round.
    QTest::qWait(100);
    QVERIFY(server.count(u"/missing.png"_s) <= 2);
    QVERIFY(browser.loadResource(QTextDocument::ImageResource, good).isValid());
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

void TextBrowserTest::asksNoOtherMachineForItsFiles()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"a.png"_s);
    testfiles::write(path, picture());
    QTextBrowserWithNetwork browser;
    QVERIFY(
        browser.loadResource(QTextDocument::ImageResource, QUrl::fromLocalFile(path)).isValid());
    // To Windows the first folder is another machine now.
    for (const int type : {QTextDocument::ImageResource, QTextDocument::StyleSheetResource})
        QCOMPARE(browser.loadResource(type, QUrl(u"file:////"_s + path)), QVariant(QByteArray()));
}

void TextBrowserTest::missingPictureLeavesItsPlaceEmpty_data()
{
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<bool>("drawn");
    QTest::newRow("there") << HttpAnswer::ok(picture()) << true;
    QTest::newRow("on its way") << HttpAnswer::stall() << false;
    QTest::newRow("not found") << HttpAnswer::error(404) << false;
    QTest::newRow("no picture") << HttpAnswer::ok("no picture") << false;
}

void TextBrowserTest::missingPictureLeavesItsPlaceEmpty()
{
    QFETCH(HttpAnswer, answer);
    QFETCH(bool, drawn);
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, answer);
    ShownBrowser browser;
    for (const QString& size : {QString(), u" width=\"80\" height=\"80\""_s}) {
        browser.setContent(u"<img src=\"%1\"%2>"_s.arg(server.url(u"/a.png"_s).toString(), size));
        const QImage before = browser.picture();
        QTRY_VERIFY(server.count(u"/a.png"_s) > 0);
        QTest::qWait(50);
        QCOMPARE(before.pixel(20, 20), browser.emptyColour());
        QCOMPARE(browser.picture().pixel(20, 20) != browser.emptyColour(), drawn);
        if (drawn)
            break;
    }
}

void TextBrowserTest::nameOfAPictureIsNotReadAsAPath()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"a.png"_s);
    testfiles::write(path, picture());
    ShownBrowser browser;
    browser.setContent(image(QUrl::fromLocalFile(path)));
    QVERIFY(browser.picture().pixel(20, 20) != browser.emptyColour());
    // To Windows the first folder is another machine now.
    const QString rest = path.startsWith(u'/') ? path.sliced(1) : path;
    for (const QString& name : {u"//"_s + rest, u"file:////"_s + rest}) {
        browser.setContent(u"<p><img src=\"%1\"></p>"_s.arg(name));
        QCOMPARE(browser.picture().pixel(20, 20), browser.emptyColour());
    }
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

void TextBrowserTest::mayBeDestroyedDuringAFetch()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, HttpAnswer::stallAfter(picture(), 10));
    auto browser = std::make_unique<ShownBrowser>();
    browser->setContent(image(server.url(u"/a.png"_s)));
    QTRY_COMPARE(server.activeTransfers(), 1);
    browser.reset();
    QTRY_COMPARE(server.activeTransfers(), 0);
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
