#include "package/LauncherMetadata.h"
#include "publish/Addresses.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/FolderSource.h"
#include "publish/HintsPublication.h"
#include "publish/Inventory.h"
#include "publish/Prune.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

const QString betaMetadata = u"/beta/launcher/quelrametadata.json"_s;

Files filesOf(int version)
{
    return {{u"client"_s, "program"}, {u"own"_s, "own " + QByteArray::number(version)}};
}

// Folder of the version that the document makes current; empty when there is none.
QString currentIn(const Files& served, const QString& address)
{
    const LauncherMetadata metadata = readLauncherMetadata(served.value(address), nullptr);
    if (metadata.packages.isEmpty() || metadata.packages.first().builds.isEmpty())
        return {};
    return metadata.packages.first().builds.first().url.toString();
}

} // namespace

/// Versions that are published and not current for everybody.
class ChannelsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void namesAreChecked_data();
    void namesAreChecked();
    void stagingChangesNothingForPlayers();
    void stagedVersionCanBecomeCurrent();
    void firstVersionCanBeStaged();
    void stagedPlatformCanBecomeCurrent();
    void stagingTakesNoNewLabels();
    void stagedLauncherCanBecomeCurrent();
    void channelGetsAVersionOfItsOwn();
    void channelBeginsAsACopyOfWhatIsCurrent();
    void channelSharesDocumentsAndPackedFiles();
    void channelOverridesThePublicAddress();
    void channelVersionBecomesCurrentForAll();
    void channelIsSwitchedAlone();
    void switchMakesAChannel();
    void pruneKeepsWhatChannelsName();
    void pruneRemovesNothingWhenAChannelIsDamaged();
    void listTellsTheChannels();
    void channelHasHintsOfItsOwn();
    void verificationReadsTheChannel();

private:
    QStringList publishTo(const QString& channel, const QString& version, int files);
    QStringList stage(const QString& version, int files);
    QStringList verifyChannel(const QString& channel);

    std::unique_ptr<PublishFixture> m_fixture;
};

void ChannelsTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    QCOMPARE(m_fixture->publishFiles(u"1"_s, filesOf(1)), QStringList());
}

QStringList ChannelsTest::publishTo(const QString& channel, const QString& version, int files)
{
    m_fixture->setInput(filesOf(files));
    PublishRequest request = m_fixture->request(version);
    request.channel = channel;
    return m_fixture->run(request);
}

QStringList ChannelsTest::stage(const QString& version, int files)
{
    m_fixture->setInput(filesOf(files));
    PublishRequest request = m_fixture->request(version);
    request.stage = true;
    return m_fixture->run(request);
}

QStringList ChannelsTest::verifyChannel(const QString& channel)
{
    const auto source = std::make_unique<FolderSource>(m_fixture->content(), channel);
    VerifyReport report;
    return verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, report);
}

void ChannelsTest::namesAreChecked_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("fits");
    const auto row = [](const char* name, bool fits) {
        QTest::newRow(name) << QString::fromLatin1(name) << fits;
    };
    row("beta", true);
    row("b", true);
    row("beta-2", true);
    row("", false);
    row("Beta", false);
    row("2", false);
    row("..", false);
    row("a/b", false);
    row("be ta", false);
    row("launcher", false);
    row("images", false);
    row("aux", false);
    row(".publisher", false);
    row("abcdefghijabcdefghijabcdefghijabc", false);
}

void ChannelsTest::namesAreChecked()
{
    QFETCH(QString, name);
    QFETCH(bool, fits);
    QCOMPARE(channels::nameFault(name).isEmpty(), fits);
}

void ChannelsTest::stagingChangesNothingForPlayers()
{
    const Files before = m_fixture->served();
    QCOMPARE(stage(u"2"_s, 2), QStringList());
    const Files after = m_fixture->served();
    QCOMPARE(readLauncherMetadata(after.value(addresses::metadata), nullptr),
             readLauncherMetadata(before.value(addresses::metadata), nullptr));
    QVERIFY(after.contains(u"/launcher/packages/Quelra/2/windows-x86_64/package.json"_s));
    QCOMPARE(verifyChannel({}), QStringList());
}

