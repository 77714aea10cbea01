#include "publish/InputFolder.h"
#include "publish/Limits.h"
#include "publish/NameRules.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;
using namespace publish;

// Windows asks for a privilege, and Wine 8 has none that a program could see.
#ifdef Q_OS_WIN
#define SKIP_WITHOUT_LINKS QSKIP("Wine has no links; run this test on Linux")
#else
#define SKIP_WITHOUT_LINKS
#endif

class InputFolderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void listsFilesByTheBytesOfTheirNames();
    void emptyFolderHasNoFiles();
    void tellsThatThereIsNoSuchFolder();
    void windowsShortcutsAreFiles();
    void aDrivesRootIsAFolder();
    void followsLinksThatStayInside();
    void refusesLinks_data();
    void refusesLinks();
    void refusesWhatIsNoFile();
    void refusesUnreadableFiles();
    void tellsEachNameThatIsNotUtf8();
    void refusesFilesTooLargeToUnpack();
    void judgesNames_data();
    void judgesNames();
    void judgesCollisions_data();
    void judgesCollisions();
    void judgesVersions_data();
    void judgesVersions();
    void judgesDirectories_data();
    void judgesDirectories();
};

void InputFolderTest::listsFilesByTheBytesOfTheirNames()
{
    const QTemporaryDir folder;
    for (const char* name : {"b", "C", "a/z", "a-b", "ä", ".hidden", "a/.git/x", "\xef\xbf\xbd"})
        testfiles::write(folder.filePath(QString::fromUtf8(name)), "12");
    const InputFolder found = readInputFolder(folder.path());
    QStringList names;
    for (const InputFile& file : found.files) {
        names.append(file.localfile);
        QCOMPARE(file.size, 2);
        QCOMPARE(file.path, folder.filePath(file.localfile));
    }
    QCOMPARE(names, (QStringList{u".hidden"_s, u"C"_s, u"a-b"_s, u"a/.git/x"_s, u"a/z"_s, u"b"_s,
                                 u"ä"_s, u"\ufffd"_s}));
    QCOMPARE(found.faults, QStringList());
}

void InputFolderTest::emptyFolderHasNoFiles()
{
    const QTemporaryDir folder;
    QDir(folder.path()).mkpath(u"a/b"_s);
    const InputFolder found = readInputFolder(folder.path());
    QVERIFY(found.files.isEmpty());
    QVERIFY(found.faults.isEmpty());
}

void InputFolderTest::tellsThatThereIsNoSuchFolder()
{
    const QTemporaryDir folder;
    testfiles::write(folder.filePath(u"file"_s), "x");
    QCOMPARE(readInputFolder(folder.filePath(u"none"_s)).faults.size(), 1);
    QCOMPARE(readInputFolder(folder.filePath(u"file"_s)).faults.size(), 1);
}

// Qt would follow them.
void InputFolderTest::windowsShortcutsAreFiles()
{
    const QTemporaryDir folder;
    testfiles::write(folder.filePath(u"outside.exe"_s), "program");
    const QString shortcut = folder.filePath(u"input/play.lnk"_s);
    testfiles::write(folder.filePath(u"input/file"_s), "x");
#ifdef Q_OS_WIN
    QVERIFY(QFile::link(folder.filePath(u"outside.exe"_s), shortcut));
#else
    testfiles::write(shortcut, "L\0\0\0 and more");
#endif
    const InputFolder found = readInputFolder(folder.filePath(u"input"_s));
    QCOMPARE(found.faults, QStringList());
    QCOMPARE(found.files.size(), 2);
    QCOMPARE(found.files.at(1).localfile, u"play.lnk"_s);
    QCOMPARE(found.files.at(1).path,
             QFileInfo(folder.path()).canonicalFilePath() + u"/input/play.lnk"_s);
    QCOMPARE(found.files.at(1).size, testfiles::read(shortcut).size());
}

