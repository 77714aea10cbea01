#include "package/MainLoopRun.h"
#include "support/IsolatedHome.h"

#include <QDeadlineTimer>
#include <QEvent>
#include <QFile>

#ifdef Q_OS_LINUX
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace {

const QString cancelled = u"Download failed: Operation canceled"_s;

// Far more than the work needs when it stops at once, far less than when it goes on.
constexpr qint64 promptly = 1000;

#ifdef Q_OS_LINUX

// Whether this program has a file open in the folder; one without a name counts as well, since a
// file in the making may get its name only at the end.
bool writesInto(const QString& folder)
{
    const QDir descriptors(u"/proc/self/fd"_s);
    for (const QString& name :
         descriptors.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)) {
        char target[4096];
        const QByteArray link = QFile::encodeName(descriptors.filePath(name));
        const ssize_t size = ::readlink(link.constData(), target, sizeof target);
        if (size > 0 && QFile::decodeName(QByteArray(target, size)).startsWith(folder + u'/'))
            return true;
    }
    return false;
}

#else

// A file in the making lies beside the one that was there.
bool writesInto(const QString& folder)
{
    return testfiles::list(folder).size() > 1;
}

#endif

// What Qt does when the last window has been closed.
void postQuit()
{
    QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit));
}

} // namespace

/// The end of the application ends blocking operations, and nothing is written after it.
class QuittingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void quittingAbortsAStalledDownload();
    void quittingAbortsAStalledDocument();
    void quittingBetweenTwoFilesStopsTheSecond();
    void quittingStopsTheCheckOfInstalledFiles();
    void quittingStopsUnpacking();
    void quittingStopsWritingAndLeavesTheOldFile();
    void quittingWithTheLastFileWritesNoMarker();
    void quittingAfterTheLastFileWritesNoMarker();
    void endOfTheLastWindowIsNotLostOnTheWayIntoADownload();
    void endOfTheLastWindowIsNotLostBetweenTwoTurns();
    void worksAgainInALaterMainLoop();
    void knowsWhenTheApplicationEnds();
};

void QuittingTest::quittingAbortsAStalledDownload()
{
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    fixture.tree().addFile(u"b"_s, "b");
    const QString second = fixture.tree().packedPath(fixture.tree().package.files.at(1));
    MainLoopRun loop;
    for (const HttpAnswer& answer :
         {HttpAnswer::stall(), HttpAnswer::stallAfter(testfiles::randomBytes(500, 1), 100)}) {
        MainLoopRun run;
        fixture.server().route(second, answer.calling([&run] {
            QTimer::singleShot(20, qApp, [&run] { run.quit(); });
        }));
        const MessageCapture log;
        VERIFY_FAILURE(run.run([&](QString* error) {
            return fixture.client().installPackage(fixture.tree().packageUrl(),
                                                   fixture.tree().package, fixture.folder(), error);
        }),
                       cancelled);
        QVERIFY(run.hasQuit());
        QVERIFY(run.afterQuit() < promptly);
        QVERIFY(fixture.client().isQuitting());
        QCOMPARE(log.lines(),
                 QStringList{u"Download failed: "_s + fixture.server().url(second).toString() +
                             u" Operation canceled"_s});
        QCOMPARE(fixture.files(),
                 (QStringList{u"Quelra/a"_s, u"Quelra/partial.package.json.version"_s}));
        QTRY_COMPARE(fixture.server().activeTransfers(), 0);
    }
}

void QuittingTest::quittingAbortsAStalledDocument()
{
    InstallFixture fixture;
    MainLoopRun loop;
    fixture.server().route(u"/version"_s,
                           HttpAnswer::stallAfter("1.0.0", 3).calling([&loop] { loop.quit(); }));
    const MessageCapture log;
    QString text = u"none"_s;
    VERIFY_FAILURE(loop.run([&](QString* error) {
        text = fixture.client().fetchText(fixture.server().url(u"/version"_s), error);
        return false;
    }),
                   cancelled);
    QVERIFY(text.isEmpty());
    QVERIFY(loop.afterQuit() < promptly);
}