void ChannelsTest::stagedVersionCanBecomeCurrent()
{
    QCOMPARE(stage(u"2"_s, 2), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s, {}}), QStringList());
    PublishFixture direct;
    QCOMPARE(direct.publishFiles(u"1"_s, filesOf(1)), QStringList());
    QCOMPARE(direct.publishFiles(u"2"_s, filesOf(2)), QStringList());
    QCOMPARE(m_fixture->served(), direct.served());
}

void ChannelsTest::firstVersionCanBeStaged()
{
    m_fixture = std::make_unique<PublishFixture>();
    QCOMPARE(stage(u"1"_s, 1), QStringList());
    QCOMPARE(currentIn(m_fixture->served(), addresses::metadata), QString());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"9"_s, {}}).size(), 1);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1"_s, {}}), QStringList());
    QCOMPARE(verifyChannel({}), QStringList());
    // A second package that waits is no fault of the first one.
    m_fixture->setInput(filesOf(1));
    PublishRequest request = m_fixture->request(u"1"_s);
    request.product.directory = u"Other"_s;
    request.stage = true;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(verifyChannel({}), QStringList());
}

void ChannelsTest::stagedPlatformCanBecomeCurrent()
{
    PublishRequest request = m_fixture->request(u"1"_s);
    request.platform = {u"windows"_s, u"arm64;x86"_s};
    request.stage = true;
    QCOMPARE(m_fixture->run(request), QStringList());
    const auto builds = [this] {
        return readLauncherMetadata(m_fixture->served().value(addresses::metadata), nullptr)
            .packages.first()
            .builds.size();
    };
    QCOMPARE(builds(), 1);
    QCOMPARE(switchVersion({m_fixture->content(), {}, request.platform, u"1"_s, {}}),
             QStringList());
    QCOMPARE(builds(), 2);
    QCOMPARE(verifyChannel({}), QStringList());
}

void ChannelsTest::stagingTakesNoNewLabels()
{
    m_fixture->setInput(filesOf(2));
    PublishRequest request = m_fixture->request(u"2"_s);
    request.stage = true;
    request.labels.name = u"Another"_s;
    const Files before = m_fixture->served();
    QCOMPARE(m_fixture->run(request).size(), 1);
    QCOMPARE(m_fixture->served(), before);
}

void ChannelsTest::stagedLauncherCanBecomeCurrent()
{
    m_fixture->setInput({{u"client"_s, launcherProgram(u"1.4"_s)}});
    PublishRequest request = m_fixture->request(u"1.4"_s);
    request.product = {true, {}};
    request.stage = true;
    QCOMPARE(m_fixture->run(request), QStringList());
    const auto builds = [this] {
        return readLauncherMetadata(m_fixture->served().value(addresses::metadata), nullptr)
            .launcherBuilds.size();
    };
    QCOMPARE(builds(), 0);
    QCOMPARE(switchVersion({m_fixture->content(), request.product, {}, u"1.4"_s, {}}),
             QStringList());
    QCOMPARE(builds(), 1);
}

void ChannelsTest::channelGetsAVersionOfItsOwn()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    const Files served = m_fixture->served();
    QCOMPARE(currentIn(served, addresses::metadata),
             u"/launcher/packages/Quelra/1/windows-x86_64/package.json"_s);
    QCOMPARE(currentIn(served, betaMetadata),
             u"launcher/packages/Quelra/2/windows-x86_64/package.json"_s);
    QCOMPARE(verifyChannel({}), QStringList());
    QCOMPARE(verifyChannel(u"beta"_s), QStringList());
}

