#include "package/LauncherMetadata.h"
#include "package/Unpack.h"
#include "publish/Addresses.h"
#include "publish/FolderSource.h"
#include "publish/Platform.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QSet>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;
using namespace publish;

/// A launcher looks at its assets when the text changes that it is served, and at no other time.
/// So the text stays while a set stays, and never returns once another was current.
class AssetsIdentityTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void staysWhileTheClientAloneChanges();
    void isNewWhenTheSetReturns_data();
    void isNewWhenTheSetReturns();
    void isNewInALostAndRepeatedPublication();
    void isNewWhereItWasRemoved();
    void anAddressKeepsItsText();
    void switchAmongVersionsOfOneSetChangesNothing();
    void switchToTheCurrentVersionChangesNothing();
    void aReturningBareHashIsReplaced();
    void eachPlatformHasItsOwn();
    void whatComesOutVerifies();

private:
    void publishSet(const QString& version, const QByteArray& set);
    void switchTo(const QString& version);
    LauncherBuild build(qsizetype index = 0) const;
    QByteArray identity(qsizetype index = 0) const;

    std::unique_ptr<PublishFixture> m_fixture;
    Platform m_platform{u"windows"_s, u"x86_64"_s};
    // Every text that was served, under its address.
    Files m_seen;
};

void AssetsIdentityTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    m_platform = {u"windows"_s, u"x86_64"_s};
    m_seen.clear();
}

// A client that differs from version to version, with one asset of the given content; no assets for
// an empty one.
void AssetsIdentityTest::publishSet(const QString& version, const QByteArray& set)
{
    Files files{{u"client"_s, version.toUtf8()}};
    if (!set.isEmpty())
        files.insert(u"assets/sky"_s, set);
    m_fixture->setInput(files);
    PublishRequest request = m_fixture->request(version);
    request.platform = m_platform;
    if (!set.isEmpty())
        request.assets = u"assets"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
}

void AssetsIdentityTest::switchTo(const QString& version)
{
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, version}), QStringList());
}

LauncherBuild AssetsIdentityTest::build(qsizetype index) const
{
    return readLauncherMetadata(m_fixture->served().value(addresses::metadata), nullptr)
        .packages.first()
        .builds.at(index);
}

QByteArray AssetsIdentityTest::identity(qsizetype index) const
{
    return m_fixture->served().value(build(index).assetsversionurl.path());
}

void AssetsIdentityTest::staysWhileTheClientAloneChanges()
{
    publishSet(u"1.0"_s, "A");
    const QByteArray first = identity();
    QVERIFY(!first.isEmpty());
    publishSet(u"1.1"_s, "A");
    QCOMPARE(identity(), first);
    publishSet(u"1.2"_s, "A");
    QCOMPARE(identity(), first);
    publishSet(u"1.3"_s, "B");
    QVERIFY(identity() != first);
}

void AssetsIdentityTest::isNewWhenTheSetReturns_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::newRow("switch") << QStringList{u"1.0 A"_s, u"1.1 B"_s, u"1.0"_s, u"1.1"_s, u"1.0"_s};
    QTest::newRow("republished") << QStringList{u"1.0 A"_s, u"1.1 B"_s, u"1.2 A"_s, u"1.3 B"_s};
    QTest::newRow("same command again")
        << QStringList{u"1.0 A"_s, u"1.1 B"_s, u"1.0 A"_s, u"1.1 B"_s};
    // Without assets, files of their names may have come with the client.
    QTest::newRow("no assets between") << QStringList{u"1.0 A"_s, u"1.1 "_s, u"1.2 A"_s};
    QTest::newRow("switch over none") << QStringList{u"1.0 A"_s, u"1.1 "_s, u"1.0"_s};
    QTest::newRow("all of it") << QStringList{u"1.0 A"_s, u"1.1 B"_s, u"1.0"_s,   u"1.2 B"_s,
                                              u"1.1 B"_s, u"1.0"_s,   u"1.3 C"_s, u"1.0 A"_s};
}

void AssetsIdentityTest::isNewWhenTheSetReturns()
{
    QFETCH(QStringList, steps);
    QHash<QByteArray, QByteArray> setOf;
    QByteArray before;
    QByteArray setBefore;
    for (const QString& step : std::as_const(steps)) {
        if (step.contains(u' '))
            publishSet(step.section(u' ', 0, 0), step.section(u' ', 1).toLatin1());
        else
            switchTo(step);
        const Files served = m_fixture->served();
        const QByteArray text = identity();
        const QByteArray set = served.value(build().assetsurl.path());
        QCOMPARE(text.isEmpty(), set.isEmpty());
        if (!set.isEmpty()) {
            QVERIFY2(set == setBefore ? text == before : !setOf.contains(text), qPrintable(step));
            setOf.insert(text, set);
        }
        before = text;
        setBefore = set;
    }
}

