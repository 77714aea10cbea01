#include "package/FullDisk.h"
#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// A folder that cannot be written while this lives. Permissions do not bind the administrator,
/// whose rights are therefore dropped for the time.
class ReadOnlyFolder
{
public:
    explicit ReadOnlyFolder(const QString& path)
        : m_path(QFile::encodeName(path))
    {
        chmod(m_path.constData(), 0555);
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0)
            m_dropped = seteuid(nobody) == 0;
        m_works = access(m_path.constData(), F_OK) == 0 && geteuid() != 0;
    }
    ~ReadOnlyFolder()
    {
        if (m_dropped && seteuid(0) != 0)
            qFatal("Cannot become root again");
        chmod(m_path.constData(), 0755);
    }
    Q_DISABLE_COPY_MOVE(ReadOnlyFolder)

    [[nodiscard]] bool works() const { return m_works; }

private:
    QByteArray m_path;
    bool m_dropped = false;
    bool m_works = false;
};

// Whoever the rights are dropped to must get as far as the folder.
void openToAll(const InstallFixture& fixture)
{
    const QString root = QFileInfo(fixture.folder()).path();
    chmod(QFile::encodeName(root).constData(), 0755);
}

// What the limit of FullDisk gives instead of "No space left on device".
const QString diskFull = qt_error_string(EFBIG);
const QString accessDenied = qt_error_string(EACCES);

} // namespace

class InstallBadDiskTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fullDiskKeepsTheOldFile_data() { InstallFixture::addForms(); }
    void fullDiskKeepsTheOldFile();
    void fullDiskKeepsTheFilesBefore_data() { InstallFixture::addForms(); }
    void fullDiskKeepsTheFilesBefore();
    void fullDiskKeepsTheOldDocument_data() { InstallFixture::addForms(); }
    void fullDiskKeepsTheOldDocument();
    void fullDiskFailsTheAssetMarker_data() { InstallFixture::addForms(); }
    void fullDiskFailsTheAssetMarker();
    void readOnlyFolderFails_data() { InstallFixture::addForms(); }
    void readOnlyFolderFails();
    void folderThatCannotBeMadeFails_data() { InstallFixture::addForms(); }
    void folderThatCannotBeMadeFails();
    void unfinishedFileOfAnotherLauncherIsHeld_data() { InstallFixture::addForms(); }
    void unfinishedFileOfAnotherLauncherIsHeld();
    void unreadableFileCountsAsMissing();
    void fullDiskKeepsTheSavedMetadata();
};

void InstallBadDiskTest::fullDiskKeepsTheOldFile()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a/big"_s, testfiles::textBytes(300'000));
    testfiles::write(fixture.path(u"a/big"_s), "old");
    {
        const FullDisk full(100'000);
        const MessageCapture log;
        VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a/big"_s)));
        QCOMPARE(reasonFor(fixture.path(u"a/big"_s), log), diskFull);
        QCOMPARE(fixture.files(), QStringList{u"Quelra/a/big"_s});
        QCOMPARE(fixture.content(u"a/big"_s), QByteArray("old"));
    }
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.content(u"a/big"_s), testfiles::textBytes(300'000));
}

void InstallBadDiskTest::fullDiskKeepsTheFilesBefore()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"small"_s, "small");
    fixture.tree().addFile(u"big"_s, testfiles::textBytes(3'000'000));
    fixture.tree().addFile(u"after"_s, "after");
    const FullDisk full(2'000'000);
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.path(u"big"_s)));
    QCOMPARE(reasonFor(fixture.path(u"big"_s), log), diskFull);
    QCOMPARE(fixture.files(),
             (QStringList{u"Quelra/partial.package.json.version"_s, u"Quelra/small"_s}));
    QCOMPARE(fixture.server().paths().size(), 2);
}

void InstallBadDiskTest::fullDiskKeepsTheOldDocument()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addFile(u"a"_s, "a");
    VERIFY_SUCCESS(fixture.installPackage(form));
    const QByteArray old = fixture.content(u"package.json"_s);
    fixture.tree().package.version = u"2"_s;
    const FullDisk full(10);
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.folder()));
    QCOMPARE(reasonFor(fixture.path(document), log), diskFull);
    QCOMPARE(fixture.content(u"package.json"_s), old);
    QCOMPARE(fixture.content(u"package.json.version"_s), QByteArray("1.0.0"));
    QCOMPARE(fixture.content(u"partial.package.json.version"_s), QByteArray("2"));
    QCOMPARE(fixture.files().size(), 4);
}

