#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSysInfo>
#include <QTest>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;
using namespace publish;

/// What is refused, and what happens to a content that is there already, whole or not.
class RepublicationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusesAndWritesNothing_data();
    void refusesAndWritesNothing();
    void refusesANewContentUnderAnOldVersion();
    void refusesAVersionThatDiffersInCaseOnly();
    void refusesAFileThatBecomesAFolderAndTheReverse_data();
    void refusesAFileThatBecomesAFolderAndTheReverse();
    void sameVersionAgainChangesNothing();
    void damagedPackedFileIsMended();
    void rememberedFilesNeedNoPackingAfterAnInterruption();
    void unfinishedVersionIsWrittenAnew();
    void secondPublisherIsRefused();
    void whatADeadPublisherLeftHoldsNobodyUp_data();
    void whatADeadPublisherLeftHoldsNobodyUp();
    void aKilledPublisherHoldsNobodyUp();
    void damagedMetadataIsLeftAlone();
    void metadataGetsYoungerEachTime();
    void workFolderIsEmptyAfterwards();
};

void RepublicationTest::refusesAndWritesNothing_data()
{
    QTest::addColumn<QString>("extraFile");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("executable");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("assets");
    QTest::addColumn<QString>("publicUrl");
    const auto row = [](const char* name) -> QTestData& { return QTest::newRow(name); };
#ifndef Q_OS_WIN
    // Windows has no such folders to begin with.
    row("reserved name") << u"aux.txt"_s << u"1"_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("case") << u"CLIENT"_s << u"1"_s << u"client"_s << u"Q"_s << u""_s << u""_s;
#endif
    row("long") << QString(239, u'x') << u"1"_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("version") << u"x"_s << u""_s << u"client"_s << u"Q"_s << u""_s << u""_s;
    row("executable") << u"x"_s << u"1"_s << u"Client"_s << u"Q"_s << u""_s << u""_s;
    row("no executable") << u"x"_s << u"1"_s << u""_s << u"Q"_s << u""_s << u""_s;
    row("directory") << u"x"_s << u"1"_s << u"client"_s << u"../Q"_s << u""_s << u""_s;
    row("no assets") << u"x"_s << u"1"_s << u"client"_s << u"Q"_s << u"none"_s << u""_s;
    row("executable in assets") << u"x"_s << u"1"_s << u"data/map"_s << u"Q"_s << u"data"_s
                                << u""_s;
    row("public address") << u"x"_s << u"1"_s << u"client"_s << u"Q"_s << u""_s << u"cdn.example"_s;
}

void RepublicationTest::refusesAndWritesNothing()
{
    QFETCH(QString, extraFile);
    PublishFixture fixture;
    Files files = smallClient();
    files.insert(extraFile, "x");
    fixture.setInput(files);
    QFETCH(QString, version);
    PublishRequest request = fixture.request(version);
    QFETCH(QString, executable);
    request.executable = executable;
    QFETCH(QString, directory);
    request.product.directory = directory;
    QFETCH(QString, assets);
    request.assets = assets;
    QFETCH(QString, publicUrl);
    request.publicUrl = publicUrl;
    const QStringList faults = fixture.run(request);
    QCOMPARE(faults.size(), 1);
    QVERIFY(!faults.first().contains(u'\n'));
    QVERIFY(!QFileInfo::exists(fixture.content()));
}

void RepublicationTest::refusesANewContentUnderAnOldVersion()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QCOMPARE(fixture.publishFiles(u"1.1"_s, smallClient()), QStringList());
    const Files before = fixture.served();
    Files files = smallClient();
    files[u"client"_s] += "changed";
    const QStringList faults = fixture.publishFiles(u"1.0"_s, files);
    QCOMPARE(faults.size(), 1);
    QVERIFY(faults.first().contains(u"published before"_s));
    QCOMPARE(fixture.served(), before);
    // Not even one file less passes.
    files = smallClient();
    files.remove(u"empty"_s);
    QCOMPARE(fixture.publishFiles(u"1.0"_s, files).size(), 1);
    QCOMPARE(fixture.served(), before);
}

void RepublicationTest::refusesAVersionThatDiffersInCaseOnly()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0a"_s, smallClient()), QStringList());
    const Files before = fixture.served();
    const QStringList faults = fixture.publishFiles(u"1.0A"_s, smallClient());
    QCOMPARE(faults, QStringList(u"version 1.0A differs from version 1.0a in case only"_s));
    QCOMPARE(fixture.served(), before);
}