void InputFolderTest::aDrivesRootIsAFolder()
{
    QVERIFY(liesIn(u"/"_s, u"/"_s));
    QVERIFY(liesIn(u"/a"_s, u"/"_s));
    QVERIFY(liesIn(u"D:/a/b"_s, u"D:/"_s));
    QVERIFY(liesIn(u"/a/b"_s, u"/a"_s));
    QVERIFY(!liesIn(u"/ab"_s, u"/a"_s));
    QVERIFY(!liesIn(u"/"_s, u"/a"_s));
}

void InputFolderTest::followsLinksThatStayInside()
{
    SKIP_WITHOUT_LINKS;
    const QTemporaryDir folder;
    testfiles::write(folder.filePath(u"real/file"_s), "content");
    QVERIFY(QFile::link(u"real/file"_s, folder.filePath(u"link"_s)));
    QVERIFY(QFile::link(u"real"_s, folder.filePath(u"other"_s)));
    const InputFolder found = readInputFolder(folder.path());
    QCOMPARE(found.faults, QStringList());
    QCOMPARE(found.files.size(), 3);
    QCOMPARE(found.files.at(0).localfile, u"link"_s);
    QCOMPARE(found.files.at(0).size, 7);
    QCOMPARE(found.files.at(1).localfile, u"other/file"_s);
}

void InputFolderTest::refusesLinks_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("out by an absolute path") << u"/etc/hostname"_s;
    QTest::newRow("out by a relative path") << u"../outside"_s;
    QTest::newRow("to a folder outside") << u".."_s;
    QTest::newRow("to a folder whose name begins alike") << u"../input-other"_s;
    QTest::newRow("nowhere") << u"missing"_s;
    QTest::newRow("to itself") << u"link"_s;
    QTest::newRow("in a circle") << u"."_s;
}

void InputFolderTest::refusesLinks()
{
    SKIP_WITHOUT_LINKS;
    QFETCH(QString, target);
    const QTemporaryDir folder;
    testfiles::write(folder.filePath(u"outside"_s), "x");
    testfiles::write(folder.filePath(u"input-other/file"_s), "x");
    testfiles::write(folder.filePath(u"input/file"_s), "x");
    QVERIFY(QFile::link(target, folder.filePath(u"input/link"_s)));
    const InputFolder found = readInputFolder(folder.filePath(u"input"_s));
    QCOMPARE(found.faults.size(), 1);
    QVERIFY2(found.faults.first().startsWith(u"link: "_s), qPrintable(found.faults.first()));
}

void InputFolderTest::refusesWhatIsNoFile()
{
#ifdef Q_OS_UNIX
    const QTemporaryDir folder;
    QCOMPARE(::mkfifo(QFile::encodeName(folder.filePath(u"pipe"_s)).constData(), 0600), 0);
    QCOMPARE(readInputFolder(folder.path()).faults,
             QStringList(u"pipe: neither a file nor a folder"_s));
#else
    QSKIP("there are no pipes in folders here; run this test on Linux");
#endif
}

