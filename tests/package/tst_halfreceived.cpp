#include "package/MainLoopRun.h"
#include "support/IsolatedHome.h"

#include <QFile>
#include <QFileInfo>

#ifndef Q_OS_WIN
#include "package/FullDisk.h"

#include <cerrno>
#include <sys/stat.h>
#endif

using namespace Qt::StringLiterals;

namespace {

// On Windows, and where the file system refuses files without a name (which RefuseUnnamedFiles.cpp
// pretends), the unfinished file is seen in the folder.
#if defined(Q_OS_WIN) || defined(VORNAK_TEST_NAMED_FILES)
constexpr bool hasName = true;
#else
constexpr bool hasName = false;
#endif

const QString unfinished = u"Quelra/unfinished.vornak-new"_s;
const QString prefix = u"Download failed: "_s;

QByteArray bigContent()
{
    return testfiles::randomBytes(600'000, 77);
}

QByteArray bigPacked()
{
    static const QByteArray packed = packLzma(bigContent());
    return packed;
}

/// Numbers of bytes after which something happens to a body.
QList<qsizetype> stages(qsizetype size)
{
    return {0, 1, 5, 12, 13, 14, 1000, size / 4, size / 2, size - 1};
}

/// The ways in which a server may end its answer early.
QList<HttpAnswer> earlyEnds(const QByteArray& body, qsizetype stage)
{
    QList<HttpAnswer> ends{HttpAnswer::truncated(body, stage)};
#ifndef Q_OS_WIN
    // On a busy machine Wine does not always tell that a connection was reset; its client then
    // waits for good.
    ends.append(HttpAnswer::resetAfter(body, stage));
#endif
    return ends;
}

QByteArray damagedAt(QByteArray bytes, qsizetype at)
{
    bytes[at] = static_cast<char>(bytes.at(at) ^ 0x40);
    return bytes;
}

/// A big asset with an old version in place, of which the server has its own idea.
class BigFile : public InstallFixture
{
public:
    BigFile()
    {
        tree().addAsset(u"sub/big"_s, bigContent());
        testfiles::write(path(u"sub/big"_s), "old");
    }

    [[nodiscard]] OrlFile& file() { return tree().assets[0]; }
    [[nodiscard]] QString packedPath() { return tree().packedPath(file()); }
    void answer(const HttpAnswer& answer) { server().route(packedPath(), answer); }
    [[nodiscard]] bool isUntouched() const
    {
        return content(u"sub/big"_s) == "old" && files() == QStringList{u"Quelra/sub/big"_s};
    }

    bool installBlocking(QString* error)
    {
        return client().installAssets(tree().assetsUrl(), tree().assets, u"id"_s, folder(), error);
    }
};

} // namespace

/// What happens to an installation while a file of it is half received.
class HalfReceivedTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void endOfTheTransferAtEveryStage_data() { InstallFixture::addForms(); }
    void endOfTheTransferAtEveryStage();
    void damageAtEveryStageIsToldAsAWrongBody_data() { InstallFixture::addForms(); }
    void damageAtEveryStageIsToldAsAWrongBody();
    void brokenStreamIsToldAfterTheTransfer_data() { InstallFixture::addForms(); }
    void brokenStreamIsToldAfterTheTransfer();
    void quittingAtEveryStageLeavesNothing();
    void unfinishedFileIsSeenOnlyWhereItNeedsAName();
    void leftoverOfAKilledLauncherGoes_data() { InstallFixture::addForms(); }
    void leftoverOfAKilledLauncherGoes();
    void noFolderIsLeftForAFileThatFailed_data() { InstallFixture::addForms(); }
    void noFolderIsLeftForAFileThatFailed();
    void streamsThatNeedASecondReadingAreInstalled_data() { InstallFixture::addForms(); }
    void streamsThatNeedASecondReadingAreInstalled();
    void moreThanTheStatedSizeIsNotWritten_data() { InstallFixture::addForms(); }
    void moreThanTheStatedSizeIsNotWritten();
    void nextRequestWaitsForTheFileBefore_data() { InstallFixture::addForms(); }
    void nextRequestWaitsForTheFileBefore();
    void anObstacleEndsTheTransfer_data() { InstallFixture::addForms(); }
    void anObstacleEndsTheTransfer();
#ifndef Q_OS_WIN
    void fullDiskEndsTheTransfer_data()
    {
        InstallFixture::addForms();
    }
    void fullDiskEndsTheTransfer();
    void folderOnAnotherDiskIsServed_data()
    {
        InstallFixture::addForms();
    }
    void folderOnAnotherDiskIsServed();
#endif
};

