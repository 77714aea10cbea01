#include "client/RequestFiles.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

class RequestFilesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lieDirectlyInTheDataFolder();
    void removesEveryStaleRequestAndNothingElse();
    void removingNothingIsNoError();
    void takesARequestOnce();
    void aFolderIsNoRequest();
};

void RequestFilesTest::lieDirectlyInTheDataFolder()
{
    const RequestFiles files = RequestFiles::in(u"/data/Vornak"_s);
    QCOMPARE(files.restart, u"/data/Vornak/.restart"_s);
    QCOMPARE(files.show, u"/data/Vornak/.show-launcher"_s);
    QCOMPARE(files.ssoSwitch, u"/data/Vornak/.sso-switch"_s);
    QCOMPARE(RequestFiles::in(u"/data/Vornak/"_s).restart, files.restart);
}

void RequestFilesTest::removesEveryStaleRequestAndNothingElse()
{
    QTemporaryDir folder;
    const RequestFiles files = RequestFiles::in(folder.path());
    for (const QString& path : {files.restart, files.show, files.ssoSwitch})
        testfiles::write(path, "from an earlier run");
    testfiles::write(folder.filePath(u".restarted"_s), "other");
    files.removeAll();
    QCOMPARE(testfiles::list(folder.path()), QStringList{u".restarted"_s});
}

void RequestFilesTest::removingNothingIsNoError()
{
    QTemporaryDir folder;
    const RequestFiles files = RequestFiles::in(folder.path());
    testfiles::write(files.ssoSwitch, {});
    files.removeAll();
    files.removeAll();
    QVERIFY(testfiles::list(folder.path()).isEmpty());
}

void RequestFilesTest::takesARequestOnce()
{
    QTemporaryDir folder;
    const QString path = RequestFiles::in(folder.path()).show;
    QVERIFY(!takeRequest(path));
    testfiles::write(path, {});
    QVERIFY(takeRequest(path));
    QVERIFY(!QFile::exists(path));
    QVERIFY(!takeRequest(path));
    testfiles::write(path, "its content does not matter");
    QVERIFY(takeRequest(path));
}

void RequestFilesTest::aFolderIsNoRequest()
{
    QTemporaryDir folder;
    const QString path = RequestFiles::in(folder.path()).restart;
    QVERIFY(QDir().mkpath(path));
    QVERIFY(!takeRequest(path));
    QVERIFY(QFile::exists(path));
}

VORNAK_TEST_MAIN(RequestFilesTest)
#include "tst_requestfiles.moc"