void QuittingTest::quittingBetweenTwoFilesStopsTheSecond()
{
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "a");
    fixture.tree().addAsset(u"b"_s, "b");
    MainLoopRun loop;
    QObject::connect(&fixture.client(), &PackageClient::progress, &fixture.client(),
                     [&](qint64, qint64, int, int) {
                         if (!fixture.content(u"a"_s).isNull())
                             loop.quit();
                     });
    VERIFY_FAILURE(loop.run([&](QString* error) {
        return fixture.client().installAssets(fixture.tree().assetsUrl(), fixture.tree().assets,
                                              u"id"_s, fixture.folder(), error);
    }),
                   cancelled);
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a"_s});
}

void QuittingTest::quittingStopsTheCheckOfInstalledFiles()
{
    InstallFixture fixture;
    OrlFile& file = fixture.tree().package.files.emplaceBack();
    file.localfile = u"big"_s;
    file.url = u"big.lzma"_s;
    // Hashing this takes many seconds.
    file.unpackedsize = qint64(64) << 30;
    testfiles::writeHole(fixture.path(u"big"_s), file.unpackedsize);
    MainLoopRun loop;
    QElapsedTimer clock;
    loop.quitWhen([&clock] { return clock.isValid() && clock.elapsed() > 60; });
    VERIFY_FAILURE(loop.run([&](QString* error) {
        clock.start();
        return fixture.client().installPackage(fixture.tree().packageUrl(), fixture.tree().package,
                                               fixture.folder(), error);
    }),
                   cancelled);
    QVERIFY(loop.afterQuit() < promptly);
    QVERIFY(fixture.server().paths().isEmpty());
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/big"_s, u"Quelra/partial.package.json.version"_s}));
}

void QuittingTest::quittingStopsUnpacking()
{
    InstallFixture fixture;
    // Packs to almost nothing, so that unpacking is nearly all there is to do.
    const QByteArray content(qsizetype(96) << 20, '\0');
    const QByteArray packed = packLzma(content);
    fixture.tree().package.files = {fileEntry(u"big"_s, u"big.lzma"_s, "not hashed", packed)};
    fixture.server().route(u"/launcher/client/big.lzma"_s, packed);
    testfiles::write(fixture.path(u"big"_s), "old");
    MainLoopRun loop;
    QElapsedTimer arrived;
    fixture.server().route(u"/launcher/client/big.lzma"_s,
                           HttpAnswer::ok(packed).calling([&arrived] { arrived.start(); }));
    loop.quitWhen([&arrived] { return arrived.isValid() && arrived.elapsed() > 60; });
    VERIFY_FAILURE(loop.run([&](QString* error) {
        return fixture.client().installPackage(fixture.tree().packageUrl(), fixture.tree().package,
                                               fixture.folder(), error);
    }),
                   cancelled);
    QVERIFY(loop.hasQuit());
    QVERIFY(loop.afterQuit() < promptly);
    QCOMPARE(fixture.content(u"big"_s), QByteArray("old"));
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/big"_s, u"Quelra/partial.package.json.version"_s}));
}

void QuittingTest::quittingStopsWritingAndLeavesTheOldFile()
{
    InstallFixture fixture;
    const QByteArray content(qsizetype(96) << 20, '\0');
    fixture.tree().addAsset(u"big"_s, content);
    testfiles::write(fixture.path(u"big"_s), "old");
    MainLoopRun loop;
    loop.quitWhen([&] { return writesInto(fixture.folder()); });
    const MessageCapture log;
    VERIFY_FAILURE(loop.run([&](QString* error) {
        return fixture.client().installAssets(fixture.tree().assetsUrl(), fixture.tree().assets,
                                              u"id"_s, fixture.folder(), error);
    }),
                   cancelled);
    QVERIFY(loop.hasQuit());
    QVERIFY(loop.afterQuit() < promptly);
    QCOMPARE(fixture.content(u"big"_s), QByteArray("old"));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/big"_s});
    // What nobody failed at is no failure.
    QCOMPARE(log.lines().filter(u"Cannot"_s), QStringList());
}

