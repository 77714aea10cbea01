#include "shared/BrowserKit.h"
#include "support/IsolatedHome.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QTextDocument>

#include <memory>
#include <utility>
#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;
using namespace browserkit;
using shared::QTextBrowserWithNetwork;

Q_DECLARE_METATYPE(HttpAnswer)

/// Pictures that do not come, and those that must not be looked for.
class MissingPicturesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failedPictureStaysMissingAndIsAskedForAgain_data();
    void failedPictureStaysMissingAndIsAskedForAgain();
    void pictureCutShortByAResetIsNotKept();
    void failureAfterASuccessKeepsTheOtherPicture();
    void asksNoOtherMachineForItsFiles();
    void missingPictureLeavesItsPlaceEmpty_data();
    void missingPictureLeavesItsPlaceEmpty();
    void nameOfAPictureIsNotReadAsAPath();
    void readsNoDevicesPipesAndLargeFiles();
    void endsATransferThatIsTooLarge();
    void decodesNoPictureOfAbsurdSize();
    void mayBeDestroyedDuringAFetch();
};

void MissingPicturesTest::failedPictureStaysMissingAndIsAskedForAgain_data()
{
    QTest::addColumn<QString>("kind");
    for (const QString& kind : {u"error page"_s, u"empty"_s, u"truncated"_s, u"loop"_s})
        QTest::newRow(qPrintable(kind)) << kind;
}

void MissingPicturesTest::failedPictureStaysMissingAndIsAskedForAgain()
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

void MissingPicturesTest::pictureCutShortByAResetIsNotKept()
{
    ScriptedHttpServer server;
    ShownBrowser browser;
    // Qt itself takes some resets for a success; which ones depends on the moment.
    for (int i = 0; i < 25; ++i) {
        const QString path = u"/%1.png"_s.arg(i);
        server.route(path, HttpAnswer::resetAfter(picture(), 10));
        browser.setContent(image(server.url(path)));
        QTRY_VERIFY(server.count(path) > 0 && server.activeTransfers() == 0);
        QTest::qWait(10);
        server.removeRoute(path);
        QVERIFY(!browser.loadResource(QTextDocument::ImageResource, server.url(path)).isValid());
    }
}

void MissingPicturesTest::failureAfterASuccessKeepsTheOtherPicture()
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

void MissingPicturesTest::asksNoOtherMachineForItsFiles()
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

void MissingPicturesTest::missingPictureLeavesItsPlaceEmpty_data()
{
    QTest::addColumn<HttpAnswer>("answer");
    QTest::addColumn<bool>("drawn");
    QTest::newRow("there") << HttpAnswer::ok(picture()) << true;
    QTest::newRow("on its way") << HttpAnswer::stall() << false;
    QTest::newRow("not found") << HttpAnswer::error(404) << false;
    QTest::newRow("no picture") << HttpAnswer::ok("no picture") << false;
}

void MissingPicturesTest::missingPictureLeavesItsPlaceEmpty()
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

void MissingPicturesTest::nameOfAPictureIsNotReadAsAPath()
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

void MissingPicturesTest::readsNoDevicesPipesAndLargeFiles()
{
    const QTemporaryDir folder;
    QFile large(folder.filePath(u"large"_s));
    QVERIFY(large.open(QIODevice::WriteOnly));
    QVERIFY(large.resize(8 * 1024 * 1024 + 1));
    QStringList paths{large.fileName()};
#ifdef Q_OS_UNIX
    const QString pipe = folder.filePath(u"pipe"_s);
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    paths += {u"/dev/zero"_s, u"/dev/null"_s, pipe};
#endif
    ShownBrowser browser;
    for (const QString& path : std::as_const(paths)) {
        for (const QUrl& name : {QUrl::fromLocalFile(path), QUrl(path)})
            QVERIFY(
                browser.loadResource(QTextDocument::ImageResource, name).toByteArray().isEmpty());
    }
#ifdef Q_OS_UNIX
    browser.setContent(image(QUrl(u"file:///dev/zero"_s)));
#endif
}

void MissingPicturesTest::endsATransferThatIsTooLarge()
{
    ScriptedHttpServer server;
    server.route(u"/large.png"_s, picture() + QByteArray(8 * 1024 * 1024, 'x'));
    ShownBrowser browser;
    // A picture is asked for again only when its transfer has ended. Wine does not always tell the
    // server, which has more to send, that its reader has gone.
    const auto hasEnded = [&](const QString& path) {
#ifdef Q_OS_WIN
        browser.setContent(image(server.url(path)));
        return server.count(path) > 1;
#else
        return server.count(path) == 1 && server.activeTransfers() == 0;
#endif
    };
    browser.setContent(image(server.url(u"/large.png"_s)));
    QTRY_VERIFY(hasEnded(u"/large.png"_s));
    QCoreApplication::processEvents();
    QVERIFY(!browser.showsPictures());
    QVERIFY(!browser.document()
                 ->resource(QTextDocument::ImageResource, server.url(u"/large.png"_s))
                 .isValid());

    // What it says is enough: the rest is not waited for.
    HttpAnswer endless = HttpAnswer::stallAfter(picture(), 10);
    endless.announcedLength = 8 * 1024 * 1024 + 1;
    server.route(u"/endless.png"_s, endless);
    browser.setContent(image(server.url(u"/endless.png"_s)));
    QTRY_VERIFY(hasEnded(u"/endless.png"_s));
}

void MissingPicturesTest::decodesNoPictureOfAbsurdSize()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"wide.png"_s);
    QImage wide(5000, 1, QImage::Format_Mono);
    wide.fill(0);
    QVERIFY(wide.save(path));
    ShownBrowser browser;
    const QImage empty = browser.picture();
    browser.setContent(image(QUrl::fromLocalFile(path)));
    QCOMPARE(browser.picture(), empty);
    QVERIFY(browser.document()->idealWidth() < 5000);
}

void MissingPicturesTest::mayBeDestroyedDuringAFetch()
{
    ScriptedHttpServer server;
    server.route(u"/a.png"_s, HttpAnswer::stallAfter(picture(), 10));
    auto browser = std::make_unique<ShownBrowser>();
    browser->setContent(image(server.url(u"/a.png"_s)));
    QTRY_COMPARE(server.activeTransfers(), 1);
    browser.reset();
    QTRY_COMPARE(server.activeTransfers(), 0);
}

VORNAK_WIDGET_TEST_MAIN(MissingPicturesTest)
#include "tst_missingpictures.moc"