void InputFolderTest::refusesUnreadableFiles()
{
#ifdef Q_OS_UNIX
    if (::geteuid() == 0)
        QSKIP("root may read everything; run this test as another user");
#else
    QSKIP("permissions are taken away with Linux's means; run this test on Linux");
#endif
    const QTemporaryDir folder;
    testfiles::write(folder.filePath(u"secret"_s), "x");
    testfiles::write(folder.filePath(u"closed/file"_s), "x");
    QVERIFY(QFile::setPermissions(folder.filePath(u"secret"_s), {}));
    QVERIFY(QFile::setPermissions(folder.filePath(u"closed"_s), {}));
    const QStringList faults = readInputFolder(folder.path()).faults;
    QFile::setPermissions(folder.filePath(u"closed"_s),
                          QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
    QCOMPARE(faults.size(), 2);
}

void InputFolderTest::refusesFilesTooLargeToUnpack()
{
    const QTemporaryDir folder;
    // Holes only; nothing is really written.
    for (const qint64 size : {limits::fileSize - 1, limits::fileSize}) {
        QFile file(folder.filePath(QString::number(size)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(size));
    }
    const InputFolder found = readInputFolder(folder.path());
    QCOMPARE(found.files.size(), 1);
    QCOMPARE(found.files.first().size, limits::fileSize - 1);
    QCOMPARE(found.faults.size(), 1);
    QVERIFY(found.faults.first().startsWith(QString::number(limits::fileSize)));
}

// Old archives leave them behind, and Qt lists none of them.
void InputFolderTest::tellsEachNameThatIsNotUtf8()
{
#ifdef Q_OS_WIN
    QSKIP("Windows has no such names");
#else
    const QTemporaryDir folder;
    const auto make = [&folder](const QByteArray& name) {
        const QByteArray path = QFile::encodeName(folder.path()) + '/' + name;
        const int opened = ::open(path.constData(), O_CREAT | O_WRONLY, 0600);
        QVERIFY(opened >= 0);
        ::close(opened);
    };
    testfiles::write(folder.filePath(u"sub/größe"_s), "1");
    make("gr\xf6\xdf"
         "e");
    make("sub/\xed\xa0\x80");
    QCOMPARE(::mkdir((QFile::encodeName(folder.path()) + "/b\xe4ume").constData(), 0700), 0);
    make("b\xe4ume/inside");
    const InputFolder found = readInputFolder(folder.path());
    QCOMPARE(found.files.size(), 1);
    const QStringList named = found.faults.filter(u"the name is not UTF-8"_s);
    QCOMPARE(named.size(), 3);
    QCOMPARE(named.at(0), uR"(b\xe4ume: the name is not UTF-8)"_s);
    QCOMPARE(named.at(1), uR"(gr\xf6\xdfe: the name is not UTF-8)"_s);
    QCOMPARE(named.at(2), uR"(sub/\xed\xa0\x80: the name is not UTF-8)"_s);
    // Qt's temporary folder cannot remove what Qt does not list.
    std::filesystem::remove_all(QFile::encodeName(folder.path()).toStdString());
#endif
}

void InputFolderTest::judgesNames_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("hint");
    const auto good = [](const QString& path) {
        QTest::newRow(qPrintable(u"good: "_s + path.left(40))) << path << QString();
    };
    const auto bad = [](const QString& path, const char* hint) {
        QTest::newRow(qPrintable(u"bad: "_s + path.left(40))) << path << QString::fromLatin1(hint);
    };
    good(u"bin/client.exe"_s);
    good(u"größe und λ/file"_s);
    good(u"console/nul1.txt"_s);
    good(u"data/package.json"_s);
    good(u"my.package.json"_s);
    // With "Quelra/" in front: 240 characters.
    good(QString(233, u'x'));
    bad(QString(234, u'x'), "241 characters");
    bad(u"nul"_s, "reserved");
    bad(u"a/COM1.txt"_s, "reserved");
    bad(u"a./b"_s, "dot or blank");
    bad(u"a "_s, "dot or blank");
    bad(u"what?"_s, "'?'");
    bad(u"a:b"_s, "':'");
    bad(u"a\\b"_s, "'\\'");
    bad(u"a\tb"_s, "control");
    bad(QStringView(u"half \xd83d of a pair").toString(), "valid Unicode");
    bad(u"package.json"_s, "launcher keeps");
    bad(u"Package.JSON.version"_s, "launcher keeps");
    bad(u"partial.package.json.version"_s, "launcher keeps");
    bad(u"bin/quelra.exe.vornak-new"_s, "launcher keeps");
    bad(u"data.Vornak-Old1/map.bin"_s, "launcher keeps");
    bad(u"QUELRA.EXE.VORNAK-NEW"_s, "launcher keeps");
    bad(u"PARTIAL.PACKAGE.JSON.VERSION"_s, "launcher keeps");
    bad(u"assets.json.sha256"_s, "launcher keeps");
}

void InputFolderTest::judgesNames()
{
    QFETCH(QString, path);
    QFETCH(QString, hint);
    const QStringList faults = pathFaults({path}, u"Quelra"_s);
    QCOMPARE(faults.size(), hint.isEmpty() ? 0 : 1);
    if (!hint.isEmpty()) {
        QVERIFY2(faults.first().startsWith(path + u": "_s), qPrintable(faults.first()));
        QVERIFY2(faults.first().contains(hint), qPrintable(faults.first()));
        QVERIFY2(!faults.first().contains(u'\n'), qPrintable(faults.first()));
    }
}

void InputFolderTest::judgesCollisions_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<bool>("fine");
    QTest::newRow("different") << QStringList{u"a"_s, u"b"_s} << true;
    QTest::newRow("same folder") << QStringList{u"a/x"_s, u"a/y"_s} << true;
    QTest::newRow("same name elsewhere") << QStringList{u"a/x"_s, u"b/x"_s} << true;
    QTest::newRow("sharp s and ss") << QStringList{u"straße"_s, u"strasse"_s} << true;
    QTest::newRow("case") << QStringList{u"a"_s, u"A"_s} << false;
    QTest::newRow("case below") << QStringList{u"d/x/file"_s, u"d/x/FILE"_s} << false;
    QTest::newRow("case of a folder") << QStringList{u"data/a"_s, u"Data/b"_s} << false;
    QTest::newRow("case beyond ASCII") << QStringList{u"ä"_s, u"Ä"_s} << false;
    // In upper case they are one, in lower case two; of the Kelvin sign the reverse holds.
    QTest::newRow("both sigmas") << QStringList{u"\u03c3"_s, u"\u03c2"_s} << false;
    QTest::newRow("Kelvin and k") << QStringList{u"\u212a"_s, u"k"_s} << true;
    QTest::newRow("upper case first") << QStringList{u"DATA/MAP"_s, u"data/map"_s} << false;
    QTest::newRow("twice") << QStringList{u"a"_s, u"a"_s} << false;
    QTest::newRow("file and folder") << QStringList{u"a"_s, u"a/b"_s} << false;
    QTest::newRow("folder and file") << QStringList{u"a/b"_s, u"a"_s} << false;
    QTest::newRow("file and folder by case") << QStringList{u"A"_s, u"a/b"_s} << false;
}