void QuittingTest::quittingWithTheLastFileWritesNoMarker()
{
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    MainLoopRun loop;
    const QString path = fixture.tree().packedPath(fixture.tree().package.files.at(0));
    fixture.server().route(path, HttpAnswer::ok(packLzma("a")).calling([&loop] { loop.quit(); }));
    VERIFY_FAILURE(loop.run([&](QString* error) {
        return fixture.client().installPackage(fixture.tree().packageUrl(), fixture.tree().package,
                                               fixture.folder(), error);
    }),
                   cancelled);
    QCOMPARE(fixture.files(), QStringList{u"Quelra/partial.package.json.version"_s});
}

// Whether the last file was fetched or was there already.
void QuittingTest::quittingAfterTheLastFileWritesNoMarker()
{
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "a");
    fixture.tree().addFile(u"b"_s, "b");
    testfiles::write(fixture.path(u"b"_s), "b");
    MainLoopRun fetched;
    MainLoopRun present;
    MainLoopRun* loop = &fetched;
    QObject::connect(&fixture.client(), &PackageClient::progress, &fixture.client(),
                     [&](qint64, qint64, int, int) {
                         if (loop == &present || !fixture.content(u"a"_s).isNull())
                             loop->quit();
                     });
    VERIFY_FAILURE(fetched.run([&](QString* error) {
        return fixture.client().installAssets(fixture.tree().assetsUrl(), fixture.tree().assets,
                                              u"id"_s, fixture.folder(), error);
    }),
                   cancelled);
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/a"_s, u"Quelra/b"_s}));
    loop = &present;
    VERIFY_FAILURE(present.run([&](QString* error) {
        return fixture.client().installPackage(fixture.tree().packageUrl(), fixture.tree().package,
                                               fixture.folder(), error);
    }),
                   cancelled);
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/a"_s, u"Quelra/b"_s, u"Quelra/partial.package.json.version"_s}));
}

void QuittingTest::endOfTheLastWindowIsNotLostOnTheWayIntoADownload()
{
    InstallFixture fixture;
    fixture.server().route(u"/version"_s, QByteArray("1.0.0"));
    MainLoopRun loop;
    VERIFY_FAILURE(loop.run([&](QString* error) {
        postQuit();
        fixture.client().fetchText(fixture.server().url(u"/version"_s), error);
        return false;
    }),
                   cancelled);
    QVERIFY(fixture.client().isQuitting());
}

void QuittingTest::endOfTheLastWindowIsNotLostBetweenTwoTurns()
{
    bool wentOn = true;
    QTimer::singleShot(0, qApp, [&wentOn] {
        EventLoopPacer pacer;
        QTimer closing;
        closing.setSingleShot(true);
        QObject::connect(&closing, &QTimer::timeout, &closing, &postQuit);
        closing.start(1);
        const QDeadlineTimer deadline(promptly);
        while (wentOn && !deadline.hasExpired())
            wentOn = pacer.turnIfDue();
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    QVERIFY(!wentOn);
}

void QuittingTest::worksAgainInALaterMainLoop()
{
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    const auto install = [&](QString* error) {
        return fixture.client().installPackage(fixture.tree().packageUrl(), fixture.tree().package,
                                               fixture.folder(), error);
    };
    const QString path = fixture.tree().packedPath(fixture.tree().package.files.at(0));
    MainLoopRun first;
    fixture.server().route(path, HttpAnswer::stall().calling([&first] { first.quit(); }));
    const MessageCapture log;
    VERIFY_FAILURE(first.run(install), cancelled);
    fixture.server().route(path, packLzma("a"));
    MainLoopRun second;
    VERIFY_SUCCESS(second.run(install));
    QVERIFY(!fixture.client().isQuitting());
}

void QuittingTest::knowsWhenTheApplicationEnds()
{
    EventLoopPacer pacer;
    MainLoopRun loop;
    bool before = false;
    bool after = true;
    loop.run([&](QString*) {
        before = pacer.turnIfDue();
        QCoreApplication::quit();
        QTest::qSleep(static_cast<int>(EventLoopPacer::turnIntervalMs) + 1);
        after = pacer.turnIfDue();
        return true;
    });
    QVERIFY(before);
    QVERIFY(!after);
    QVERIFY(pacer.isQuitting());
}

VORNAK_TEST_MAIN(QuittingTest)
#include "tst_quitting.moc"
