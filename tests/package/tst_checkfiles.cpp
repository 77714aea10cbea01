#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_LINUX
#include <sys/inotify.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

#ifdef Q_OS_LINUX
namespace {

/// Tells whether a file was opened since the watch began.
class OpenWatch
{
public:
    explicit OpenWatch(const QString& path)
        : m_queue(inotify_init1(IN_NONBLOCK))
    {
        inotify_add_watch(m_queue, QFile::encodeName(path).constData(), IN_OPEN);
    }
    ~OpenWatch() { ::close(m_queue); }
    Q_DISABLE_COPY_MOVE(OpenWatch)

    [[nodiscard]] bool wasOpened() const
    {
        char event[4096];
        return ::read(m_queue, event, sizeof event) > 0;
    }

private:
    int m_queue;
};

} // namespace
#endif

/// The check of what is installed.
class CheckFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsMissingFromAnEmptyPackage();
    void looksAtSizeAndHashOfARegularFile();
    void noticesAChangeThatKeepsSizeAndTime();
    void findsADamagedFileAndReadsNoneBehindIt();
};

void CheckFilesTest::nothingIsMissingFromAnEmptyPackage()
{
    InstallFixture fixture;
    QVERIFY(!fixture.client().hasMissingFiles({}, fixture.folder()));
    fixture.tree().addFile(u"a"_s, "a");
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
    VERIFY_SUCCESS(fixture.installPackage(Form::Blocking));
    QVERIFY(!fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
}

void CheckFilesTest::looksAtSizeAndHashOfARegularFile()
{
    InstallFixture fixture;
    const OrlFile right = fixture.tree().addFile(u"a"_s, "content");
    const auto isInstalled = [&fixture](const OrlFile& file) {
        return fixture.client().isFileInstalled(file, fixture.folder());
    };
    QVERIFY(!isInstalled(right));
    testfiles::write(fixture.path(u"a"_s), "content");
    QVERIFY(isInstalled(right));
    OrlFile file = right;
    file.packedsize = 77;
    file.packedhash = u"no matter"_s;
    QVERIFY(isInstalled(file));
    file.unpackedsize = 8;
    QVERIFY(!isInstalled(file));
    file = right;
    file.unpackedhash = right.unpackedhash.toUpper();
    QVERIFY(!isInstalled(file));
    testfiles::write(fixture.path(u"a"_s), "Content");
    QVERIFY(!isInstalled(right));
    file = right;
    file.localfile = u"folder"_s;
    QVERIFY(QDir().mkpath(fixture.path(file.localfile)));
    file.unpackedsize = QFileInfo(fixture.path(file.localfile)).size();
    QVERIFY(!isInstalled(file));
}

void CheckFilesTest::noticesAChangeThatKeepsSizeAndTime()
{
    InstallFixture fixture;
    const OrlFile entry = fixture.tree().addFile(u"a"_s, "content");
    VERIFY_SUCCESS(fixture.installPackage(Form::Blocking));
    QVERIFY(fixture.client().isFileInstalled(entry, fixture.folder()));
    QFile file(fixture.path(u"a"_s));
    const QDateTime modified = QFileInfo(file).lastModified();
    QVERIFY(file.open(QIODevice::ReadWrite));
    file.write("C");
    QVERIFY(file.flush());
    QVERIFY(file.setFileTime(modified, QFileDevice::FileModificationTime));
    file.close();
    QCOMPARE(QFileInfo(file).lastModified(), modified);
    QVERIFY(!fixture.client().isFileInstalled(entry, fixture.folder()));
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
}

void CheckFilesTest::findsADamagedFileAndReadsNoneBehindIt()
{
#ifdef Q_OS_LINUX
    InstallFixture fixture;
    for (int i = 1; i <= 9; ++i) {
        const QByteArray content = testfiles::textBytes(3000, static_cast<quint32>(i));
        fixture.tree().addFile(QString::number(i), content);
        testfiles::write(fixture.path(QString::number(i)), content);
    }
    QByteArray damaged = fixture.content(u"5"_s);
    damaged[1234] = '#';
    testfiles::write(fixture.path(u"5"_s), damaged);
    const OpenWatch before(fixture.path(u"4"_s));
    const OpenWatch fifth(fixture.path(u"5"_s));
    const OpenWatch after(fixture.path(u"6"_s));
    QVERIFY(fixture.client().hasMissingFiles(fixture.tree().package, fixture.folder()));
    QVERIFY(before.wasOpened());
    QVERIFY(fifth.wasOpened());
    QVERIFY(!after.wasOpened());
#else
    QSKIP("Only Linux tells here which files were opened");
#endif
}

VORNAK_TEST_MAIN(CheckFilesTest)
#include "tst_checkfiles.moc"
