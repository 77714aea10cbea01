#include "package/LauncherMetadata.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/FolderSource.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/Prune.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/RemoveBuilds.h"
#include "publish/SwitchVersion.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

const Platform right{u"windows"_s, u"x86_64"_s};
const Platform mistyped{u"windws"_s, u"x86_64"_s};
const QString folder1 = u"/launcher/packages/Quelra/1/windows-x86_64/"_s;
const QString mistypedFolder2 = u"/launcher/packages/Quelra/2/windws-x86_64/"_s;

LauncherMetadata metadata(const PublishFixture& fixture, const QString& channel = {})
{
    const QString address =
        (channel.isEmpty() ? QString() : u'/' + channel) + QString(addresses::metadata);
    return readLauncherMetadata(fixture.served().value(address), nullptr);
}

QStringList packedFiles(const PublishFixture& fixture)
{
    QStringList files = fixture.served().keys();
    files.removeIf([](const QString& path) { return !path.startsWith(addresses::packedFiles); });
    return files;
}

qsizetype documents(const PublishFixture& fixture, const QString& folder)
{
    const QStringList files = fixture.served().keys();
    return std::count_if(files.begin(), files.end(),
                         [&folder](const QString& path) { return path.startsWith(folder); });
}

} // namespace

class RemoveTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void takesAMistypedBuildAway();
    void leavesOtherBuildsOfTheVersion();
    void takesAWholePackageAway();
    void takesTheLauncherAway();
    void takesItFromChannelsToo();
    void refusesWhatIsNotThere();
    void dryRunWritesNothing();
    void renewsTheAssetsOfWhatLaunchersTakeInstead();
    void endsWhatWasInterrupted();
    void whatWasRemovedIsNotPublishedAgain();
    void tellsWhatChangesForLaunchers();

private:
    QStringList publish(const QString& version, const Platform& platform, const Files& files,
                        const QString& directory = u"Quelra"_s, const QString& channel = {});
    QStringList remove(const std::optional<Platform>& platform, const Product& product,
                       bool dryRun = false);
    QStringList verify();

    std::unique_ptr<PublishFixture> m_fixture;
    RemoveReport m_report;
    const Product m_quelra{false, u"Quelra"_s};
};

void RemoveTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    QCOMPARE(publish(u"1"_s, right, {{u"client"_s, "1"}, {u"same"_s, "same"}}), QStringList());
}

QStringList RemoveTest::publish(const QString& version, const Platform& platform,
                                const Files& files, const QString& directory,
                                const QString& channel)
{
    m_fixture->setInput(files);
    PublishRequest request = m_fixture->request(version);
    request.platform = platform;
    request.product.directory = directory;
    request.channel = channel;
    if (std::any_of(files.keyBegin(), files.keyEnd(),
                    [](const QString& path) { return path.startsWith(u"assets/"); }))
        request.assets = u"assets"_s;
    const QStringList faults = m_fixture->run(request);
    m_fixture->progress.warnings.clear();
    return faults;
}

QStringList RemoveTest::remove(const std::optional<Platform>& platform, const Product& product,
                               bool dryRun)
{
    m_report = {};
    return removeBuilds({m_fixture->content(), product, platform, dryRun}, m_fixture->progress,
                        m_report);
}

QStringList RemoveTest::verify()
{
    const auto source = std::make_unique<FolderSource>(m_fixture->content());
    VerifyReport report;
    return verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, report);
}

void RemoveTest::takesAMistypedBuildAway()
{
    const QStringList packed = packedFiles(*m_fixture);
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "2"}, {u"same"_s, "same"}}), QStringList());
    QCOMPARE(remove(mistyped, m_quelra), QStringList());
    QCOMPARE(m_report.removedBuilds, QStringList(u"2 windws-x86_64"_s));
    QCOMPARE(m_fixture->progress.warnings, QStringList());
    QCOMPARE(metadata(*m_fixture).packages.first().builds.size(), 1);
    QCOMPARE(documents(*m_fixture, addresses::packages), 2);
    QVERIFY(!QDir(m_fixture->content() + u"/launcher/packages/Quelra/2"_s).exists());
    QCOMPARE(verify(), QStringList());
    // What launchers may be reading stays until it is pruned, and what others have stays then.
    QCOMPARE(packedFiles(*m_fixture).size(), packed.size() + 1);
    PruneReport pruned;
    QCOMPARE(pruneVersions(m_fixture->content(), 9, false, m_fixture->progress, pruned),
             QStringList());
    QCOMPARE(packedFiles(*m_fixture), packed);
    QCOMPARE(pruned.keptVersions, QStringList(u"Quelra 1"_s));
    QCOMPARE(publish(u"2"_s, right, {{u"client"_s, "2"}}), QStringList());
    QCOMPARE(verify(), QStringList());
}

