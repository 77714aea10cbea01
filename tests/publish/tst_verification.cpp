#include "package/OrlPackageDoc.h"
#include "package/Unpack.h"
#include "publish/Addresses.h"
#include "publish/FolderSource.h"
#include "publish/VerifyFixture.h"
#include "publish/VerifyOptions.h"
#include "support/IsolatedHome.h"
#include "support/PackLzma.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace publish;

// moc loses its place in raw literals that hold quotes.
// NOLINTBEGIN(modernize-raw-string-literal)

class VerificationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void findsNoFaultInWhatWasPublished();
    void findsEveryDamagedFile_data();
    void findsEveryDamagedFile();
    void readsADamagedFileThatTwoDocumentsNameOnce();
    void findsFaultsOfDocuments_data();
    void findsFaultsOfDocuments();
    void findsFaultsOfPackedFiles_data();
    void findsFaultsOfPackedFiles();
    void impossibleSizesAreFaultsAndNoMore();
    void listsEveryFault();
    void quickFindsWhatIsNotThereOrHasAnotherSize();

private:
    std::unique_ptr<VerifyFixture> m_fixture;
};

void VerificationTest::init()
{
    m_fixture = std::make_unique<VerifyFixture>();
    QCOMPARE(m_fixture->fill(), QStringList());
}

void VerificationTest::findsNoFaultInWhatWasPublished()
{
    QCOMPARE(m_fixture->verify(), QStringList());
    QCOMPARE(m_fixture->verified.builds, 2);
    QCOMPARE(m_fixture->verified.files, 5);
    QCOMPARE(m_fixture->verified.unpackedBytes, 5500 + launcherProgram(u"7"_s).size());
}

void VerificationTest::findsEveryDamagedFile_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("changed") << 0;
    QTest::newRow("cut") << 1;
    QTest::newRow("empty") << 2;
    QTest::newRow("missing") << 3;
}

// Whatever is served and damaged, on its own, must show.
void VerificationTest::findsEveryDamagedFile()
{
    QFETCH(int, way);
    const Files served = m_fixture->served();
    QVERIFY(served.size() >= 12);
    for (auto file = served.begin(); file != served.end(); ++file) {
        const QString path = m_fixture->content() + file.key();
        QByteArray damaged = *file;
        damaged[0] = static_cast<char>(damaged.at(0) ^ 4);
        if (way == 3)
            QVERIFY(QFile::remove(path));
        else
            testfiles::write(path, way == 0 ? damaged : way == 1 ? file->chopped(1) : QByteArray());
        const bool last = file.key().endsWith(u"a.png"_s) && way == 1;
        // A line end behind a document is no part of it, nor does the head of a picture tell its
        // end.
        if (!last && !(way == 1 && file->endsWith('\n')))
            QVERIFY2(!m_fixture->verify().isEmpty(), qPrintable(file.key()));
        testfiles::write(path, *file);
    }
    QCOMPARE(m_fixture->verify(), QStringList());
}

void VerificationTest::readsADamagedFileThatTwoDocumentsNameOnce()
{
    const QString packed = addresses::packedFile(
        m_fixture->served().keys().filter(u".lzma"_s).first().section(u'/', -1).chopped(5));
    QVERIFY(QFile::remove(m_fixture->content() + packed));
    QCOMPARE(m_fixture->verify().filter(packed).size(), 1);
}

void VerificationTest::findsFaultsOfDocuments_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("hint");
    const auto row = [](const char* name, const QString& address, const char* before,
                        const char* after, const char* hint) {
        QTest::newRow(name) << address << QByteArray(before) << QByteArray(after)
                            << QString::fromLatin1(hint);
    };
    const QString metadata = addresses::metadata;
    const QString document = folder + u"package.json"_s;
    row("no packages", metadata, "\"packages\"", "\"package\"", "no package");
    row("other system", metadata, "\"windows\"", "\"macos\"", "players' system");
    row("folder", metadata, R"("directoryname": "Quelra")", R"("directoryname": "..")",
        "cannot be a folder's name");
    row("percent", metadata, "windows-x86_64/version.txt", "windows-x86_64/version%20.txt",
        "not plain");
    row("elsewhere", metadata, "\"/launcher/packages/Quelra/1.0/windows-x86_64/version.txt",
        "\"https://other.example/version.txt", "leads elsewhere");
    row("version", folder + u"version.txt"_s, "1.0", "1.1", "of '1.0'");
    row("executable", document, R"("executable":"client")", R"("executable":"Client")",
        "not among the files");
    row("no files", document, "\"files\"", "\"file\"", "no package document with files");
    row("path", document, "\"data/map\"", "\"../map\"", "../map");
    row("reserved", document, "\"data/map\"", "\"data/nul\"", "reserved");
    row("twice", document, "\"data/map\"", "\"client\"", "two files");
    row("case", document, "\"data/map\"", "\"CLIENT\"", "case");
    row("asset and file", folder + u"assets.json"_s, "\"assets/sky\"", "\"empty\"", "two files");
    row("upper case hash", document, R"("packedhash":")", R"("packedhash":"A)", "hexadecimal");
    row("size", document, R"("unpackedsize":"3000")", R"("unpackedsize":"3001")", "another size");
    row("negative size", document, R"("unpackedsize":"3000")", R"("unpackedsize":"-1")",
        "make no sense");
    row("too large", document, R"("unpackedsize":"3000")", R"("unpackedsize":"2147483648")",
        "2 GiB");
    row("no packed size", document, R"("packedsize":")", R"("packedsiz":")", "make no sense");
    row("another list's identity", folder + u"assets.txt"_s, "", "", "another asset list");
    row("hints", u"/hints.json"_s, "<img", "<b", "none of them");
    row("launcher", u"/launcher/self/7/windows-x86_64/version.txt"_s, "7", "8", "launcher (");
}