void RepublicationTest::refusesAFileThatBecomesAFolderAndTheReverse_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("fault");
    const auto row = [](const char* name, const QString& path, const QString& fault) {
        QTest::newRow(name) << path << fault;
    };
    const QString none;
    row("file to folder", u"old/x"_s,
        u"old: a folder in version 1.2, but a file in version 1.0; "_s);
    row("deep file to folder", u"deep/er/map/a/b"_s,
        u"deep/er/map: a folder in version 1.2, but a file in version 1.1; "_s);
    row("folder to file", u"deep"_s,
        u"deep: a file in version 1.2, but a folder in version 1.1; "_s);
    row("asset to folder", u"assets/sky/blue"_s,
        u"assets/sky: a folder in version 1.2, but a file in version 1.0; "_s);
    row("folder of assets to file", u"assets"_s,
        u"assets: a file in version 1.2, but a folder in version 1.0; "_s);
    row("other case", u"OLD/x"_s, u"OLD: a folder in version 1.2, but a file in version 1.0; "_s);
    row("beside", u"older/x"_s, none);
    row("the same folder", u"deep/er/other"_s, none);
    row("the same file", u"old"_s, none);
}

// Players keep the files of old versions, and a launcher makes no folder where a file is.
void RepublicationTest::refusesAFileThatBecomesAFolderAndTheReverse()
{
    QFETCH(QString, path);
    QFETCH(QString, fault);
    PublishFixture fixture;
    fixture.setInput({{u"client"_s, "1"}, {u"old"_s, "1"}, {u"assets/sky"_s, "1"}});
    PublishRequest request = fixture.request(u"1.0"_s);
    request.assets = u"assets"_s;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.publishFiles(u"1.1"_s, {{u"client"_s, "1"}, {u"deep/er/map"_s, "1"}}),
             QStringList());
    const Files before = fixture.served();
    const QStringList faults = fixture.publishFiles(u"1.2"_s, {{u"client"_s, "2"}, {path, "2"}});
    if (fault.isEmpty()) {
        QCOMPARE(faults, QStringList());
        return;
    }
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().startsWith(fault), qPrintable(faults.first()));
    QVERIFY(faults.first().contains(u"another name"_s));
    QCOMPARE(fixture.served(), before);
}

void RepublicationTest::sameVersionAgainChangesNothing()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    const Files before = fixture.served();
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QVERIFY(fixture.report.unchanged);
    QCOMPARE(fixture.report.packed, 0);
    QCOMPARE(fixture.served(), before);
}

void RepublicationTest::damagedPackedFileIsMended()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    const Files before = fixture.served();
    for (auto file = before.begin(); file != before.end(); ++file) {
        if (!file.key().endsWith(u".lzma"_s))
            continue;
        QByteArray damaged = *file;
        damaged[damaged.size() / 2] = static_cast<char>(damaged.at(damaged.size() / 2) ^ 1);
        testfiles::write(fixture.content() + file.key(), damaged);
    }
    PublishRequest request = fixture.request(u"1.0"_s);
    request.packing.reread = true;
    QCOMPARE(fixture.run(request), QStringList());
    QCOMPARE(fixture.report.packed, 4);
    QCOMPARE(fixture.served(), before);

    // At another level other bytes come out, which the old documents do not name.
    QDir(fixture.content() + u"/launcher/files"_s).removeRecursively();
    request.packing.level = {8, true};
    const QStringList faults = fixture.run(request);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"--level"_s), qPrintable(faults.first()));
}

void RepublicationTest::rememberedFilesNeedNoPackingAfterAnInterruption()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    const Files before = fixture.served();
    // As if the publisher had been killed before any document was written, and while it noted the
    // last packed file.
    QDir(fixture.content() + u"/launcher/packages"_s).removeRecursively();
    QFile::remove(fixture.content() + addresses::metadata);
    QFile::remove(fixture.content() + u"/.publisher/versions"_s);
    const QString index = fixture.content() + u"/.publisher/packed.index"_s;
    QByteArrayList lines = testfiles::read(index).split('\n').first(4);
    lines.last().chop(30);
    testfiles::write(index, lines.join('\n'));
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QCOMPARE(fixture.report.packed, 1);
    QCOMPARE(fixture.report.reused, 3);
    QCOMPARE(fixture.served(), before);
    // The half line has not spoilt what was noted after it.
    QDir(fixture.content() + u"/launcher/packages"_s).removeRecursively();
    QFile::remove(fixture.content() + addresses::metadata);
    QFile::remove(fixture.content() + u"/.publisher/versions"_s);
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QCOMPARE(fixture.report.reused, 4);
}

