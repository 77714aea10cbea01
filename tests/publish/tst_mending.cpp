#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/FolderSource.h"
#include "publish/HintsPublication.h"
#include "publish/Prune.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/SwitchVersion.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

// moc loses its place in raw literals that hold quotes.
// NOLINTBEGIN(modernize-raw-string-literal)

const QByteArray picture = "\x89PNG\r\n\x1a\nall the rest of it";

Files someFiles()
{
    return {{u"client"_s, testfiles::textBytes(3000, 1)}, {u"assets/sky"_s, "sky"}};
}

} // namespace

/// What was damaged on the server's disk is made whole by the command that made it.
class MendingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void writesADamagedDocumentAgain_data();
    void writesADamagedDocumentAgain();
    void mendsWithoutMakingTheVersionCurrent();
    void mendsADamagedIdentity();
    void refusesToMendFromSomethingElse();
    void learnsNothingFromADamagedDocument();
    void noticesAnyOtherByteOfADocument();
    void replacesADamagedPicture_data();
    void replacesADamagedPicture();
    void refusesAnotherPictureForADamagedOne();
    void aDamagedOldVersionDoesNotBlockPruning();
    void aDamagedCurrentVersionDoes();

private:
    QStringList publishAgain();
    QStringList publishHintsAgain(const QString& images = u"pictures"_s);
    QStringList check();
    // Damages the file and returns what it was.
    QByteArray damage(const QString& address, const QString& way) const;
    void forgetNotes() const;

    std::unique_ptr<PublishFixture> m_fixture;
};

void MendingTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    QCOMPARE(publishAgain(), QStringList());
    writeFiles(m_fixture->path({}), {{u"hints.json"_s, R"(["<img src=\"/images/news/a.png\">"])"},
                                     {u"pictures/news/a.png"_s, picture},
                                     {u"others/news/a.png"_s, picture + " and more"}});
    QCOMPARE(publishHintsAgain(), QStringList());
}

QStringList MendingTest::publishAgain()
{
    m_fixture->setInput(someFiles());
    PublishRequest request = m_fixture->request(u"1.0"_s);
    request.assets = u"assets"_s;
    return m_fixture->run(request);
}

QStringList MendingTest::publishHintsAgain(const QString& images)
{
    HintsReport report;
    return publishHints(m_fixture->path(u"hints.json"_s), m_fixture->content(),
                        images.isEmpty() ? QString() : m_fixture->path(images), {}, report);
}

QStringList MendingTest::check()
{
    const auto source = std::make_unique<FolderSource>(m_fixture->content());
    VerifyReport report;
    return verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, report);
}

QByteArray MendingTest::damage(const QString& address, const QString& way) const
{
    const QString path = m_fixture->content() + address;
    const QByteArray good = testfiles::read(path);
    QByteArray bad = good;
    if (way == u"change"_s)
        bad[bad.size() - 1] = static_cast<char>(bad.at(bad.size() - 1) ^ 1);
    else if (way == u"cut"_s)
        bad.chop(bad.size() / 2 + 1);
    else if (way == u"empty"_s)
        bad.clear();
    if (way == u"remove"_s)
        QFile::remove(path);
    else
        testfiles::write(path, bad);
    return good;
}

// As if an earlier publisher had written the content.
void MendingTest::forgetNotes() const
{
    QVERIFY(QFile::remove(m_fixture->content() + u"/.publisher/written.sha256"_s));
}

void MendingTest::writesADamagedDocumentAgain_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("way");
    QTest::addColumn<bool>("isNoted");
    for (const char* name : {"package.json", "version.txt", "assets.json"}) {
        for (const char* way : {"change", "cut", "empty", "remove"}) {
            for (const bool isNoted : {true, false}) {
                QTest::addRow("%s %s %s", name, way, isNoted ? "noted" : "not noted")
                    << QString::fromLatin1(name) << QString::fromLatin1(way) << isNoted;
            }
        }
    }
}

void MendingTest::writesADamagedDocumentAgain()
{
    QFETCH(QString, name);
    QFETCH(QString, way);
    QFETCH(bool, isNoted);
    const Files before = m_fixture->served();
    damage(folder10 + name, way);
    if (!isNoted)
        forgetNotes();
    QVERIFY(!check().isEmpty());
    QCOMPARE(publishAgain(), QStringList());
    QCOMPARE(check(), QStringList());
    QCOMPARE(m_fixture->served().value(folder10 + name), before.value(folder10 + name));
    if (isNoted || way != u"remove"_s)
        QCOMPARE(m_fixture->report.mended, 1);
    if (isNoted)
        QCOMPARE(m_fixture->served().keys(), before.keys());
    QCOMPARE(publishAgain(), QStringList());
    QCOMPARE(m_fixture->report.mended, 0);
}

void MendingTest::mendsWithoutMakingTheVersionCurrent()
{
    QCOMPARE(m_fixture->publishFiles(u"2.0"_s, {{u"client"_s, "2"}}), QStringList());
    const Files before = m_fixture->served();
    damage(folder10 + u"package.json"_s, u"cut"_s);
    const QStringList faults = switchVersion({m_fixture->content(), {}, {}, u"1.0"_s});
    QCOMPARE(faults.size(), 2);
    QVERIFY2(faults.last().endsWith(u"; 'package --version 1.0 --stage' mends it"_s),
             qPrintable(faults.last()));
    m_fixture->setInput(someFiles());
    PublishRequest request = m_fixture->request(u"1.0"_s);
    request.assets = u"assets"_s;
    request.stage = true;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(m_fixture->report.mended, 1);
    Files after = m_fixture->served();
    QVERIFY(after.value(addresses::metadata).contains("/2.0/windows-x86_64/package.json"));
    after.insert(addresses::metadata, before.value(addresses::metadata));
    QCOMPARE(after, before);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"1.0"_s}), QStringList());
}