void AssetsIdentityTest::isNewInALostAndRepeatedPublication()
{
    publishSet(u"1.0"_s, "A");
    const QByteArray first = identity();
    QVERIFY(QFile::remove(m_fixture->content() + addresses::metadata));
    publishSet(u"1.1"_s, "A");
    QVERIFY(identity() != first);
}

// What an operator does whose content came back from a backup, where nobody knows what was served.
void AssetsIdentityTest::isNewWhereItWasRemoved()
{
    publishSet(u"1.0"_s, "A");
    const QByteArray first = identity();
    QVERIFY(QFile::remove(m_fixture->content() + build().assetsversionurl.path()));
    publishSet(u"1.0"_s, "A");
    QVERIFY(!identity().isEmpty());
    QVERIFY(identity() != first);
}

// Caches keep what they have read there for a year.
void AssetsIdentityTest::anAddressKeepsItsText()
{
    const auto look = [this] {
        const Files served = m_fixture->served();
        for (auto file = served.begin(); file != served.end(); ++file) {
            if (!file.key().startsWith(u"/launcher/packages/"_s))
                continue;
            if (m_seen.contains(file.key()))
                QCOMPARE(*file, m_seen.value(file.key()));
            m_seen.insert(file.key(), *file);
        }
    };
    for (const QString& version : {u"1.0"_s, u"1.1"_s, u"1.2"_s}) {
        publishSet(version, version == u"1.1" ? "B" : "A");
        look();
    }
    for (const QString& version : {u"1.1"_s, u"1.0"_s, u"1.1"_s, u"1.0"_s, u"1.2"_s}) {
        switchTo(version);
        look();
    }
}

void AssetsIdentityTest::switchAmongVersionsOfOneSetChangesNothing()
{
    publishSet(u"1.0"_s, "A");
    publishSet(u"1.1"_s, "A");
    const Files before = m_fixture->served();
    const QByteArray text = identity();
    switchTo(u"1.0"_s);
    QCOMPARE(identity(), text);
    switchTo(u"1.1"_s);
    QCOMPARE(m_fixture->served(), before);
    // Also when the older version had another text of its own.
    publishSet(u"1.2"_s, "B");
    switchTo(u"1.1"_s);
    const QByteArray fresh = identity();
    QVERIFY(fresh != text);
    switchTo(u"1.0"_s);
    QCOMPARE(identity(), fresh);
}

void AssetsIdentityTest::switchToTheCurrentVersionChangesNothing()
{
    publishSet(u"1.0"_s, "A");
    publishSet(u"1.1"_s, "B");
    switchTo(u"1.0"_s);
    const Files before = m_fixture->served();
    switchTo(u"1.0"_s);
    QCOMPARE(m_fixture->served(), before);
    // Publishing it again makes it the latest, and no more.
    const QUrl address = build().assetsversionurl;
    publishSet(u"1.0"_s, "A");
    QCOMPARE(build().assetsversionurl, address);
    QCOMPARE(m_fixture->served().keys(), before.keys());
}

void AssetsIdentityTest::aReturningBareHashIsReplaced()
{
    publishSet(u"1.0"_s, "A");
    const QByteArray hash =
        hashBytes(m_fixture->served().value(folder10 + u"assets.json"_s)).toLatin1();
    testfiles::write(m_fixture->content() + folder10 + u"assets.txt"_s, hash);
    publishSet(u"1.1"_s, "A");
    QVERIFY(identity() != hash);
    switchTo(u"1.0"_s);
    QVERIFY(identity() != hash);
}

void AssetsIdentityTest::eachPlatformHasItsOwn()
{
    publishSet(u"1.0"_s, "A");
    publishSet(u"1.1"_s, "B");
    m_platform.architecture = u"arm64"_s;
    publishSet(u"1.0"_s, "A");
    publishSet(u"1.1"_s, "A");
    const QByteArray mixed = identity(0);
    const QByteArray same = identity(1);
    switchTo(u"1.0"_s);
    QVERIFY(identity(0) != mixed);
    QCOMPARE(identity(1), same);
}

void AssetsIdentityTest::whatComesOutVerifies()
{
    publishSet(u"1.0"_s, "A");
    publishSet(u"1.1"_s, "B");
    switchTo(u"1.0"_s);
    const auto source = std::make_unique<FolderSource>(m_fixture->content());
    VerifyReport report;
    QCOMPARE(verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, report),
             QStringList());
    const QString path = m_fixture->content() + build().assetsversionurl.path();
    testfiles::write(path, testfiles::read(path).replace(0, 4, "beef"));
    QCOMPARE(verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, report).size(),
             1);
}

VORNAK_TEST_MAIN(AssetsIdentityTest)
#include "tst_assetsidentity.moc"