void HalfReceivedTest::endOfTheTransferAtEveryStage()
{
    QFETCH(Form, form);
    BigFile fixture;
    const QByteArray packed = bigPacked();
    const MessageCapture log;
    for (const qsizetype stage : stages(packed.size())) {
        for (const HttpAnswer& answer : earlyEnds(packed, stage)) {
            fixture.answer(answer);
            const InstallOutcome outcome = fixture.installAssets(form);
            QVERIFY(!outcome.ok);
            QVERIFY2(outcome.error.startsWith(prefix) && outcome.error != prefix + u"sub/big"_s,
                     qUtf8Printable(outcome.error));
            QVERIFY(fixture.isUntouched());
        }
    }
    for (const QString& line : log.lines())
        QVERIFY2(line.startsWith(prefix), qUtf8Printable(line));
    fixture.answer(HttpAnswer::ok(packed));
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(fixture.content(u"sub/big"_s) == bigContent());
}

void HalfReceivedTest::damageAtEveryStageIsToldAsAWrongBody()
{
    QFETCH(Form, form);
    BigFile fixture;
    const QByteArray packed = bigPacked();
    for (const qsizetype stage : stages(packed.size())) {
        fixture.answer(HttpAnswer::ok(damagedAt(packed, stage)));
        const MessageCapture log;
        VERIFY_FAILURE(fixture.installAssets(form), prefix + u"sub/big"_s);
        QCOMPARE(log.lines(),
                 QStringList{u"packed hash mismatch for sub/big (%1 bytes)"_s.arg(packed.size())});
        QVERIFY(fixture.isUntouched());
    }
}

void HalfReceivedTest::brokenStreamIsToldAfterTheTransfer()
{
    QFETCH(Form, form);
    BigFile fixture;
    const QByteArray packed = bigPacked();
    const MessageCapture log;
    for (const qsizetype stage : {qsizetype(0), qsizetype(13), packed.size() / 2}) {
        const QByteArray damaged = damagedAt(packed, stage) + "end";
        // The entry is that of the damaged body: only its stream is wrong, or what comes out of it.
        const OrlFile entry = fileEntry(u"sub/big"_s, fixture.file().url, bigContent(), damaged);
        fixture.file() = entry;
        fixture.answer(HttpAnswer::truncated(damaged, damaged.size() - 1));
        const InstallOutcome cut = fixture.installAssets(form);
        QVERIFY(!cut.ok && cut.error.startsWith(prefix));
        QVERIFY(cut.error != prefix + u"sub/big"_s);
        fixture.answer(HttpAnswer::ok(damaged));
        const InstallOutcome whole = fixture.installAssets(form);
        QVERIFY(!whole.ok);
        const QString broken = u"Failed to decompress file downloaded from "_s + entry.url;
        QVERIFY2(whole.error == broken || (stage > 13 && whole.error == prefix + u"sub/big"_s),
                 qUtf8Printable(whole.error));
        QVERIFY(fixture.isUntouched());
    }
}

