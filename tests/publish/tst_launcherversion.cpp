#include "package/VersionMark.h"
#include "publish/LauncherVersion.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

/// A launcher that was offered as another version than it is, or that is of no version at all, is
/// out of reach of every later publication.
class LauncherVersionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void judgesPrograms_data();
    void judgesPrograms();
    void findsAMarkAcrossTheSlicesOfReading();
    void refusedLaunchersWriteNothing();
};

void LauncherVersionTest::judgesPrograms_data()
{
    QTest::addColumn<QByteArray>("program");
    QTest::addColumn<QString>("hint");
    QTest::newRow("its own") << launcherProgram(u"1.4"_s) << QString();
    QTest::newRow("another") << launcherProgram(u"1.3"_s) << u"version 1.3, not with 1.4"_s;
    QTest::newRow("dev") << launcherProgram(u"dev"_s) << u"version dev, which never"_s;
    QTest::newRow("none") << QByteArray("1.4 and dev") << u"carries no version"_s;
    QTest::newRow("empty") << QByteArray() << u"carries no version"_s;
    QTest::newRow("longer") << launcherProgram(u"1.40"_s) << u"version 1.40, not with 1.4"_s;
    QTest::newRow("shorter") << launcherProgram(u"1."_s) << u"version 1., not with 1.4"_s;
    // The text alone has no meaning: any program has short numbers somewhere.
    QTest::newRow("another, and the text")
        << launcherProgram(u"1.3"_s) + "1.4" << u"version 1.3, not with 1.4"_s;
    QTest::newRow("two") << launcherProgram(u"1.4"_s) + launcherProgram(u"1.5"_s)
                         << u"version 1.4 and 1.5, not"_s;
    QTest::newRow("dev as well") << launcherProgram(u"1.4"_s) + launcherProgram(u"dev"_s)
                                 << u"version dev, which never"_s;
    QTest::newRow("twice") << launcherProgram(u"1.4"_s) + launcherProgram(u"1.4"_s) << QString();
    QTest::newRow("no end") << QByteArray(VORNAK_VERSION_MARK "1.4") << u"carries no version"_s;
    QTest::newRow("end far away") << VORNAK_VERSION_MARK + QByteArray(5000, '1') +
                                         VORNAK_VERSION_MARK_END
                                  << u"carries no version"_s;
}

void LauncherVersionTest::judgesPrograms()
{
    QFETCH(QByteArray, program);
    QFETCH(QString, hint);
    const QTemporaryDir folder;
    testfiles::write(folder.filePath(u"program"_s), program);
    const QString fault = launcherVersionFault(folder.filePath(u"program"_s), u"1.4"_s);
    QCOMPARE(fault.isEmpty(), hint.isEmpty());
    QVERIFY2(fault.contains(hint), qPrintable(fault));
}

void LauncherVersionTest::findsAMarkAcrossTheSlicesOfReading()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"program"_s);
    const QByteArray mark = launcherProgram(u"1.4"_s);
    for (qsizetype before = 0x100000 - mark.size() - 1; before <= 0x100000 + 1; ++before) {
        testfiles::write(path, QByteArray(before, 'x') + mark + QByteArray(2000, 'x'));
        QCOMPARE(launcherVersionFault(path, u"1.4"_s), QString());
        QVERIFY(!launcherVersionFault(path, u"1.5"_s).isEmpty());
    }
}

void LauncherVersionTest::refusedLaunchersWriteNothing()
{
    PublishFixture fixture;
    PublishRequest request = fixture.request(u"1.4"_s);
    request.product = {true, {}};
    for (const QString& version : {u"dev"_s, u"1.3"_s}) {
        fixture.setInput({{u"client"_s, launcherProgram(version) + "1.4"}});
        const QStringList faults = fixture.run(request);
        QCOMPARE(faults.size(), 1);
        QVERIFY(faults.first().startsWith(u"client: this launcher"_s));
        QVERIFY(!QFileInfo::exists(fixture.content()));
    }
    fixture.setInput({{u"client"_s, launcherProgram(u"1.4"_s)}});
    QCOMPARE(fixture.run(request), QStringList());
}

VORNAK_TEST_MAIN(LauncherVersionTest)
#include "tst_launcherversion.moc"