void ChannelsTest::channelBeginsAsACopyOfWhatIsCurrent()
{
    m_fixture->setInput({{u"client"_s, launcherProgram(u"1.4"_s)}});
    PublishRequest request = m_fixture->request(u"1.4"_s);
    request.product = {true, {}};
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    LauncherMetadata metadata =
        readLauncherMetadata(m_fixture->served().value(betaMetadata), nullptr);
    QCOMPARE(metadata.launcherBuilds.first().url.toString(),
             u"launcher/self/1.4/windows-x86_64/package.json"_s);
    QCOMPARE(metadata.packages.first().name, u"Quelra"_s);
    // From then on it goes its own way.
    m_fixture->setInput(filesOf(3));
    PublishRequest next = m_fixture->request(u"3"_s);
    next.labels.name = u"The Game"_s;
    QCOMPARE(m_fixture->run(next), QStringList());
    metadata = readLauncherMetadata(m_fixture->served().value(betaMetadata), nullptr);
    QCOMPARE(metadata.packages.first().name, u"Quelra"_s);
    QCOMPARE(currentIn(m_fixture->served(), betaMetadata),
             u"launcher/packages/Quelra/2/windows-x86_64/package.json"_s);
}

void ChannelsTest::channelSharesDocumentsAndPackedFiles()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    QCOMPARE(m_fixture->report.packed, 1);
    QCOMPARE(m_fixture->report.comparedWith, u"1"_s);
    for (const QString& path : m_fixture->served().keys())
        QVERIFY2(!path.startsWith(u"/beta/"_s) || path == betaMetadata, qPrintable(path));
    // The same version for all is there already.
    QCOMPARE(publishTo({}, u"2"_s, 2), QStringList());
    QVERIFY(m_fixture->report.unchanged);
}

void ChannelsTest::channelOverridesThePublicAddress()
{
    PublishRequest request = m_fixture->request(u"2"_s);
    request.publicUrl = u"https://cdn.example/game"_s;
    m_fixture->setInput(filesOf(2));
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(publishTo(u"beta"_s, u"3"_s, 3), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s, u"beta"_s}), QStringList());
    QCOMPARE(currentIn(m_fixture->served(), betaMetadata),
             u"launcher/packages/Quelra/2/windows-x86_64/package.json"_s);
    QCOMPARE(verifyChannel(u"beta"_s), QStringList());
}

void ChannelsTest::channelVersionBecomesCurrentForAll()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s, {}}), QStringList());
    QCOMPARE(currentIn(m_fixture->served(), addresses::metadata),
             u"/launcher/packages/Quelra/2/windows-x86_64/package.json"_s);
    QCOMPARE(verifyChannel({}), QStringList());
}

void ChannelsTest::channelIsSwitchedAlone()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    const QByteArray normal = m_fixture->served().value(addresses::metadata);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1"_s, u"beta"_s}), QStringList());
    QCOMPARE(currentIn(m_fixture->served(), betaMetadata),
             u"launcher/packages/Quelra/1/windows-x86_64/package.json"_s);
    QCOMPARE(m_fixture->served().value(addresses::metadata), normal);
}

void ChannelsTest::switchMakesAChannel()
{
    QCOMPARE(stage(u"2"_s, 2), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"9"_s, u"beta"_s}).size(), 1);
    QVERIFY(!m_fixture->served().contains(betaMetadata));
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s, u"beta"_s}), QStringList());
    QCOMPARE(currentIn(m_fixture->served(), betaMetadata),
             u"launcher/packages/Quelra/2/windows-x86_64/package.json"_s);
    QCOMPARE(verifyChannel(u"beta"_s), QStringList());
    // A package that came later than the channel.
    m_fixture->setInput(filesOf(1));
    PublishRequest request = m_fixture->request(u"7"_s);
    request.product.directory = u"Other"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(switchVersion({m_fixture->content(), request.product, {}, u"7"_s, u"beta"_s}),
             QStringList());
    QCOMPARE(readLauncherMetadata(m_fixture->served().value(betaMetadata), nullptr)
                 .packages.last()
                 .directoryname,
             u"Other"_s);
    QCOMPARE(verifyChannel(u"beta"_s), QStringList());
}