void InstallBadDiskTest::fullDiskFailsTheAssetMarker()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    testfiles::write(fixture.path(u"other"_s), "x");
    const FullDisk full(0);
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form),
                   u"The installation of %1 failed."_s.arg(fixture.folder()));
    QCOMPARE(reasonFor(fixture.path(assetsMarker), log), diskFull);
}

void InstallBadDiskTest::readOnlyFolderFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a/b"_s, "new");
    fixture.tree().addFile(u"a/new/c"_s, "new");
    testfiles::write(fixture.path(u"a/b"_s), "old");
    openToAll(fixture);
    chmod(QFile::encodeName(fixture.folder()).constData(), 0777);
    const ReadOnlyFolder folder(fixture.path(u"a"_s));
    if (!folder.works())
        QSKIP("Permissions do not bind here: run the tests as an ordinary user");
    MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a/b"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a/b"_s), log), accessDenied);
    log.clear();
    VERIFY_FAILURE(fixture.installPackage(form), unwritable(fixture.path(u"a/new/c"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a/new/c"_s), log), accessDenied);
    QCOMPARE(fixture.content(u"a/b"_s), QByteArray("old"));
    QStringList files = fixture.files();
    files.removeOne(u"Quelra/partial.package.json.version"_s);
    QCOMPARE(files, QStringList{u"Quelra/a/b"_s});
}

// The files then find no folder; why there is none is what counts.
void InstallBadDiskTest::folderThatCannotBeMadeFails()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "new");
    const ReadOnlyFolder folder(QFileInfo(fixture.folder()).path());
    if (!folder.works())
        QSKIP("Permissions do not bind here: run the tests as an ordinary user");
    MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a"_s), log), accessDenied);
    fixture.tree().assets.clear();
    log.clear();
    VERIFY_FAILURE(fixture.installAssets(form),
                   u"The installation of %1 failed."_s.arg(fixture.folder()));
    QCOMPARE(reasonFor(fixture.path(assetsMarker), log), accessDenied);
}

void InstallBadDiskTest::unfinishedFileOfAnotherLauncherIsHeld()
{
    QFETCH(Form, form);
#ifndef VORNAK_TEST_NAMED_FILES
    Q_UNUSED(form)
    QSKIP("No name is needed here: tst_installbaddisk_named does without files that have none");
#else
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "new");
    testfiles::write(fixture.path(u"unfinished.vornak-new"_s), "another's");
    QFile other(fixture.path(u"unfinished.vornak-new"_s));
    QVERIFY(other.open(QIODevice::ReadOnly));
    QVERIFY(flock(other.handle(), LOCK_EX) == 0);
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), unwritable(fixture.path(u"a"_s)));
    QCOMPARE(reasonFor(fixture.path(u"a"_s), log), qt_error_string(EBUSY));
    QCOMPARE(other.readAll(), QByteArray("another's"));
#endif
}

void InstallBadDiskTest::unreadableFileCountsAsMissing()
{
    InstallFixture fixture;
    const OrlFile file = fixture.tree().addAsset(u"a/b"_s, "content");
    testfiles::write(fixture.path(u"a/b"_s), "content");
    openToAll(fixture);
    chmod(QFile::encodeName(fixture.path(u"a/b"_s)).constData(), 0);
    const ReadOnlyFolder folder(fixture.path(u"a"_s));
    if (!folder.works())
        QSKIP("Permissions do not bind here: run the tests as an ordinary user");
    const MessageCapture log;
    QVERIFY(!fixture.client().isFileInstalled(file, fixture.folder()));
    QVERIFY(log.lines().isEmpty());
}

void InstallBadDiskTest::fullDiskKeepsTheSavedMetadata()
{
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setDataFolder(folder.path());
    client.parseLauncherMetadata("{}", nullptr);
    const FullDisk full(5);
    const MessageCapture log;
    QString error;
    client.parseLauncherMetadata(R"({"packages":[]})", &error);
    QVERIFY(error.isNull());
    QCOMPARE(reasonFor(folder.filePath(u"launchermetadata.json"_s), log), diskFull);
    QCOMPARE(testfiles::list(folder.path()), QStringList{u"launchermetadata.json"_s});
    QCOMPARE(testfiles::read(folder.filePath(u"launchermetadata.json"_s)), QByteArray("{}"));
}

VORNAK_TEST_MAIN(InstallBadDiskTest)
#include "tst_installbaddisk.moc"
