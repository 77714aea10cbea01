#include "package/LauncherMetadata.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/FourVersions.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

class SwitchVersionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void switchesBackAndForth();
    void switchKeepsThePublicAddress();
    void switchDropsAssetsThatTheVersionLacks();
    void switchRefusesWhatIsNotThere();
    void switchRefusesAVersionThatWasNeverCurrent();
    void switchAsksWhichOfSeveralPackages();
    void switchesTheLauncherAlone();
    void switchFindsTheOnlyPlatformThatHasTheVersion();
    void switchesAllPlatformsInOneStep();
    void switchesNoPlatformWhenOneIsDamaged();
    void switchAsksWhichOfSeveralPlatforms();
    void switchRefusesADamagedVersion_data();
    void switchRefusesADamagedVersion();
    void switchListsSomeFaultsAndCountsTheRest();
    void switchRefusesAFileThatBecomesAFolder();

private:
    void publishFor(const QString& architecture, const QString& version);

    std::unique_ptr<FourVersions> m_fixture;
};

void SwitchVersionTest::init()
{
    m_fixture = std::make_unique<FourVersions>();
    QCOMPARE(m_fixture->fill(), QStringList());
}

void SwitchVersionTest::publishFor(const QString& architecture, const QString& version)
{
    PublishRequest request = m_fixture->request(version);
    request.platform = {u"windows"_s, architecture};
    QCOMPARE(m_fixture->run(request), QStringList());
}

void SwitchVersionTest::switchesBackAndForth()
{
    const Files before = m_fixture->served();
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"2"_s);
    QCOMPARE(m_fixture->verify(), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"4"_s}), QStringList());
    QCOMPARE(m_fixture->served(), before);
}

void SwitchVersionTest::switchKeepsThePublicAddress()
{
    PublishRequest request = m_fixture->request(u"5"_s);
    m_fixture->setInput(FourVersions::filesOf(5));
    request.publicUrl = u"https://cdn.example/game"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1"_s}), QStringList());
    const LauncherMetadata metadata =
        readLauncherMetadata(m_fixture->served().value(addresses::metadata), nullptr);
    QCOMPARE(metadata.packages.first().builds.first().url.toString(),
             u"https://cdn.example/game/launcher/packages/Quelra/1/windows-x86_64/package.json"_s);
}

void SwitchVersionTest::switchDropsAssetsThatTheVersionLacks()
{
    PublishRequest request = m_fixture->request(u"5"_s);
    m_fixture->setInput({{u"client"_s, "x"}, {u"assets/a"_s, "a"}});
    request.assets = u"assets"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
    const auto build = [this] {
        return readLauncherMetadata(m_fixture->served().value(addresses::metadata), nullptr)
            .packages.first()
            .builds.first();
    };
    QVERIFY(!build().assetsurl.isEmpty());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"4"_s}), QStringList());
    QVERIFY(build().assetsurl.isEmpty());
    QVERIFY(build().assetsversionurl.isEmpty());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"5"_s}), QStringList());
    QVERIFY(!build().assetsurl.isEmpty());
    QCOMPARE(m_fixture->verify(), QStringList());
}

void SwitchVersionTest::switchRefusesWhatIsNotThere()
{
    const Files before = m_fixture->served();
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"5"_s}).size(), 1);
    QCOMPARE(switchVersion({m_fixture->content(), Product{true, {}}, {}, u"1"_s}).size(), 1);
    QCOMPARE(switchVersion({m_fixture->content(), Product{false, u"Other"_s}, {}, u"1"_s}).size(),
             1);
    QCOMPARE(
        switchVersion({m_fixture->content(), {}, Platform{u"linux"_s, u"x86_64"_s}, u"1"_s}).size(),
        1);
    QCOMPARE(switchVersion({m_fixture->path(u"nowhere"_s), {}, {}, u"1"_s}).size(), 1);
    QCOMPARE(m_fixture->served(), before);
}