void HalfReceivedTest::quittingAtEveryStageLeavesNothing()
{
    BigFile fixture;
    const QByteArray packed = bigPacked();
    const MessageCapture log;
    for (const qsizetype stage : stages(packed.size())) {
        MainLoopRun loop;
        fixture.answer(HttpAnswer::stallAfter(packed, stage).calling([&loop] {
            QTimer::singleShot(150, qApp, [&loop] { loop.quit(); });
        }));
        VERIFY_FAILURE(loop.run([&](QString* error) { return fixture.installBlocking(error); }),
                       prefix + u"Operation canceled"_s);
        QVERIFY(loop.afterQuit() < 1000);
        QVERIFY(fixture.isUntouched());
    }
}

void HalfReceivedTest::unfinishedFileIsSeenOnlyWhereItNeedsAName()
{
    BigFile fixture;
    const QByteArray packed = bigPacked();
    fixture.answer(HttpAnswer::stallAfter(packed, packed.size() / 2));
    MainLoopRun loop;
    QStringList seen;
    qint64 size = 0;
    QTimer::singleShot(400, qApp, [&] {
        seen = fixture.files();
        size = QFileInfo(fixture.path(u"unfinished.vornak-new"_s)).size();
        loop.quit();
    });
    const MessageCapture log;
    loop.run([&](QString* error) { return fixture.installBlocking(error); });
    QStringList expected{u"Quelra/sub/big"_s};
    if (hasName)
        expected.append(unfinished);
    QCOMPARE(seen, expected);
    // It is written while the body arrives.
    QVERIFY(!hasName || size > 200'000);
    QVERIFY(fixture.isUntouched());
}

void HalfReceivedTest::leftoverOfAKilledLauncherGoes()
{
    QFETCH(Form, form);
    BigFile fixture;
    testfiles::write(fixture.path(u"unfinished.vornak-new"_s), QByteArray(3'000'000, 'x'));
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(fixture.content(u"sub/big"_s) == bigContent());
    const QStringList installed{u"Quelra/assets.json.sha256"_s, u"Quelra/sub/big"_s};
    QCOMPARE(fixture.files(), installed);
    // A run that has nothing to write removes it as well.
    testfiles::write(fixture.path(u"unfinished.vornak-new"_s), "x");
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.files(), installed);
}

void HalfReceivedTest::noFolderIsLeftForAFileThatFailed()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a/b/c"_s, bigContent());
    const QString path = fixture.tree().packedPath(fixture.tree().assets.at(0));
    const QByteArray packed = bigPacked();
    const MessageCapture log;
    for (const HttpAnswer& answer :
         {HttpAnswer::truncated(packed, packed.size() / 2),
          HttpAnswer::ok(damagedAt(packed, packed.size() / 2)), HttpAnswer::error(404)}) {
        fixture.server().route(path, answer);
        QVERIFY(!fixture.installAssets(form).ok);
        QVERIFY(QFileInfo(fixture.folder()).isDir());
        QCOMPARE(testfiles::names(fixture.folder()), QStringList());
    }
    fixture.server().route(path, packed);
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(fixture.content(u"a/b/c"_s) == bigContent());
}

void HalfReceivedTest::streamsThatNeedASecondReadingAreInstalled()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QByteArray content = testfiles::textBytes(500'000);
    PackOptions options;
    options.size = PackOptions::Size::KnownWithMarker;
    const QByteArray packed =
        withDeclaredSize(packLzma(content, options), static_cast<quint64>(content.size()) + 1);
    fixture.tree().addAsset(u"a"_s, "replaced below");
    OrlFile& file = fixture.tree().assets[0];
    file = fileEntry(u"a"_s, file.url, content, packed);
    fixture.server().route(fixture.tree().packedPath(file), packed);
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(fixture.content(u"a"_s) == content);
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/a"_s, u"Quelra/assets.json.sha256"_s}));
}

