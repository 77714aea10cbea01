#include "launcher/SelfUpdateFiles.h"
#include "support/MessageCapture.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <memory>

using testfiles::names;
using testfiles::read;
using testfiles::write;

namespace {

const char* const idleArgument = "--idle-until-killed";

/// A copy of this program that runs until it is killed.
class RunningProgram
{
public:
    explicit RunningProgram(const QString& path)
    {
        QDir().mkpath(QFileInfo(path).path());
        if (!QFile::copy(QCoreApplication::applicationFilePath(), path))
            return;
        m_process.start(path, {QLatin1StringView(idleArgument)});
        m_process.waitForReadyRead(10000);
    }
    ~RunningProgram() { end(); }
    Q_DISABLE_COPY_MOVE(RunningProgram)

    [[nodiscard]] bool runs() const { return m_process.state() == QProcess::Running; }
    void end()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

#ifdef Q_OS_WIN
const QString programName = QStringLiteral("program.exe");
#else
const QString programName = QStringLiteral("program");
#endif

} // namespace

class SelfUpdateFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void replacesAndAddsFilesAtTheirRelativePaths();
    void leavesTheInstallationsRecordsAlone();
    void keepsThePermissions();
    void replacesTheProgramThatRuns();
    void keepsEveryFileThatItCannotReplace();
    void replacesTheExecutableLast();
    void clearsUpAfterReplacingARunningProgram();
    void settlesWhatAKilledReplacementLeftBehind_data();
    void settlesWhatAKilledReplacementLeftBehind();
    void settlesNothingWithoutSource();
    void settlesOnlyWhatBelongsToTheProgram();
    void waitsForTheLauncherThatReplacesItself();
    void saysWhenThereCanBeNoLock();

private:
    QString source(const QString& name = {}) const
    {
        return m_folder->filePath(QLatin1StringView("new/") + name);
    }
    QString program(const QString& name = {}) const
    {
        return m_folder->filePath(QLatin1StringView("app/") + name);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void SelfUpdateFilesTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    QVERIFY(QDir().mkpath(source()));
    QVERIFY(QDir().mkpath(program()));
}

void SelfUpdateFilesTest::replacesAndAddsFilesAtTheirRelativePaths()
{
    write(source(QStringLiteral("a")), "new a");
    write(source(QStringLiteral("deep/er/b")), "new b");
    write(program(QStringLiteral("a")), "old a, longer than the new one");
    write(program(QStringLiteral("mine")), "mine");
    QString error;
    QVERIFY(copyProgramFiles(source(), program(), programName, &error));
    QCOMPARE(read(program(QStringLiteral("a"))), QByteArray("new a"));
    QCOMPARE(read(program(QStringLiteral("deep/er/b"))), QByteArray("new b"));
    QCOMPARE(read(program(QStringLiteral("mine"))), QByteArray("mine"));
    QCOMPARE(names(program()),
             QStringList({QStringLiteral("a"), QStringLiteral("deep"), QStringLiteral("mine")}));
    QVERIFY(error.isEmpty());
}

void SelfUpdateFilesTest::leavesTheInstallationsRecordsAlone()
{
    for (const auto* name : {"package.json", "assets.json", "assets.json.sha256"})
        write(source(QLatin1StringView(name)), "the new one's");
    write(source(QStringLiteral("data/package.json")), "a file like any other");
    write(program(QStringLiteral("package.json")), "mine");
    QString error;
    QVERIFY(copyProgramFiles(source(), program(), programName, &error));
    QCOMPARE(read(program(QStringLiteral("package.json"))), QByteArray("mine"));
    QCOMPARE(names(program()),
             QStringList({QStringLiteral("data"), QStringLiteral("package.json")}));
    QCOMPARE(read(program(QStringLiteral("data/package.json"))),
             QByteArray("a file like any other"));
}

void SelfUpdateFilesTest::keepsThePermissions()
{
#ifdef Q_OS_WIN
    QSKIP("Windows has no execute permission");
#endif
    write(source(QStringLiteral("tool")), "new");
    const auto permissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                             QFileDevice::ExeOwner | QFileDevice::ReadUser |
                             QFileDevice::WriteUser | QFileDevice::ExeUser;
    QVERIFY(QFile::setPermissions(source(QStringLiteral("tool")), permissions));
    QString error;
    QVERIFY(copyProgramFiles(source(), program(), programName, &error));
    QCOMPARE(QFile::permissions(program(QStringLiteral("tool"))), permissions);
}

void SelfUpdateFilesTest::replacesTheProgramThatRuns()
{
    RunningProgram running(program(programName));
    QVERIFY(running.runs());
    write(source(programName), "new");
    QString error;
    QVERIFY2(copyProgramFiles(source(), program(), programName, &error), qPrintable(error));
    QVERIFY(running.runs());
    QCOMPARE(read(program(programName)), QByteArray("new"));
}

void SelfUpdateFilesTest::keepsEveryFileThatItCannotReplace()
{
    // A folder stands where a file shall come.
    write(source(QStringLiteral("a")), "new");
    write(program(QStringLiteral("a/file")), "old");
    QString error;
    const MessageCapture log;
    QVERIFY(!copyProgramFiles(source(), program(), programName, &error));
    const QString target = QDir(program()).filePath(QStringLiteral("a"));
    QCOMPARE(error, QStringLiteral("Failed to create folder: '%1'.").arg(target));
    // The rest of the line is the system's reason.
    const QString told = QStringLiteral("Cannot write %1: ").arg(target);
    QCOMPARE(log.warnings().size(), 1);
    QVERIFY2(log.warnings().first().startsWith(told), qPrintable(log.warnings().first()));
    QVERIFY(log.warnings().first().size() > told.size());
    QCOMPARE(read(program(QStringLiteral("a/file"))), QByteArray("old"));
    QCOMPARE(names(program()), QStringList(QStringLiteral("a")));
}

void SelfUpdateFilesTest::replacesTheExecutableLast()
{
    for (const auto* name : {"a", "b/program", "z"}) {
        write(source(QLatin1StringView(name)), "new");
        write(program(QLatin1StringView(name)), "old");
    }
    write(source(QStringLiteral("c")), "new");
    write(program(QStringLiteral("c/in the way")), "old");
    for (const auto* executable : {"a", "b/program", "z"}) {
        QString error;
        QVERIFY(!copyProgramFiles(source(), program(), QLatin1StringView(executable), &error));
        QCOMPARE(read(program(QLatin1StringView(executable))), QByteArray("old"));
        // What another round put there in the meantime.
        for (const auto* name : {"a", "b/program", "z"})
            write(program(QLatin1StringView(name)), "old");
    }
}

void SelfUpdateFilesTest::clearsUpAfterReplacingARunningProgram()
{
    RunningProgram running(program(programName));
    QVERIFY(running.runs());
    write(source(programName), "new");
    QString error;
    QVERIFY(copyProgramFiles(source(), program(), programName, &error));
    settleProgramFiles(source(), program());
    QCOMPARE(read(program(programName)), QByteArray("new"));
    running.end();
    settleProgramFiles(source(), program());
    QCOMPARE(names(program()), QStringList(programName));
}

void SelfUpdateFilesTest::settlesWhatAKilledReplacementLeftBehind_data()
{
    QTest::addColumn<QStringList>("left");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("killed while copying")
        << QStringList{QStringLiteral("a"), QStringLiteral("a.vornak-new.Xy3Zab")}
        << QByteArray("a");
    QTest::newRow("killed after copying")
        << QStringList{QStringLiteral("a"), QStringLiteral("a.vornak-new")} << QByteArray("a");
    QTest::newRow("killed between the renames")
        << QStringList{QStringLiteral("a.vornak-old1"), QStringLiteral("a.vornak-new")}
        << QByteArray("a.vornak-old1");
    QTest::newRow("killed after the renames")
        << QStringList{QStringLiteral("a"), QStringLiteral("a.vornak-old1")} << QByteArray("a");
    QTest::newRow("several times")
        << QStringList{QStringLiteral("a"), QStringLiteral("a.vornak-old1"),
                       QStringLiteral("a.vornak-old2"), QStringLiteral("a.vornak-new")}
        << QByteArray("a");
}

void SelfUpdateFilesTest::settlesWhatAKilledReplacementLeftBehind()
{
    QFETCH(QStringList, left);
    QFETCH(QByteArray, content);
    write(source(QStringLiteral("a")), "new");
    for (const QString& name : left)
        write(program(name), name.toUtf8());
    settleProgramFiles(source(), program());
    QCOMPARE(names(program()), QStringList(QStringLiteral("a")));
    QCOMPARE(read(program(QStringLiteral("a"))), content);
}

void SelfUpdateFilesTest::settlesNothingWithoutSource()
{
    write(program(QStringLiteral("a.vornak-old1")), "old");
    settleProgramFiles(QString(), program());
    settleProgramFiles(source(), program());
    QCOMPARE(names(program()), QStringList(QStringLiteral("a.vornak-old1")));
}

void SelfUpdateFilesTest::settlesOnlyWhatBelongsToTheProgram()
{
    write(source(QStringLiteral("a")), "new");
    const QStringList others{QStringLiteral("a"), QStringLiteral("b.vornak-old1"),
                             QStringLiteral("ba.vornak-old1")};
    for (const QString& name : others)
        write(program(name), "x");
    settleProgramFiles(source(), program());
    QCOMPARE(names(program()), others);
}

void SelfUpdateFilesTest::waitsForTheLauncherThatReplacesItself()
{
    const QString from = m_folder->filePath(QStringLiteral("new"));
    const QString to = m_folder->filePath(QStringLiteral("app"));
    write(source(programName), "new");
    write(program(programName + QLatin1StringView(".vornak-new")), "half made");
    QString error;
    {
        const auto other = lockSelfUpdate(from);
        QVERIFY(other);
        QVERIFY(!lockSelfUpdate(from, &error));
        settleProgramFiles(from, to);
        QCOMPARE(names(to).size(), 1);
    }
    // Another one at work is nothing to complain about.
    QCOMPARE(error, QString());
    settleProgramFiles(from, to);
    QCOMPARE(names(to), QStringList());
    QVERIFY(lockSelfUpdate(from));
}

void SelfUpdateFilesTest::saysWhenThereCanBeNoLock()
{
    const QString folder = m_folder->filePath(QStringLiteral("missing/self-update"));
    QString error;
    QVERIFY(!lockSelfUpdate(folder, &error));
    QVERIFY(error.contains(folder));
}

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (QCoreApplication::arguments().contains(QLatin1StringView(idleArgument))) {
        std::puts("running");
        std::fflush(stdout);
        for (;;)
            QThread::sleep(1);
    }
    SelfUpdateFilesTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_selfupdatefiles.moc"
