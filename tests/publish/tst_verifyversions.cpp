#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/ContentSource.h"
#include "publish/FolderSource.h"
#include "publish/PublishRequest.h"
#include "publish/VerifyFixture.h"
#include "publish/VerifyOptions.h"
#include "publish/WebSource.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

// moc loses its place in raw literals that hold quotes.
// NOLINTBEGIN(modernize-raw-string-literal)

class VerifyVersionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void findsFaultsOfVersionsThatAreNotCurrent();
    void tellsWhatMendsEachFault_data();
    void tellsWhatMendsEachFault();

private:
    std::unique_ptr<VerifyFixture> m_fixture;
};

void VerifyVersionsTest::init()
{
    m_fixture = std::make_unique<VerifyFixture>();
    QCOMPARE(m_fixture->fill(), QStringList());
}

void VerifyVersionsTest::findsFaultsOfVersionsThatAreNotCurrent()
{
    PublishRequest request = m_fixture->request(u"2.0"_s);
    m_fixture->setInput({{u"client"_s, "2"}});
    QCOMPARE(m_fixture->run(request), QStringList());
    QVERIFY(QFile::remove(m_fixture->content() + u"/.publisher/written.sha256"_s));
    ScriptedHttpServer server;
    m_fixture->serve(server);
    const auto inFolder = std::make_unique<FolderSource>(m_fixture->content());
    const auto onServer = std::make_unique<WebSource>(server.baseUrl());
    for (ContentSource* source :
         std::initializer_list<ContentSource*>{inFolder.get(), onServer.get()}) {
        QCOMPARE(m_fixture->verify(*source, {false, true}), QStringList());
        QCOMPARE(m_fixture->verified.builds, 3);
        QCOMPARE(m_fixture->verify(*source, {false, false, u"1.0"_s}), QStringList());
        QCOMPARE(m_fixture->verified.builds, 1);
        QCOMPARE(m_fixture->verified.files, 4);
        QCOMPARE(m_fixture->verify(*source, {false, false, u"3.0"_s}).size(), 1);
    }
    for (const QString& name : {u"package.json"_s, u"version.txt"_s, u"assets.json"_s}) {
        const QByteArray good = testfiles::read(m_fixture->content() + folder + name);
        testfiles::write(m_fixture->content() + folder + name, good.chopped(2));
        m_fixture->serve(server);
        for (ContentSource* source :
             std::initializer_list<ContentSource*>{inFolder.get(), onServer.get()}) {
            QCOMPARE(m_fixture->verify(*source, {}), QStringList());
            for (const bool quick : {false, true}) {
                const QStringList all = m_fixture->verify(*source, {quick, true});
                QCOMPARE(all.size(), 1);
                QVERIFY2(all.first().startsWith(u"Quelra 1.0 (windows x86_64): "_s),
                         qPrintable(all.first()));
                QCOMPARE(m_fixture->verify(*source, {quick, false, u"1.0"_s}), all);
                QCOMPARE(m_fixture->verify(*source, {quick, false, u"2.0"_s}), QStringList());
            }
        }
        testfiles::write(m_fixture->content() + folder + name, good);
    }
}

void VerifyVersionsTest::tellsWhatMendsEachFault_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("advice");
    const QString package = u"; 'package --version 1.0' mends it"_s;
    const QString hints = u"; 'hints' mends it"_s;
    QTest::newRow("document") << u"1.0/windows-x86_64/package.json"_s << u"cut"_s << package;
    QTest::newRow("version") << u"1.0/windows-x86_64/version.txt"_s << u"cut"_s << package;
    QTest::newRow("assets") << u"1.0/windows-x86_64/assets.json"_s << u"cut"_s << package;
    QTest::newRow("identity") << u"1.0/windows-x86_64/assets.txt"_s << u"cut"_s << package;
    QTest::newRow("packed cut") << u"packed"_s << u"cut"_s << package;
    QTest::newRow("packed missing") << u"packed"_s << u"remove"_s << package;
    QTest::newRow("packed changed")
        << u"packed"_s << u"change"_s << u"; 'package --version 1.0 --reread' mends it"_s;
    QTest::newRow("launcher") << u"self/7/windows-x86_64/package.json"_s << u"cut"_s
                              << u"; 'launcher --version 7' mends it"_s;
    QTest::newRow("hints") << u"hints.json"_s << u"cut"_s << hints;
    QTest::newRow("picture") << u"a.png"_s << u"change"_s << hints;
    QTest::newRow("picture missing") << u"a.png"_s << u"remove"_s << hints;
    QTest::newRow("metadata") << u"quelrametadata.json"_s << u"cut"_s
                              << u"; restore it from a backup"_s;
}

void VerifyVersionsTest::tellsWhatMendsEachFault()
{
    QFETCH(QString, end);
    QFETCH(QString, way);
    QFETCH(QString, advice);
    const QString document = m_fixture->content() + folder + u"package.json"_s;
    const QString packed =
        addresses::packedFile(parsePackageDoc(testfiles::read(document)).files.first().packedhash);
    const QString path =
        m_fixture->content() +
        (end == u"packed"_s ? packed : m_fixture->served().keys().filter(end).first());
    QByteArray bytes = testfiles::read(path);
    if (way == u"remove"_s) {
        QVERIFY(QFile::remove(path));
    } else {
        bytes[0] = static_cast<char>(bytes.at(0) ^ 4);
        testfiles::write(path, way == u"cut"_s ? bytes.first(bytes.size() / 2) : bytes);
    }
    const QStringList faults = m_fixture->verify();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().endsWith(advice), qPrintable(faults.first()));
}

// NOLINTEND(modernize-raw-string-literal)

VORNAK_TEST_MAIN(VerifyVersionsTest)
#include "tst_verifyversions.moc"
