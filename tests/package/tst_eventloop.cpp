#include "package/EventLoopPacer.h"
#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>
#include <optional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString cancelled = u"Download failed: Operation canceled"_s;

// Far more than the work needs when it stops at once, far less than when it goes on.
constexpr qint64 promptly = 1000;

/// Runs blocking work under the application's main loop, as a window does, and counts how long that
/// loop goes on after quit() was called.
class MainLoopRun
{
public:
    /// Starts the work and returns when both it and the main loop have ended.
    Outcome run(const std::function<bool(QString*)>& work)
    {
        Outcome outcome;
        QTimer::singleShot(0, qApp, [&] {
            outcome.ok = work(&outcome.error);
            if (!m_sinceQuit.isValid())
                QCoreApplication::quit();
        });
        QCoreApplication::exec();
        if (m_sinceQuit.isValid())
            m_afterQuit = m_sinceQuit.elapsed();
        return outcome;
    }

    void quit()
    {
        if (m_sinceQuit.isValid())
            return;
        m_sinceQuit.start();
        QCoreApplication::quit();
    }

    /// Quits at the first turn of the event loop at which the condition holds.
    void quitWhen(const std::function<bool()>& condition)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this, condition] {
            if (condition())
                quit();
        });
        m_timer.start(0);
    }

    [[nodiscard]] bool hasQuit() const { return m_sinceQuit.isValid(); }
    /// Milliseconds from quit() to the end.
    [[nodiscard]] qint64 afterQuit() const { return m_afterQuit; }

private:
    QTimer m_timer;
    QElapsedTimer m_sinceQuit;
    qint64 m_afterQuit = 0;
};

/// The longest time between two ticks of a timer.
class TickWatch
{
public:
    TickWatch()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
            m_longest = qMax(m_longest, m_since.restart());
            ++m_ticks;
        });
        m_since.start();
        m_timer.start(1);
    }

    [[nodiscard]] qint64 longest() const { return qMax(m_longest, m_since.elapsed()); }
    [[nodiscard]] int ticks() const { return m_ticks; }

private:
    QTimer m_timer;
    QElapsedTimer m_since;
    qint64 m_longest = 0;
    int m_ticks = 0;
};

void makeSparse(const QString& path, qint64 size)
{
    testfiles::write(path, {});
    QFile file(path);
    QVERIFY(file.resize(size));
}

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

} // namespace

/// Blocking operations under a running application: its loop goes on turning, and its end ends
/// them.
class EventLoopTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void staysAliveWhileABigFileIsInstalled();
    void staysAliveWhileABigFileIsChecked();
    void staysAliveOverManySmallFiles();
    void quittingAbortsAStalledDownload();
    void quittingAbortsAStalledDocument();
    void quittingBetweenTwoFilesStopsTheSecond();
    void quittingStopsTheCheckOfInstalledFiles();
    void quittingStopsUnpacking();
    void quittingStopsWritingAndLeavesTheOldFile();
    void quittingWithTheLastFileWritesNoMarker();
    void worksAgainInALaterMainLoop();
    void turnsAtOnceAndThenOnlyWhenDue();
    void knowsWhenTheApplicationEnds();
};

void EventLoopTest::staysAliveWhileABigFileIsInstalled()
{
    InstallFixture fixture;
    const QByteArray content = testfiles::textBytes(24'000'000);
    fixture.tree().addFile(u"big"_s, content);
    MainLoopRun loop;
    std::optional<TickWatch> watch;
    VERIFY_SUCCESS(loop.run([&](QString* error) {
        watch.emplace();
        const bool ok = fixture.client().installPackage(
            fixture.tree().packageUrl(), fixture.tree().package, fixture.folder(), error);
        // The aim is 50 ms, measured by the benchmark; a busy machine that runs tests may stutter.
        qInfo("%d ticks, longest pause %lld ms", watch->ticks(),
              static_cast<long long>(watch->longest()));
        return ok;
    }));
    QVERIFY(fixture.content(u"big"_s) == content);
    QVERIFY(watch->ticks() >= 10);
}