void InputFolderTest::judgesCollisions()
{
    QFETCH(QStringList, paths);
    QFETCH(bool, fine);
    const QStringList faults = pathFaults(paths, u"Quelra"_s);
    QVERIFY2(faults.isEmpty() == fine, qPrintable(faults.join(u'\n')));
    QVERIFY(faults.size() <= 1);
}

void InputFolderTest::judgesVersions_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("fine");
    for (const char* version : {"1.0", "1.0 beta 2", "größe", "..", "a/b", "%41#?"})
        QTest::newRow(version) << QString::fromUtf8(version) << true;
    QTest::newRow("empty") << QString() << false;
    for (const char* version : {" ", " 1", "1 ", "1\n", "\t1", "\u00a01", "1\n2"})
        QTest::newRow(qPrintable(QString::fromUtf8(version).toHtmlEscaped()))
            << QString::fromUtf8(version) << false;
}

void InputFolderTest::judgesVersions()
{
    QFETCH(QString, version);
    QTEST(versionFault(version).isEmpty(), "fine");
}

void InputFolderTest::judgesDirectories_data()
{
    QTest::addColumn<QString>("directory");
    QTest::addColumn<bool>("fine");
    for (const char* directory : {"Quelra", "Quelra beta", "größe", ".hidden"})
        QTest::newRow(directory) << QString::fromUtf8(directory) << true;
    for (const char* directory : {"", ".", "..", "a/b", "a\\b", "nul", "a.", "a ", "a:b", "/a"})
        QTest::newRow(qPrintable(u"not "_s + QLatin1StringView(directory)))
            << QString::fromUtf8(directory) << false;
}

void InputFolderTest::judgesDirectories()
{
    QFETCH(QString, directory);
    QTEST(directoryFault(directory).isEmpty(), "fine");
}

VORNAK_TEST_MAIN(InputFolderTest)
#include "tst_inputfolder.moc"
