#include "publish/Inventory.h"
#include "publish/Prune.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

// Every version has a file of its own and shares one with its neighbour.
Files filesOf(quint32 version)
{
    return {{u"client"_s, "program"},
            {u"own"_s, testfiles::randomBytes(1000 * qsizetype(version), version)},
            {u"old"_s, testfiles::randomBytes(300, 100 + version)},
            {u"next"_s, testfiles::randomBytes(300, 101 + version)}};
}

QStringList currentOnes(const Inventory& inventory)
{
    QStringList found;
    for (const ListedProduct& listed : inventory.products) {
        for (const ListedVersion& version : listed.versions) {
            for (const ListedBuild& build : version.builds) {
                if (build.isCurrent)
                    found.append(listed.product.label() + u' ' + version.version + u' ' +
                                 build.platform);
            }
        }
    }
    return found;
}

} // namespace

class InventoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void listsVersionsInTheOrderOfPublication();
    void tellsWhatIsCurrent();
    void measuresABuild();
    void countsWhatNoOtherVersionNames();
    void foretellsWhatPruningFrees_data();
    void foretellsWhatPruningFrees();
    void listsAContentThatCannotBeWritten();
    void warnsOfADamagedDocument();
    void refusesAFolderWithoutContent();

private:
    Inventory take();

    std::unique_ptr<PublishFixture> m_fixture;
};

void InventoryTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    for (quint32 version = 1; version <= 4; ++version)
        QCOMPARE(m_fixture->publishFiles(QString::number(version), filesOf(version)),
                 QStringList());
}

Inventory InventoryTest::take()
{
    Inventory inventory;
    const QStringList faults = takeInventory(m_fixture->content(), m_fixture->progress, inventory);
    return faults.isEmpty() ? inventory : Inventory();
}

void InventoryTest::listsVersionsInTheOrderOfPublication()
{
    const Inventory inventory = take();
    QCOMPARE(inventory.products.size(), 1);
    QCOMPARE(inventory.products.first().product.label(), u"Quelra"_s);
    QStringList versions;
    for (const ListedVersion& version : inventory.products.first().versions)
        versions.append(version.version);
    QCOMPARE(versions, (QStringList{u"1"_s, u"2"_s, u"3"_s, u"4"_s}));
}

void InventoryTest::tellsWhatIsCurrent()
{
    QCOMPARE(currentOnes(take()), QStringList(u"Quelra 4 windows x86_64"_s));
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"2"_s}), QStringList());
    m_fixture->setInput({{u"client"_s, launcherProgram(u"1.0"_s)}});
    PublishRequest request = m_fixture->request(u"1.0"_s);
    request.product = {true, {}};
    request.publicUrl = u"https://cdn.example/game"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(currentOnes(take()),
             (QStringList{u"Quelra 2 windows x86_64"_s, u"the launcher 1.0 windows x86_64"_s}));
}

void InventoryTest::measuresABuild()
{
    PublishRequest request = m_fixture->request(u"5"_s);
    m_fixture->setInput({{u"client"_s, "1234"}, {u"assets/a"_s, "123456"}});
    request.assets = u"assets"_s;
    const QDateTime before = QDateTime::currentDateTime();
    QCOMPARE(m_fixture->run(request), QStringList());
    const Inventory inventory = take();
    const ListedBuild build = inventory.products.first().versions.last().builds.first();
    QCOMPARE(build.files, 2);
    QCOMPARE(build.unpackedBytes, 10);
    QCOMPARE(build.packedBytes, m_fixture->report.addedBytes);
    QVERIFY(build.published.secsTo(before) <= 1);
    QVERIFY(build.published.secsTo(QDateTime::currentDateTime()) >= 0);
}

void InventoryTest::countsWhatNoOtherVersionNames()
{
    const Inventory inventory = take();
    const QList<ListedVersion> versions = inventory.products.first().versions;
    // The first one's "old" and the last one's "next" have no second user.
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 2, true, m_fixture->progress, report),
             QStringList());
    QCOMPARE(versions.at(0).ownBytes, report.removedBytes);
    QVERIFY(versions.at(1).ownBytes > 2000);
    QVERIFY(versions.at(1).ownBytes < 2300);
}

void InventoryTest::foretellsWhatPruningFrees_data()
{
    QTest::addColumn<QString>("current");
    for (const char* version : {"4", "3", "1"})
        QTest::newRow(version) << QString::fromLatin1(version);
}

void InventoryTest::foretellsWhatPruningFrees()
{
    QFETCH(QString, current);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, current}), QStringList());
    // What an interrupted publication left.
    writeFiles(m_fixture->content(), {{u"launcher/files/00/rest.lzma"_s, "rest"}});
    const Inventory inventory = take();
    QCOMPARE(inventory.pruning.size(), 4);
    for (const PruneOutlook& outlook : inventory.pruning) {
        PruneReport report;
        QCOMPARE(
            pruneVersions(m_fixture->content(), outlook.keep, true, m_fixture->progress, report),
            QStringList());
        QCOMPARE(outlook.files, report.removedFiles);
        QCOMPARE(outlook.bytes, report.removedBytes);
    }
    QCOMPARE(inventory.pruning.last().files, 1);
}

void InventoryTest::listsAContentThatCannotBeWritten()
{
    QDir(m_fixture->content() + u"/.publisher"_s).removeRecursively();
    const QStringList before = testfiles::list(m_fixture->content());
    QCOMPARE(take().products.size(), 1);
    QCOMPARE(testfiles::list(m_fixture->content()), before);
}

void InventoryTest::warnsOfADamagedDocument()
{
    writeFiles(m_fixture->content(),
               {{u"launcher/packages/Quelra/2/windows-x86_64/package.json"_s, "{"}});
    const Inventory inventory = take();
    QCOMPARE(inventory.products.first().versions.size(), 4);
    QCOMPARE(m_fixture->progress.warnings.size(), 1);
    QVERIFY(m_fixture->progress.warnings.first().contains(u"Quelra/2/windows-x86_64"_s));
}

void InventoryTest::refusesAFolderWithoutContent()
{
    Inventory inventory;
    QCOMPARE(takeInventory(m_fixture->input(), m_fixture->progress, inventory).size(), 1);
}

VORNAK_TEST_MAIN(InventoryTest)
#include "tst_inventory.moc"
