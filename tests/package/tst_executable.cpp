#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

quint32 modeOf(const QString& path)
{
    struct stat info
    {
    };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? info.st_mode & 0777 : 0;
}

} // namespace

/// The permission to be executed, which Windows does not have.
class ExecutableTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void makesOnlyTheNamedExecutableRunnable_data() { InstallFixture::addForms(); }
    void makesOnlyTheNamedExecutableRunnable();
    void executableOutsideTheFolderIsLeftAlone_data() { InstallFixture::addForms(); }
    void executableOutsideTheFolderIsLeftAlone();
    void makeExecutableAddsExactlyThreeBits();
};

void ExecutableTest::makesOnlyTheNamedExecutableRunnable()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().package.executable = u"bin/run"_s;
    fixture.tree().addFile(u"bin/run"_s, "program");
    fixture.tree().addFile(u"bin/data"_s, "data");
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(modeOf(fixture.path(u"bin/run"_s)) & 0111, 0111U);
    QCOMPARE(modeOf(fixture.path(u"bin/data"_s)) & 0111, 0U);
    fixture.tree().package.executable.clear();
    QFile::setPermissions(fixture.path(u"bin/run"_s), QFile::ReadOwner | QFile::WriteOwner);
    VERIFY_SUCCESS(fixture.installPackage(form));
    QCOMPARE(modeOf(fixture.path(u"bin/run"_s)), 0600U);
}

void ExecutableTest::executableOutsideTheFolderIsLeftAlone()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QString outside = QDir::cleanPath(fixture.path(u"../outside"_s));
    testfiles::write(outside, "theirs");
    QFile::setPermissions(outside, QFile::ReadOwner | QFile::WriteOwner);
    for (const QString& executable : {u"../outside"_s, outside}) {
        fixture.tree().package.executable = executable;
        VERIFY_SUCCESS(fixture.installPackage(form));
        QCOMPARE(modeOf(outside), 0600U);
    }
}

void ExecutableTest::makeExecutableAddsExactlyThreeBits()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(u"a"_s);
    testfiles::write(path, "x");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    PackageClient::makeExecutable(path);
    QCOMPARE(modeOf(path), 0751U);
    PackageClient::makeExecutable(folder.filePath(u"none"_s));
    QCOMPARE(testfiles::list(folder.path()), QStringList{u"a"_s});
}

VORNAK_TEST_MAIN(ExecutableTest)
#include "tst_executable.moc"