void ChannelsTest::pruneKeepsWhatChannelsName()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    QCOMPARE(publishTo({}, u"3"_s, 3), QStringList());
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report),
             QStringList());
    QCOMPARE(report.removedVersions, QStringList(u"Quelra 1"_s));
    QCOMPARE(verifyChannel({}), QStringList());
    QCOMPARE(verifyChannel(u"beta"_s), QStringList());
}

void ChannelsTest::pruneRemovesNothingWhenAChannelIsDamaged()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    writeFiles(m_fixture->content(), {{betaMetadata.sliced(1), "{"}});
    const Files before = m_fixture->served();
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report).size(), 1);
    QCOMPARE(m_fixture->served(), before);
}

void ChannelsTest::listTellsTheChannels()
{
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    QCOMPARE(publishTo(u"alpha"_s, u"2"_s, 2), QStringList());
    Inventory inventory;
    QCOMPARE(takeInventory(m_fixture->content(), m_fixture->progress, inventory), QStringList());
    const QList<ListedVersion> versions = inventory.products.first().versions;
    QVERIFY(versions.at(0).builds.first().isCurrent);
    QCOMPARE(versions.at(0).builds.first().channels, QStringList());
    QVERIFY(!versions.at(1).builds.first().isCurrent);
    QCOMPARE(versions.at(1).builds.first().channels, (QStringList{u"alpha"_s, u"beta"_s}));
    QCOMPARE(inventory.pruning.first().files, 0);
}

void ChannelsTest::channelHasHintsOfItsOwn()
{
    const QByteArray picture = "\x89PNG\r\n\x1a\n and more";
    testfiles::write(m_fixture->path(u"pictures/a.png"_s), picture);
    const QString file = m_fixture->path(u"hints.json"_s);
    testfiles::write(file, R"(["<img src=\"/images/a.png\">"])");
    HintsReport report;
    QCOMPARE(publishHints(file, m_fixture->content(), m_fixture->path(u"pictures"_s), {}, report),
             QStringList());
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    LauncherMetadata metadata =
        readLauncherMetadata(m_fixture->served().value(betaMetadata), nullptr);
    QCOMPARE(metadata.hints, QUrl());
    // The picture is taken over, since launchers look for it below their own base address.
    QCOMPARE(publishHints(file, m_fixture->content(), {}, {}, report, u"beta"_s), QStringList());
    const Files served = m_fixture->served();
    QCOMPARE(served.value(u"/beta/images/a.png"_s), picture);
    QCOMPARE(served.value(u"/beta/hints.json"_s), testfiles::read(file));
    metadata = readLauncherMetadata(served.value(betaMetadata), nullptr);
    QCOMPARE(metadata.hints.toString(), u"beta/hints.json"_s);
    QCOMPARE(verifyChannel(u"beta"_s), QStringList());
    QFile::remove(m_fixture->content() + u"/beta/images/a.png"_s);
    QCOMPARE(verifyChannel(u"beta"_s).size(), 1);
    QCOMPARE(verifyChannel({}), QStringList());
}

void ChannelsTest::verificationReadsTheChannel()
{
    QCOMPARE(verifyChannel(u"beta"_s).size(), 1);
    QCOMPARE(publishTo(u"beta"_s, u"2"_s, 2), QStringList());
    QFile::remove(m_fixture->content() +
                  u"/launcher/packages/Quelra/2/windows-x86_64/version.txt"_s);
    QCOMPARE(verifyChannel({}), QStringList());
    QCOMPARE(verifyChannel(u"beta"_s).size(), 1);
}

VORNAK_TEST_MAIN(ChannelsTest)
#include "tst_channels.moc"