void EventLoopTest::staysAliveWhileABigFileIsChecked()
{
    InstallFixture fixture;
    OrlFile file;
    file.localfile = u"big"_s;
    file.unpackedsize = qint64(512) << 20;
    file.unpackedhash = u"never met"_s;
    makeSparse(fixture.path(u"big"_s), file.unpackedsize);
    std::optional<TickWatch> watch;
    QElapsedTimer clock;
    MainLoopRun loop;
    const Outcome outcome = loop.run([&](QString*) {
        watch.emplace();
        clock.start();
        return fixture.client().isFileInstalled(file, fixture.folder());
    });
    const qint64 duration = clock.elapsed();
    QVERIFY(!outcome.ok);
    QVERIFY2(watch->ticks() >= duration / 50, QByteArray::number(watch->ticks()).constData());
    QVERIFY2(watch->longest() < qMax<qint64>(duration / 2, 50),
             QByteArray::number(watch->longest()).constData());
}

void EventLoopTest::staysAliveOverManySmallFiles()
{
    InstallFixture fixture;
    testfiles::write(fixture.path(u"a"_s), "content");
    OrlPackageDoc package;
    const OrlFile file = fileEntry(u"a"_s, u"a"_s, "content", "packed");
    package.files.fill(file, 20'000);
    std::optional<TickWatch> watch;
    QElapsedTimer clock;
    MainLoopRun loop;
    const Outcome outcome = loop.run([&](QString*) {
        watch.emplace();
        clock.start();
        return !fixture.client().hasMissingFiles(package, fixture.folder());
    });
    QVERIFY(outcome.ok);
    QVERIFY(watch->ticks() >= clock.elapsed() / 100);
}

void EventLoopTest::quittingAbortsAStalledDownload()
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

void EventLoopTest::quittingAbortsAStalledDocument()
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

void EventLoopTest::quittingBetweenTwoFilesStopsTheSecond()
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

void EventLoopTest::quittingStopsTheCheckOfInstalledFiles()
{
    InstallFixture fixture;
    OrlFile& file = fixture.tree().package.files.emplaceBack();
    file.localfile = u"big"_s;
    file.url = u"big.lzma"_s;
    // Hashing this takes many seconds.
    file.unpackedsize = qint64(64) << 30;
    makeSparse(fixture.path(u"big"_s), file.unpackedsize);
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

void EventLoopTest::quittingStopsUnpacking()
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

void EventLoopTest::quittingStopsWritingAndLeavesTheOldFile()
{
    InstallFixture fixture;
    const QByteArray content(qsizetype(96) << 20, '\0');
    fixture.tree().addAsset(u"big"_s, content);
    testfiles::write(fixture.path(u"big"_s), "old");
    MainLoopRun loop;
    loop.quitWhen([&] { return writesInto(fixture.folder()); });
    VERIFY_FAILURE(loop.run([&](QString* error) {
        return fixture.client().installAssets(fixture.tree().assetsUrl(), fixture.tree().assets,
                                              u"id"_s, fixture.folder(), error);
    }),
                   cancelled);
    QVERIFY(loop.hasQuit());
    QVERIFY(loop.afterQuit() < promptly);
    QCOMPARE(fixture.content(u"big"_s), QByteArray("old"));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/big"_s});
}

void EventLoopTest::quittingWithTheLastFileWritesNoMarker()
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

void EventLoopTest::worksAgainInALaterMainLoop()
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

void EventLoopTest::turnsAtOnceAndThenOnlyWhenDue()
{
    int turns = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
    timer.start(0);
    EventLoopPacer pacer;
    QVERIFY(pacer.turnIfDue());
    const int first = turns;
    QVERIFY(first > 0);
    QElapsedTimer clock;
    clock.start();
    int asked = 0;
    while (turns == first && clock.elapsed() < 2000) {
        QVERIFY(pacer.turnIfDue());
        ++asked;
    }
    QVERIFY(clock.elapsed() >= EventLoopPacer::turnIntervalMs - 1);
    QVERIFY(asked > 100);
    QVERIFY(!pacer.isQuitting());
}

void EventLoopTest::knowsWhenTheApplicationEnds()
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

VORNAK_TEST_MAIN(EventLoopTest)
#include "tst_eventloop.moc"