void RemoveTest::leavesOtherBuildsOfTheVersion()
{
    QCOMPARE(publish(u"1"_s, mistyped, {{u"client"_s, "2"}}), QStringList());
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "3"}}), QStringList());
    QCOMPARE(remove(mistyped, m_quelra), QStringList());
    QCOMPARE(m_report.removedBuilds, QStringList({u"1 windws-x86_64"_s, u"2 windws-x86_64"_s}));
    QCOMPARE(documents(*m_fixture, folder1), 2);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1"_s}), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}).size(), 1);
    QCOMPARE(verify(), QStringList());
}

void RemoveTest::takesAWholePackageAway()
{
    const Files before = m_fixture->served();
    QCOMPARE(publish(u"1"_s, right, {{u"client"_s, "other"}, {u"same"_s, "same"}}, u"Other"_s),
             QStringList());
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "other"}}, u"Other"_s), QStringList());
    QCOMPARE(remove({}, {false, u"Other"_s}), QStringList());
    QCOMPARE(m_report.removedBuilds, QStringList({u"1 windows-x86_64"_s, u"2 windws-x86_64"_s}));
    QVERIFY(!QDir(m_fixture->content() + u"/launcher/packages/Other"_s).exists());
    QCOMPARE(m_fixture->served().value(addresses::metadata), before.value(addresses::metadata));
    QCOMPARE(verify(), QStringList());
    QCOMPARE(remove({}, m_quelra), QStringList());
    QCOMPARE(metadata(*m_fixture).packages.size(), 0);
    QCOMPARE(documents(*m_fixture, addresses::packages), 0);
}

void RemoveTest::takesTheLauncherAway()
{
    m_fixture->setInput({{u"client"_s, launcherProgram(u"1"_s)}});
    PublishRequest request = m_fixture->request(u"1"_s);
    request.product = {true, {}};
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(remove(right, {true, {}}), QStringList());
    QCOMPARE(metadata(*m_fixture).launcherBuilds.size(), 0);
    QCOMPARE(metadata(*m_fixture).packages.size(), 1);
    QCOMPARE(documents(*m_fixture, addresses::ownBuilds), 0);
    QCOMPARE(remove(right, {true, {}}), QStringList(u"nothing was published of the launcher"_s));
}

void RemoveTest::takesItFromChannelsToo()
{
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "2"}}, u"Quelra"_s, u"beta"_s),
             QStringList());
    QCOMPARE(metadata(*m_fixture, u"beta"_s).packages.first().builds.size(), 2);
    QCOMPARE(remove(mistyped, m_quelra), QStringList());
    QCOMPARE(metadata(*m_fixture, u"beta"_s).packages.first().builds.size(), 1);
    QVERIFY(!m_fixture->served().value(addresses::metadata).contains("windws"));
    const auto source = std::make_unique<FolderSource>(m_fixture->content(), u"beta"_s);
    VerifyReport report;
    QCOMPARE(verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, report),
             QStringList());
    QCOMPARE(remove({}, m_quelra), QStringList());
    QCOMPARE(metadata(*m_fixture, u"beta"_s).packages.size(), 0);
}

void RemoveTest::refusesWhatIsNotThere()
{
    const Files before = m_fixture->served();
    QCOMPARE(remove(mistyped, m_quelra),
             QStringList(u"Quelra has no build for windws x86_64; there are: windows x86_64"_s));
    QCOMPARE(remove({}, {false, u"quelra"_s}), QStringList(u"nothing was published of quelra"_s));
    QCOMPARE(remove(right, {false, u"Other"_s}), QStringList(u"nothing was published of Other"_s));
    QCOMPARE(remove({}, {true, {}}), QStringList(u"nothing was published of the launcher"_s));
    QCOMPARE(m_fixture->served(), before);
    QVERIFY(QDir(m_fixture->content()).removeRecursively());
    QCOMPARE(remove({}, m_quelra),
             QStringList(m_fixture->content() + u": nothing is published here"_s));
    QVERIFY(!QDir(m_fixture->content()).exists());
}

