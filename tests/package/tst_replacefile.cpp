#include "package/ReplaceFile.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#ifdef Q_OS_WIN
#include "package/WindowsFiles.h"

#include <windows.h>
#endif

using testfiles::names;
using testfiles::read;
using testfiles::write;

class TestReplaceFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void writesNewFile();
    void replacesFileAndLeavesNothingElse();
    void writesEmptyFile();
    void keepsOldFileWhenStopped();
    void refusesToReplaceFolder();
    void worksInFoldersOfAnyName_data();
    void worksInFoldersOfAnyName();
    void worksBeyondTheOldPathLimit();
#ifdef Q_OS_WIN
    void waitsUntilTheFileIsReleased();
    void keepsOldFileThatStaysOpen();
    void refusesReadOnlyFileAtOnce();
    void doesNotFollowShortcut();
    void takesOverWhatAKilledLauncherLeft();
#endif

private:
    QString inFolder(const QString& name) const
    {
        return m_folder->filePath(name);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestReplaceFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void TestReplaceFile::writesNewFile()
{
    QVERIFY(replaceFile(inFolder(QStringLiteral("a")), "new"));
    QCOMPARE(read(inFolder(QStringLiteral("a"))), QByteArray("new"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
}

void TestReplaceFile::replacesFileAndLeavesNothingElse()
{
    write(inFolder(QStringLiteral("a")), "a longer old content");
    QVERIFY(replaceFile(inFolder(QStringLiteral("a")), "new"));
    QCOMPARE(read(inFolder(QStringLiteral("a"))), QByteArray("new"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
}

void TestReplaceFile::writesEmptyFile()
{
    write(inFolder(QStringLiteral("a")), "old");
    QVERIFY(replaceFile(inFolder(QStringLiteral("a")), QByteArray()));
    QCOMPARE(read(inFolder(QStringLiteral("a"))), QByteArray());
}

void TestReplaceFile::keepsOldFileWhenStopped()
{
    write(inFolder(QStringLiteral("a")), "old");
    const WriteResult result =
        replaceFile(inFolder(QStringLiteral("a")), QByteArray(0x300000, 'n'), [] { return false; });
    QVERIFY(!result);
    QCOMPARE(result.reason(), QString());
    QCOMPARE(read(inFolder(QStringLiteral("a"))), QByteArray("old"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
}

void TestReplaceFile::refusesToReplaceFolder()
{
    QVERIFY(QDir().mkpath(inFolder(QStringLiteral("a/b"))));
    const WriteResult result = replaceFile(inFolder(QStringLiteral("a")), "new");
    QVERIFY(!result);
    QCOMPARE(result.reason(), QStringLiteral("Is a directory"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
    QCOMPARE(names(inFolder(QStringLiteral("a"))), QStringList(QStringLiteral("b")));
}

void TestReplaceFile::worksInFoldersOfAnyName_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("blanks") << QStringLiteral("a folder  with blanks");
    QTest::newRow("accents, ideographs, beyond the basic plane")
        << QStringLiteral(u"\u00dcn\u00ef \u6f22\u5b57 \U0001F600");
    QTest::newRow("percent") << QStringLiteral("100%PATH%");
}

void TestReplaceFile::worksInFoldersOfAnyName()
{
    QFETCH(QString, folder);
    QVERIFY(QDir().mkpath(inFolder(folder)));
    const QString path = inFolder(folder + QStringLiteral("/") + folder);
    QVERIFY(replaceFile(path, "old"));
    QVERIFY(replaceFile(path, "new"));
    QCOMPARE(read(path), QByteArray("new"));
    QCOMPARE(names(inFolder(folder)), QStringList(folder));
}

void TestReplaceFile::worksBeyondTheOldPathLimit()
{
    QString folder = m_folder->path();
    while (folder.size() < 400)
        folder += QStringLiteral("/a segment of forty characters, or nearly");
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + QStringLiteral("/file");
    QVERIFY(replaceFile(path, "old"));
    QVERIFY(replaceFile(path, "new"));
    QCOMPARE(read(path), QByteArray("new"));
    QCOMPARE(names(folder), QStringList(QStringLiteral("file")));
}

#ifdef Q_OS_WIN

namespace {

/// Holds a file open as a virus scanner does: others may read it and neither write nor replace it.
class Holder
{
public:
    explicit Holder(const QString& path)
        : m_handle(CreateFileW(windowsfiles::nativePath(path).c_str(), GENERIC_READ,
                               FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                               nullptr))
    {}
    ~Holder() { release(); }
    Q_DISABLE_COPY_MOVE(Holder)

    [[nodiscard]] bool holds() const { return m_handle != INVALID_HANDLE_VALUE; }
    void release()
    {
        if (holds())
            CloseHandle(m_handle);
        m_handle = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE m_handle;
};

} // namespace

void TestReplaceFile::waitsUntilTheFileIsReleased()
{
    const QString path = inFolder(QStringLiteral("a"));
    write(path, "old");
    Holder holder(path);
    QVERIFY(holder.holds());
    QElapsedTimer clock;
    clock.start();
    int turnsWhileHeld = 0;
    QVERIFY(replaceFile(path, "new", [&] {
        if (clock.elapsed() > 700)
            holder.release();
        else
            ++turnsWhileHeld;
        return true;
    }));
    QVERIFY(clock.elapsed() >= 700);
    QVERIFY2(turnsWhileHeld >= 2, qPrintable(QString::number(turnsWhileHeld)));
    QCOMPARE(read(path), QByteArray("new"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
}

void TestReplaceFile::keepsOldFileThatStaysOpen()
{
    const QString path = inFolder(QStringLiteral("a"));
    write(path, "old");
    const Holder holder(path);
    QVERIFY(holder.holds());
    QElapsedTimer clock;
    clock.start();
    const WriteResult result = replaceFile(path, "new");
    QVERIFY(!result);
    // The one or the other, depending on the system.
    QVERIFY2(result.reason() == qt_error_string(ERROR_SHARING_VIOLATION).trimmed() ||
                 result.reason() == qt_error_string(ERROR_ACCESS_DENIED).trimmed(),
             qUtf8Printable(result.reason()));
    QVERIFY2(clock.elapsed() >= 2000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(read(path), QByteArray("old"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
}

void TestReplaceFile::refusesReadOnlyFileAtOnce()
{
    const QString path = inFolder(QStringLiteral("a"));
    write(path, "old");
    QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::ReadUser));
    QElapsedTimer clock;
    clock.start();
    const WriteResult result = replaceFile(path, "new");
    QVERIFY(!result);
    QCOMPARE(result.reason(), QStringLiteral("Permission denied"));
    // Less than the patience with a file that is held.
    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(read(path), QByteArray("old"));
    QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                    QFileDevice::ReadUser | QFileDevice::WriteUser);
}

void TestReplaceFile::doesNotFollowShortcut()
{
    const QString outside = inFolder(QStringLiteral("outside"));
    const QString shortcut = inFolder(QStringLiteral("a.lnk"));
    write(outside, "mine");
    QVERIFY(QFile::link(outside, shortcut));
    QVERIFY(replaceFile(shortcut, "new"));
    QCOMPARE(read(outside), QByteArray("mine"));
}

void TestReplaceFile::takesOverWhatAKilledLauncherLeft()
{
    QStringList namesOnTheWay;
    QVERIFY(!replaceFile(inFolder(QStringLiteral("a")), QByteArray(0x300000, 'n'), [&] {
        namesOnTheWay = names(m_folder->path());
        return false;
    }));
    QCOMPARE(namesOnTheWay, QStringList(QStringLiteral("a.vornak-new")));

    write(inFolder(QStringLiteral("a.vornak-new")), "longer than the new content");
    QVERIFY(replaceFile(inFolder(QStringLiteral("a")), "new"));
    QCOMPARE(read(inFolder(QStringLiteral("a"))), QByteArray("new"));
    QCOMPARE(names(m_folder->path()), QStringList(QStringLiteral("a")));
}

#endif

QTEST_GUILESS_MAIN(TestReplaceFile)
#include "tst_replacefile.moc"