void MendingTest::mendsADamagedIdentity()
{
    for (const QString& way : {u"cut"_s, u"empty"_s, u"remove"_s}) {
        damage(folder10 + u"assets.txt"_s, way);
        QCOMPARE(publishAgain(), QStringList());
        QCOMPARE(check(), QStringList());
    }
}

void MendingTest::refusesToMendFromSomethingElse()
{
    damage(folder10 + u"package.json"_s, u"cut"_s);
    const Files before = m_fixture->served();
    Files files = someFiles();
    files[u"client"_s] = "another";
    m_fixture->setInput(files);
    PublishRequest request = m_fixture->request(u"1.0"_s);
    request.assets = u"assets"_s;
    const QStringList faults = m_fixture->run(request);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"is damaged, and what is given now is not what it was"_s),
             qPrintable(faults.first()));
    const Files after = m_fixture->served();
    for (auto file = before.begin(); file != before.end(); ++file)
        QCOMPARE(after.value(file.key()), *file);
}

void MendingTest::learnsNothingFromADamagedDocument()
{
    const QString path = m_fixture->content() + folder10 + u"package.json"_s;
    const QByteArray good = testfiles::read(path);
    for (const bool isNoted : {true, false}) {
        testfiles::write(
            path, QByteArray(good).replace(R"("unpackedsize":"3000")", R"("unpackedsize":"3001")"));
        QVERIFY(testfiles::read(path) != good);
        if (!isNoted)
            forgetNotes();
        QCOMPARE(publishAgain(), QStringList());
        QCOMPARE(testfiles::read(path), good);
    }
}

void MendingTest::noticesAnyOtherByteOfADocument()
{
    const QString path = m_fixture->content() + folder10 + u"package.json"_s;
    // It still reads the same.
    testfiles::write(path, testfiles::read(path) + '\n');
    QCOMPARE(check(), QStringList(u"Quelra (windows x86_64): %1package.json is not what was "
                                  "published; 'package --version 1.0' mends it"_s.arg(folder10)));
}

void MendingTest::replacesADamagedPicture_data()
{
    QTest::addColumn<QString>("way");
    for (const char* way : {"change", "cut", "empty", "remove"})
        QTest::newRow(way) << QString::fromLatin1(way);
}

void MendingTest::replacesADamagedPicture()
{
    QFETCH(QString, way);
    damage(u"/images/news/a.png"_s, way);
    const QStringList faults = check();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().endsWith(u"; 'hints' mends it"_s), qPrintable(faults.first()));
    QCOMPARE(publishHintsAgain({}).size(), 1);
    QCOMPARE(publishHintsAgain(), QStringList());
    QCOMPARE(check(), QStringList());
    QCOMPARE(m_fixture->served().value(u"/images/news/a.png"_s), picture);
}

void MendingTest::refusesAnotherPictureForADamagedOne()
{
    damage(u"/images/news/a.png"_s, u"cut"_s);
    const Files before = m_fixture->served();
    const QStringList faults = publishHintsAgain(u"others"_s);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().endsWith(u"give the new one a new name"_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->served(), before);
}

void MendingTest::aDamagedOldVersionDoesNotBlockPruning()
{
    for (const QString& version : {u"2.0"_s, u"3.0"_s, u"4.0"_s})
        QCOMPARE(m_fixture->publishFiles(version, {{u"client"_s, "own " + version.toUtf8()}}),
                 QStringList());
    const QString damaged = u"/launcher/packages/Quelra/3.0/windows-x86_64/package.json"_s;
    const Files before = m_fixture->served();
    const QString needed =
        addresses::packedFile(parsePackageDoc(before.value(damaged)).files.first().packedhash);
    damage(damaged, u"cut"_s);
    PruneReport report;
    QCOMPARE(pruneVersions(m_fixture->content(), 1, false, m_fixture->progress, report),
             QStringList());
    QCOMPARE(report.removedVersions, (QStringList{u"Quelra 1.0"_s, u"Quelra 2.0"_s}));
    // Those of 1.0 and 2.0, and nothing that 3.0 may need.
    QCOMPARE(report.removedFiles, 3);
    QVERIFY(m_fixture->served().contains(needed));
    QCOMPARE(m_fixture->progress.warnings.filter(damaged).size(), 1);
    QCOMPARE(check(), QStringList());
    m_fixture->setInput({{u"client"_s, "own 3.0"}});
    PublishRequest request = m_fixture->request(u"3.0"_s);
    request.stage = true;
    QCOMPARE(m_fixture->run(request), QStringList());
    QCOMPARE(m_fixture->report.packed, 0);
    QCOMPARE(switchVersion({m_fixture->content(), {}, {}, u"3.0"_s}), QStringList());
}

void MendingTest::aDamagedCurrentVersionDoes()
{
    QCOMPARE(m_fixture->publishFiles(u"2.0"_s, {{u"client"_s, "2"}}), QStringList());
    damage(u"/launcher/packages/Quelra/2.0/windows-x86_64/package.json"_s, u"change"_s);
    const Files before = m_fixture->served();
    PruneReport report;
    const QStringList faults =
        pruneVersions(m_fixture->content(), 0, false, m_fixture->progress, report);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"nothing was removed"_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->served(), before);
}

// NOLINTEND(modernize-raw-string-literal)

VORNAK_TEST_MAIN(MendingTest)
#include "tst_mending.moc"