void RepublicationTest::unfinishedVersionIsWrittenAnew()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    // A version whose folder is there but which the metadata never named.
    testfiles::write(fixture.content() + folder11 + u"package.json"_s, "{}");
    testfiles::write(fixture.content() + folder11 + u"assets.json"_s, "{}");
    testfiles::write(fixture.content() + u"/.publisher/unfinished/17"_s, "left behind");
    QCOMPARE(fixture.publishFiles(u"1.1"_s, smallClient()), QStringList());
    const Files served = fixture.served();
    QVERIFY(!served.contains(folder11 + u"assets.json"_s));
    const OrlPackageDoc doc = parsePackageDoc(served.value(folder11 + u"package.json"_s), nullptr);
    QCOMPARE(unpackedFiles(served, doc.files, folder11), smallClient());
    QVERIFY(!QFileInfo::exists(fixture.content() + u"/.publisher/unfinished/17"_s));
}

void RepublicationTest::secondPublisherIsRefused()
{
    PublishFixture fixture;
    ContentFolder other(fixture.content());
    QVERIFY(other.openForWriting(nullptr));
    const QStringList faults = fixture.publishFiles(u"1.0"_s, smallClient());
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"another publisher"_s), qPrintable(faults.first()));
    QVERIFY2(faults.first().contains(u"process %1 on %2 holds %3/.publisher/lock"_s.arg(
                 QString::number(QCoreApplication::applicationPid()), QSysInfo::machineHostName(),
                 fixture.content())),
             qPrintable(faults.first()));
    QVERIFY(fixture.served().isEmpty());
}

void RepublicationTest::whatADeadPublisherLeftHoldsNobodyUp_data()
{
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("nothing") << QByteArray();
    // In a container every publisher is process 1. The one that lives now is not the one that
    // wrote.
    QTest::newRow("a living process")
        << QStringLiteral("%1\n%2\n%3\n")
               .arg(QString::number(QCoreApplication::applicationPid()),
                    QCoreApplication::applicationName(), QSysInfo::machineHostName())
               .toUtf8();
}

void RepublicationTest::whatADeadPublisherLeftHoldsNobodyUp()
{
    QFETCH(QByteArray, left);
    PublishFixture fixture;
    testfiles::write(fixture.content() + u"/.publisher/lock"_s, left);
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QVERIFY(!fixture.served().isEmpty());
}

// A dead process that nobody has reaped still has its number.
void RepublicationTest::aKilledPublisherHoldsNobodyUp()
{
#ifdef Q_OS_WIN
    QSKIP("Windows has no processes that wait to be reaped");
#else
    PublishFixture fixture;
    const QByteArray content = QFile::encodeName(fixture.content());
    int held[2];
    QCOMPARE(::pipe(held), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        ContentFolder folder(QFile::decodeName(content));
        const bool locked = folder.openForWriting(nullptr);
        [[maybe_unused]] const auto written = ::write(held[1], locked ? "1" : "0", 1);
        ::pause();
        ::_exit(0);
    }
    QVERIFY(other > 0);
    auto end = qScopeGuard([other] { ::kill(other, SIGKILL); });
    char answer = 0;
    QCOMPARE(::read(held[0], &answer, 1), ssize_t(1));
    QCOMPARE(answer, '1');
    QVERIFY(fixture.publishFiles(u"1.0"_s, smallClient())
                .value(0)
                .contains(u"process %1 on "_s.arg(other)));
    QCOMPARE(::kill(other, SIGTERM), 0);
    siginfo_t ended{};
    QCOMPARE(::waitid(P_PID, static_cast<id_t>(other), &ended, WEXITED | WNOWAIT), 0);
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QCOMPARE(::waitpid(other, nullptr, 0), other);
    end.dismiss();
    ::close(held[0]);
    ::close(held[1]);
#endif
}

void RepublicationTest::damagedMetadataIsLeftAlone()
{
    PublishFixture fixture;
    testfiles::write(fixture.content() + addresses::metadata, "{\"packages\": [");
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()).size(), 1);
    QCOMPARE(fixture.served(), (Files{{addresses::metadata, "{\"packages\": ["}}));
}

void RepublicationTest::metadataGetsYoungerEachTime()
{
    PublishFixture fixture;
    qint64 before = 0;
    for (const QString& version : {u"1.0"_s, u"1.1"_s, u"1.2"_s}) {
        QCOMPARE(fixture.publishFiles(version, smallClient()), QStringList());
        const qint64 time =
            QFileInfo(fixture.content() + addresses::metadata).lastModified().toSecsSinceEpoch();
        QVERIFY(time > before);
        before = time;
    }
}

void RepublicationTest::workFolderIsEmptyAfterwards()
{
    PublishFixture fixture;
    QCOMPARE(fixture.publishFiles(u"1.0"_s, smallClient()), QStringList());
    QCOMPARE(testfiles::list(fixture.content() + u"/.publisher/unfinished"_s), QStringList());
}

VORNAK_TEST_MAIN(RepublicationTest)
#include "tst_republication.moc"