// 16 MB of zeros come out of 3 kB; none of it may get to the disk when 1,000 bytes were promised.
void HalfReceivedTest::moreThanTheStatedSizeIsNotWritten()
{
    QFETCH(Form, form);
    BigFile fixture;
    const QByteArray bomb = packLzma(QByteArray(16'000'000, '\0'));
    fixture.file() = fileEntry(u"sub/big"_s, fixture.file().url, QByteArray(1000, '\0'), bomb);
    fixture.answer(HttpAnswer::ok(bomb));
#ifndef Q_OS_WIN
    // Writing it would end the run with another text.
    const FullDisk full(2'000'000);
#endif
    VERIFY_FAILURE(fixture.installAssets(form), prefix + u"sub/big"_s);
    QVERIFY(fixture.isUntouched());
}

void HalfReceivedTest::nextRequestWaitsForTheFileBefore()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    for (int i = 0; i < 3; ++i)
        fixture.tree().addAsset(QString::number(i),
                                testfiles::randomBytes(100'000, static_cast<quint32>(50 + i)));
    QList<QStringList> there;
    fixture.server().setRequestHook([&](const QString&) { there.append(fixture.files()); });
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(there, (QList<QStringList>{{}, {u"Quelra/0"_s}, {u"Quelra/0"_s, u"Quelra/1"_s}}));
    QCOMPARE(fixture.server().mostTransfers(), 1);
}

// The server would go on for ever.
void HalfReceivedTest::anObstacleEndsTheTransfer()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, bigContent());
    testfiles::write(fixture.path(u"a/kept"_s), "kept");
    const QByteArray packed = bigPacked();
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)),
                           HttpAnswer::stallAfter(packed, packed.size() / 2));
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a"_s)));
    QTRY_COMPARE(fixture.server().activeTransfers(), 0);
    QCOMPARE(reasonFor(fixture.path(u"a"_s), log), u"Is a directory"_s);
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a/kept"_s});
}

#ifndef Q_OS_WIN

void HalfReceivedTest::fullDiskEndsTheTransfer()
{
    QFETCH(Form, form);
    BigFile fixture;
    const QByteArray packed = bigPacked();
    fixture.answer(HttpAnswer::stallAfter(packed, packed.size() / 2));
    const MessageCapture log;
    {
        const FullDisk full(150'000);
        VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"sub/big"_s)));
    }
    QTRY_COMPARE(fixture.server().activeTransfers(), 0);
    QCOMPARE(reasonFor(fixture.path(u"sub/big"_s), log), qt_error_string(EFBIG));
    QVERIFY(fixture.isUntouched());
    fixture.answer(HttpAnswer::ok(packed));
    VERIFY_SUCCESS(fixture.installAssets(form));
}

void HalfReceivedTest::folderOnAnotherDiskIsServed()
{
    QFETCH(Form, form);
    BigFile fixture;
    const QTemporaryDir other(u"/dev/shm/vornak-test-XXXXXX"_s);
    struct stat here
    {
    };
    struct stat there
    {
    };
    if (!other.isValid() || ::stat(QFile::encodeName(other.path()).constData(), &there) != 0 ||
        ::stat(QFile::encodeName(fixture.folder()).constData(), &here) != 0 ||
        here.st_dev == there.st_dev)
        QSKIP("There is no second file system: mount one at /dev/shm");
    QVERIFY(QDir(fixture.path(u"sub"_s)).removeRecursively());
    QVERIFY(QFile::link(other.path(), fixture.path(u"sub"_s)));
    // New, then in the place of another.
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(testfiles::read(other.filePath(u"big"_s)) == bigContent());
    testfiles::write(other.filePath(u"big"_s), "damaged");
    VERIFY_SUCCESS(fixture.installAssets(form));
    QVERIFY(testfiles::read(other.filePath(u"big"_s)) == bigContent());
    QCOMPARE(testfiles::names(other.path()), QStringList{u"big"_s});
    QCOMPARE(testfiles::names(fixture.folder()), (QStringList{assetsMarker, u"sub"_s}));
}

#endif

VORNAK_TEST_MAIN(HalfReceivedTest)
#include "tst_halfreceived.moc"