void SwitchVersionTest::switchRefusesAVersionThatWasNeverCurrent()
{
    writeFiles(m_fixture->content(),
               {{u"launcher/packages/Quelra/9/windows-x86_64/package.json"_s, "{}"}});
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"9"_s}).size(), 1);
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
}

void SwitchVersionTest::switchAsksWhichOfSeveralPackages()
{
    PublishRequest request = m_fixture->request(u"1"_s);
    request.product.directory = u"Other"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1"_s}).size(), 1);
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
    QCOMPARE(switchVersion({m_fixture->content(), Product{false, u"Quelra"_s}, {}, u"1"_s}),
             QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"1"_s);
}

void SwitchVersionTest::switchesTheLauncherAlone()
{
    for (const QString& version : {u"1"_s, u"2"_s})
        QCOMPARE(m_fixture->publishLauncher(version), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), Product{true, {}}, {}, u"1"_s}), QStringList());
    const LauncherMetadata metadata =
        readLauncherMetadata(m_fixture->served().value(addresses::metadata), nullptr);
    QVERIFY(metadata.launcherBuilds.first().url.path().startsWith(u"/launcher/self/1/"_s));
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
}

void SwitchVersionTest::switchFindsTheOnlyPlatformThatHasTheVersion()
{
    publishFor(u"arm64"_s, u"4"_s);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"3"_s}), QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"3"_s);
    QCOMPARE(m_fixture->verify(), QStringList());
    const Files served = m_fixture->served();
    QVERIFY(served.value(addresses::metadata)
                .contains("/launcher/packages/Quelra/4/windows-arm64/package.json"));
}

void SwitchVersionTest::switchesAllPlatformsInOneStep()
{
    publishFor(u"arm64"_s, u"4"_s);
    publishFor(u"arm64"_s, u"5"_s);
    publishFor(u"x86_64"_s, u"5"_s);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"4"_s}), QStringList());
    const QByteArray metadata = m_fixture->served().value(addresses::metadata);
    QVERIFY(metadata.contains("/launcher/packages/Quelra/4/windows-x86_64/package.json"));
    QVERIFY(metadata.contains("/launcher/packages/Quelra/4/windows-arm64/package.json"));
    QCOMPARE(m_fixture->verify(), QStringList());
}

void SwitchVersionTest::switchesNoPlatformWhenOneIsDamaged()
{
    publishFor(u"arm64"_s, u"4"_s);
    publishFor(u"arm64"_s, u"5"_s);
    publishFor(u"x86_64"_s, u"5"_s);
    const QString folder = m_fixture->content() + u"/launcher/packages/Quelra/4/windows-arm64/"_s;
    QVERIFY(QFile::remove(folder + u"package.json"_s));
    const Files before = m_fixture->served();
    QVERIFY(!switchVersion({m_fixture->content(), {}, {}, u"4"_s}).isEmpty());
    QCOMPARE(m_fixture->served(), before);
}

void SwitchVersionTest::switchAsksWhichOfSeveralPlatforms()
{
    publishFor(u"arm64"_s, u"4"_s);
    publishFor(u"x86"_s, u"5"_s);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"3"_s}), QStringList());
    const Files before = m_fixture->served();
    const QStringList faults = switchVersion({m_fixture->content(), {}, {}, u"4"_s});
    QCOMPARE(faults, QStringList(u"Quelra 4 has builds for windows x86_64, windows arm64 only; "
                                 "give one as --os and --architecture"_s));
    QCOMPARE(m_fixture->served(), before);
    QCOMPARE(switchVersion({m_fixture->content(), {}, Platform{u"windows"_s, u"x86_64"_s}, u"4"_s}),
             QStringList());
    QCOMPARE(m_fixture->currentVersion(), u"4"_s);
}