void RemoveTest::dryRunWritesNothing()
{
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "2"}}), QStringList());
    QVERIFY(QDir(m_fixture->content() + u"/.publisher"_s).removeRecursively());
    const Files before = m_fixture->served();
    QCOMPARE(remove(mistyped, m_quelra, true), QStringList());
    QCOMPARE(m_report.removedBuilds, QStringList(u"2 windws-x86_64"_s));
    QCOMPARE(remove({}, m_quelra, true), QStringList());
    QCOMPARE(m_report.removedBuilds.size(), 2);
    QCOMPARE(m_fixture->served(), before);
    QVERIFY(!QDir(m_fixture->content() + u"/.publisher"_s).exists());
}

// A player who is interrupted within the update to the build that goes has files of both sets, and
// the record of the set before.
void RemoveTest::renewsTheAssetsOfWhatLaunchersTakeInstead()
{
    const Platform fallback{u"windows"_s, u"x86"_s};
    const Platform exact{u"windows"_s, u"arm64;x86_64"_s};
    const Platform elsewhere{u"linux"_s, u"x86_64"_s};
    m_fixture = std::make_unique<PublishFixture>();
    for (const Platform& platform : {fallback, elsewhere})
        QCOMPARE(publish(u"1"_s, platform, {{u"client"_s, "1"}, {u"assets/a"_s, "A"}}),
                 QStringList());
    const auto identity = [this](qsizetype build) {
        return m_fixture->served().value(
            metadata(*m_fixture).packages.first().builds.at(build).assetsversionurl.path());
    };
    const QByteArray first = identity(0);
    const QByteArray other = identity(1);
    QCOMPARE(publish(u"2"_s, exact, {{u"client"_s, "2"}, {u"assets/a"_s, "B"}}), QStringList());
    QCOMPARE(identity(0), first);
    QCOMPARE(remove(exact, m_quelra), QStringList());
    QVERIFY(!identity(0).isEmpty());
    QVERIFY(identity(0) != first);
    QCOMPARE(identity(0).first(64), first.first(64));
    QCOMPARE(identity(1), other);
    QCOMPARE(verify(), QStringList());
}

void RemoveTest::endsWhatWasInterrupted()
{
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "2"}}), QStringList());
    const QByteArray document =
        m_fixture->served().value(mistypedFolder2 + addresses::packageDocument);
    QCOMPARE(remove(mistyped, m_quelra), QStringList());
    // Killed before the folder went.
    testfiles::write(m_fixture->content() + mistypedFolder2 + addresses::packageDocument, document);
    QCOMPARE(remove(mistyped, m_quelra), QStringList());
    QCOMPARE(documents(*m_fixture, mistypedFolder2), 0);
    QCOMPARE(remove(mistyped, m_quelra).size(), 1);
    QCOMPARE(verify(), QStringList());
}

void RemoveTest::whatWasRemovedIsNotPublishedAgain()
{
    QCOMPARE(publish(u"2"_s, mistyped, {{u"client"_s, "2"}}), QStringList());
    QCOMPARE(remove(mistyped, m_quelra), QStringList());
    const QStringList faults = publish(u"2"_s, mistyped, {{u"client"_s, "3"}});
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().startsWith(u"version 2 of Quelra was removed on "_s),
             qPrintable(faults.first()));
}

void RemoveTest::tellsWhatChangesForLaunchers()
{
    const Platform fallback{u"windows"_s, u"x86"_s};
    QCOMPARE(publish(u"1"_s, fallback, {{u"client"_s, "1"}}), QStringList());
    QCOMPARE(remove(right, m_quelra, true), QStringList());
    QCOMPARE(
        m_fixture->progress.warnings,
        QStringList(u"launchers took the build of Quelra for 'windows' 'x86_64'; they now take "
                    "the one for 'windows' 'x86'"_s));
    m_fixture->progress.warnings.clear();
    QCOMPARE(remove({}, m_quelra), QStringList());
    QCOMPARE(
        m_fixture->progress.warnings,
        QStringList(u"launchers took the build of Quelra for 'windows' 'x86_64'; they now find "
                    "none"_s));
}

VORNAK_TEST_MAIN(RemoveTest)
#include "tst_remove.moc"