void VerificationTest::findsFaultsOfDocuments()
{
    QFETCH(QString, address);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, hint);
    if (before.isEmpty())
        testfiles::write(m_fixture->content() + address, hashBytes("other").toLatin1());
    else
        m_fixture->replaceIn(address, before, after);
    const QStringList faults = m_fixture->verify();
    QVERIFY(!faults.isEmpty());
    QVERIFY2(!faults.filter(hint).isEmpty(), qPrintable(faults.join(u'\n')));
}

void VerificationTest::findsFaultsOfPackedFiles_data()
{
    QTest::addColumn<QByteArray>("packed");
    QTest::addColumn<QString>("hint");
    const QByteArray content = VerifyFixture::client();
    const QByteArray good = packLzma(content);
    QTest::newRow("good") << good << QString();
    QTest::newRow("other content")
        << packLzma(QByteArray(content).replace(0, 1, "#")) << u"another content"_s;
    QTest::newRow("other size") << packLzma(content + "x") << u"declares another size"_s;
    QTest::newRow("unknown size") << packLzma(content, {PackOptions::Size::Unknown})
                                  << u"declares another size"_s;
    QTest::newRow("odd dictionary")
        << packLzma(content, {PackOptions::Size::Known, 3, 0, 2, 5000}) << u"power of two"_s;
    QTest::newRow("no stream") << good.first(12) << u"ends in its header"_s;
    QTest::newRow("short stream") << good.chopped(40) << u"cannot be unpacked"_s;
}

// The entry tells the truth about the packed bytes, which are wrong by themselves.
void VerificationTest::findsFaultsOfPackedFiles()
{
    QFETCH(QByteArray, packed);
    QFETCH(QString, hint);
    const QString document = m_fixture->content() + folder + u"package.json"_s;
    OrlPackageDoc doc = parsePackageDoc(testfiles::read(document), nullptr);
    OrlFile& entry = doc.files.first();
    QCOMPARE(entry.localfile, u"client"_s);
    entry.packedhash = hashBytes(packed);
    entry.packedsize = packed.size();
    entry.url = u"own.lzma"_s;
    testfiles::write(document, serializePackageDoc(doc));
    testfiles::write(m_fixture->content() + folder + u"own.lzma"_s, packed);
    const QStringList faults = m_fixture->verify();
    QCOMPARE(faults.size(), hint.isEmpty() ? 0 : 1);
    if (!faults.isEmpty()) {
        QVERIFY2(faults.first().contains(hint), qPrintable(faults.first()));
        QVERIFY2(faults.first().contains(u"client"_s), qPrintable(faults.first()));
    }
}

void VerificationTest::impossibleSizesAreFaultsAndNoMore()
{
    const QString document = m_fixture->content() + folder + u"package.json"_s;
    OrlPackageDoc doc = parsePackageDoc(testfiles::read(document), nullptr);
    QVERIFY(doc.files.size() > 1);
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    for (OrlFile& entry : doc.files) {
        entry.packedsize = most;
        entry.unpackedsize = most;
    }
    testfiles::write(document, serializePackageDoc(doc));
    QCOMPARE(m_fixture->verify().size(), doc.files.size());
    QCOMPARE(m_fixture->verified.packedBytes, most);
    QCOMPARE(m_fixture->verified.unpackedBytes, most);
}

void VerificationTest::listsEveryFault()
{
    QDir(m_fixture->content() + u"/launcher/files"_s).removeRecursively();
    QFile::remove(m_fixture->content() + u"/images/news/a.png"_s);
    QFile::remove(m_fixture->content() + folder + u"version.txt"_s);
    QCOMPARE(m_fixture->verify().size(), 5 + 1 + 1);
    FolderSource nowhere(m_fixture->path(u"nowhere"_s));
    QCOMPARE(m_fixture->verify(nowhere, {}).size(), 1);
}

void VerificationTest::quickFindsWhatIsNotThereOrHasAnotherSize()
{
    const Files served = m_fixture->served();
    const auto source = std::make_unique<FolderSource>(m_fixture->content());
    QCOMPARE(m_fixture->verify(*source, {true}), QStringList());
    for (auto file = served.begin(); file != served.end(); ++file) {
        const QString path = m_fixture->content() + file.key();
        QVERIFY(QFile::remove(path));
        QVERIFY2(!m_fixture->verify(*source, {true}).isEmpty(), qPrintable(file.key()));
        testfiles::write(path, *file);
        if (!file.key().endsWith(u".lzma"_s))
            continue;
        testfiles::write(path, *file + "x");
        QCOMPARE(m_fixture->verify(*source, {true}).size(), 1);
        // The size alone tells nothing of the content.
        QByteArray damaged = *file;
        damaged[0] = static_cast<char>(damaged.at(0) ^ 4);
        testfiles::write(path, damaged);
        QCOMPARE(m_fixture->verify(*source, {true}), QStringList());
        testfiles::write(path, *file);
    }
}

// NOLINTEND(modernize-raw-string-literal)

VORNAK_TEST_MAIN(VerificationTest)
#include "tst_verification.moc"