void SwitchVersionTest::switchRefusesADamagedVersion_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("fault");
    const QString command = u"; 'package --version 2 --stage' mends it"_s;
    QTest::newRow("no document") << u"package.json"_s << u"remove"_s << command;
    QTest::newRow("cut document") << u"package.json"_s << u"cut"_s << command;
    QTest::newRow("no version text") << u"version.txt"_s << u"remove"_s << command;
    QTest::newRow("other version text") << u"version.txt"_s << u"other"_s << command;
    QTest::newRow("no packed file") << QString() << u"remove"_s << command;
    QTest::newRow("cut packed file") << QString() << u"cut"_s << command;
    QTest::newRow("empty packed file") << QString() << u"empty"_s << command;
}

void SwitchVersionTest::switchRefusesADamagedVersion()
{
    QFETCH(QString, name);
    QFETCH(QString, way);
    QFETCH(QString, fault);
    const QString folder = u"/launcher/packages/Quelra/2/windows-x86_64/"_s;
    QString path = m_fixture->content() + folder + name;
    if (name.isEmpty()) {
        const OrlPackageDoc doc = parsePackageDoc(testfiles::read(path + u"package.json"_s));
        path = m_fixture->content() + addresses::packedFile(doc.files.first().packedhash);
    }
    const QByteArray good = testfiles::read(path);
    if (way == u"remove"_s)
        QVERIFY(QFile::remove(path));
    else
        testfiles::write(path, way == u"cut"_s     ? good.chopped(1)
                               : way == u"empty"_s ? QByteArray()
                                                   : QByteArray("7"));
    const Files before = m_fixture->served();
    const QStringList faults = switchVersion({m_fixture->content(), {}, {}, u"2"_s});
    QCOMPARE(faults.size(), 2);
    QVERIFY2(faults.first().contains(u"not made current"_s), qPrintable(faults.first()));
    QVERIFY2(faults.last().endsWith(fault), qPrintable(faults.last()));
    QCOMPARE(m_fixture->served(), before);
    testfiles::write(path, good);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}), QStringList());
}

void SwitchVersionTest::switchListsSomeFaultsAndCountsTheRest()
{
    Files files{{u"client"_s, "program"}};
    for (int i = 0; i < 30; ++i)
        files.insert(QString::number(i), "many " + QByteArray::number(i));
    QCOMPARE(m_fixture->publishFiles(u"5"_s, files), QStringList());
    QCOMPARE(m_fixture->publishFiles(u"6"_s, {{u"client"_s, "another"}}), QStringList());
    const Files before = m_fixture->served();
    for (auto file = before.begin(); file != before.end(); ++file) {
        if (file.key().endsWith(u".lzma"_s))
            QVERIFY(QFile::remove(m_fixture->content() + file.key()));
    }
    const QStringList faults = switchVersion({m_fixture->content(), {}, {}, u"5"_s});
    QCOMPARE(faults.size(), 12);
    QCOMPARE(faults.last(), u"and 21 more; 'verify --version 5' lists them all"_s);
}

// No publication makes such a change, but one of its versions may have come from elsewhere.
void SwitchVersionTest::switchRefusesAFileThatBecomesAFolder()
{
    QCOMPARE(m_fixture->publishFiles(u"5"_s, {{u"client"_s, "5"}, {u"free"_s, "5"}}),
             QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"4"_s}), QStringList());
    const QString path =
        m_fixture->content() + u"/launcher/packages/Quelra/5/windows-x86_64/package.json"_s;
    testfiles::write(path, testfiles::read(path).replace("\"free\"", "\"own/free\""));
    QVERIFY(QFile::remove(m_fixture->content() + u"/.publisher/written.sha256"_s));
    const Files before = m_fixture->served();
    const QStringList faults = switchVersion({m_fixture->content(), {}, {}, u"5"_s});
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().startsWith(u"own: a folder in version 5, but a file in version 4; "_s),
             qPrintable(faults.first()));
    QCOMPARE(m_fixture->served(), before);
}

VORNAK_TEST_MAIN(SwitchVersionTest)
#include "tst_switchversion.moc"
