#include "package/LauncherMetadata.h"
#include "package/PackageClient.h"
#include "support/ContentTree.h"
#include "support/IsolatedHome.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString packageMessage =
    u"JSON package configuration file could not be parsed, using default package."_s;

LauncherBuild build(const QString& os, const QString& architecture)
{
    LauncherBuild result;
    result.os = os;
    result.architecture = architecture;
    return result;
}

} // namespace

class LauncherMetadataTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheWholeDocument();
    void readsWrongTypesAsMissing();
    void aStringIsNoConsentToInstall();
    void skipsPackagesAndBuildsThatAreNotObjects();
    void reportsAnythingButAnObject();
    void emptyBodyGivesNoMessage();
    void savesTheBytesAsTheyCame();
    void aDamagedDocumentKeepsTheSavedCopy();
    void savesNothingWithoutADataFolder();
    void passesOverADataFolderThatCannotBeMade();
    void makesTheDataFolder();
    void fetchesFromTheBaseAddress();
    void reportsAFailedFetch();
    void selectsTheBuildForThePlatform_data();
    void selectsTheBuildForThePlatform();
    void selectsNothingFromNothing();
    void namesItsPlatform();
    void fetchesTextTrimmed();
    void joinsPlainHintTexts_data();
    void joinsPlainHintTexts();
    void failedHintsGiveNoText();
};

void LauncherMetadataTest::readsTheWholeDocument()
{
    LauncherMetadata expected;
    LauncherBuild own = build(u"windows"_s, u"x86_64"_s);
    own.url = QUrl(u"https://a.example/launcher/self/package.json"_s);
    own.versionurl = QUrl(u"self.version"_s);
    expected.launcherBuilds = {own};
    LauncherPackage package;
    package.name = u"Quelra"_s;
    package.variant = u"preview"_s;
    package.directoryname = u"Preview"_s;
    package.logolinktarget = u"https://www.a.example"_s;
    package.installautomatically = true;
    LauncherBuild client = build(u"windows"_s, u"arm64;x86_64"_s);
    client.url = QUrl(u"https://a.example/launcher/client/package.json"_s);
    client.versionurl = QUrl(u"https://a.example/launcher/client/version"_s);
    client.assetsurl = QUrl(u"https://a.example/launcher/assets/assets.json"_s);
    client.assetsversionurl = QUrl(u"https://a.example/launcher/assets/version"_s);
    package.builds = {client, build(u"linux"_s, u"x86_64"_s)};
    expected.packages = {package, LauncherPackage()};
    expected.hints = QUrl(u"https://a.example/hints.json"_s);
    QString error;
    bool isDocument = false;
    QCOMPARE(readLauncherMetadata(metadataJson(expected), &error, &isDocument), expected);
    QVERIFY(error.isNull());
    QVERIFY(isDocument);
}

void LauncherMetadataTest::readsWrongTypesAsMissing()
{
    QString error;
    const QByteArray bytes = R"({"launcher":[1],"packages":{"name":"x"},"hints":7,"more":{}})";
    QCOMPARE(readLauncherMetadata(bytes, &error), LauncherMetadata());
    QCOMPARE(readLauncherMetadata("{}", &error), LauncherMetadata());
    QCOMPARE(readLauncherMetadata(R"({"launcher":{"builds":"none"}})", &error), LauncherMetadata());
    const LauncherMetadata metadata = readLauncherMetadata(
        R"({"packages":[{"name":1,"variant":null,"directoryname":[],"logolinktarget":{},
            "builds":[{"os":4,"architecture":false,"url":1,"versionurl":{}}]}]})",
        &error);
    LauncherPackage expected;
    expected.builds = {LauncherBuild()};
    QCOMPARE(metadata.packages, QList<LauncherPackage>{expected});
    QVERIFY(error.isNull());
}

void LauncherMetadataTest::aStringIsNoConsentToInstall()
{
    const auto consent = [](const QByteArray& json) {
        return readLauncherMetadata(R"({"packages":[{"installautomatically":)" + json + "}]}",
                                    nullptr)
            .packages.at(0)
            .installautomatically;
    };
    QVERIFY(consent("true"));
    QVERIFY(!consent("false"));
    QVERIFY(!consent("\"true\""));
    QVERIFY(!consent("1"));
    QVERIFY(!consent("null"));
}

void LauncherMetadataTest::skipsPackagesAndBuildsThatAreNotObjects()
{
    const LauncherMetadata metadata = readLauncherMetadata(
        R"({"packages":[3,"two",{"name":"first","builds":[null,{"os":"windows"}]}],
            "launcher":{"builds":["x",{"os":"mac"}]}})",
        nullptr);
    QCOMPARE(metadata.packages.size(), 1);
    QCOMPARE(metadata.packages.at(0).name, u"first"_s);
    QCOMPARE(metadata.packages.at(0).builds.size(), 1);
    QCOMPARE(metadata.launcherBuilds.size(), 1);
    QCOMPARE(metadata.launcherBuilds.at(0).os, u"mac"_s);
}

void LauncherMetadataTest::reportsAnythingButAnObject()
{
    for (const QByteArray& bytes : {QByteArray("[]"), QByteArray("<html>"), QByteArray("\"x\"")}) {
        QString error;
        bool isDocument = true;
        QCOMPARE(readLauncherMetadata(bytes, &error, &isDocument), LauncherMetadata());
        QCOMPARE(error, packageMessage);
        QVERIFY(!isDocument);
        QCOMPARE(readLauncherMetadata(bytes, nullptr), LauncherMetadata());
    }
}

void LauncherMetadataTest::emptyBodyGivesNoMessage()
{
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setDataFolder(folder.path());
    QString error = u"Download failed: why"_s;
    QCOMPARE(client.parseLauncherMetadata({}, &error), LauncherMetadata());
    QCOMPARE(error, u"Download failed: why"_s);
    QVERIFY(testfiles::list(folder.path()).isEmpty());
}

void LauncherMetadataTest::savesTheBytesAsTheyCame()
{
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setDataFolder(folder.path());
    const QByteArray bytes = " {\r\n \"packages\" : [ ] ,\t\"unknown\":\"\xc3\xb6\" }\n\n";
    client.parseLauncherMetadata("{}", nullptr);
    client.parseLauncherMetadata(bytes, nullptr);
    QCOMPARE(testfiles::read(folder.filePath(u"launchermetadata.json"_s)), bytes);
    QCOMPARE(testfiles::list(folder.path()), QStringList{u"launchermetadata.json"_s});
}

void LauncherMetadataTest::aDamagedDocumentKeepsTheSavedCopy()
{
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setDataFolder(folder.path());
    const QString path = folder.filePath(u"launchermetadata.json"_s);
    testfiles::write(path, "{\"old\":1}");
    QString error;
    client.parseLauncherMetadata("{\"new\":", &error);
    QCOMPARE(error, packageMessage);
    QCOMPARE(testfiles::read(path), QByteArray("{\"old\":1}"));
    client.parseLauncherMetadata("[]", &error);
    client.parseLauncherMetadata({}, &error);
    QCOMPARE(testfiles::read(path), QByteArray("{\"old\":1}"));
}

void LauncherMetadataTest::savesNothingWithoutADataFolder()
{
    QTemporaryDir current;
    const QString before = QDir::currentPath();
    QDir::setCurrent(current.path());
    PackageClient client(nullptr);
    client.parseLauncherMetadata("{}", nullptr);
    QDir::setCurrent(before);
    QVERIFY(testfiles::list(current.path()).isEmpty());
    QVERIFY(!QFile::exists(u"/launchermetadata.json"_s));
}

void LauncherMetadataTest::passesOverADataFolderThatCannotBeMade()
{
    QTemporaryDir folder;
    testfiles::write(folder.filePath(u"file"_s), "x");
    PackageClient client(nullptr);
    client.setDataFolder(folder.filePath(u"file/below"_s));
    QString error;
    QCOMPARE(client.parseLauncherMetadata(R"({"packages":[{"name":"n"}]})", &error).packages.size(),
             1);
    QVERIFY(error.isNull());
}

void LauncherMetadataTest::makesTheDataFolder()
{
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setDataFolder(folder.filePath(u"a/b"_s));
    client.parseLauncherMetadata("{}", nullptr);
    QCOMPARE(testfiles::list(folder.path()), QStringList{u"a/b/launchermetadata.json"_s});
}

void LauncherMetadataTest::fetchesFromTheBaseAddress()
{
    ScriptedHttpServer server;
    ContentTree tree(server);
    tree.publish();
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setBaseUrl(server.baseUrl() + u"///"_s);
    client.setDataFolder(folder.path());
    QString error;
    QCOMPARE(client.fetchLauncherMetadata(&error), tree.metadata);
    QVERIFY(error.isNull());
    QCOMPARE(server.paths(), QStringList{u"/launcher/quelrametadata.json"_s});
    QCOMPARE(testfiles::read(folder.filePath(u"launchermetadata.json"_s)),
             metadataJson(tree.metadata));
}

void LauncherMetadataTest::reportsAFailedFetch()
{
    ScriptedHttpServer server;
    QTemporaryDir folder;
    PackageClient client(nullptr);
    client.setBaseUrl(server.baseUrl());
    client.setDataFolder(folder.path());
    QString error;
    QCOMPARE(client.fetchLauncherMetadata(&error), LauncherMetadata());
    QVERIFY2(error.startsWith("Download failed: "_L1), qUtf8Printable(error));
    QVERIFY(testfiles::list(folder.path()).isEmpty());
}

void LauncherMetadataTest::selectsTheBuildForThePlatform_data()
{
    QTest::addColumn<QStringList>("builds");
    QTest::addColumn<int>("selected");
    const auto row = [](const char* name, const QStringList& builds, int selected) {
        QTest::newRow(name) << builds << selected;
    };
    row("exact", {u"windows x86_64"_s}, 0);
    row("first exact", {u"windows x86"_s, u"windows x86_64"_s, u"windows x86_64"_s}, 1);
    row("one of several", {u"windows x86"_s, u"windows arm64;x86_64"_s}, 1);
    row("first of the system as fallback",
        {u"linux x86_64"_s, u"windows x86"_s, u"windows arm64"_s}, 1);
    row("no build for the system", {u"linux x86_64"_s, u"mac x86_64"_s}, -1);
    row("system in capitals", {u"Windows x86_64"_s}, -1);
    row("semicolon at the end", {u"windows x86"_s, u"windows x86_64;"_s}, 1);
    row("capitals do not match", {u"windows x86"_s, u"windows X86_64"_s}, 0);
    row("capitals as fallback", {u"windows X86_64"_s, u"windows x86"_s}, 0);
    row("part of a name does not match", {u"windows arm"_s, u"windows x86_64v3"_s}, 0);
    row("blanks count", {u"windows arm"_s, u"windows arm64; x86_64"_s}, 0);
    row("empty architecture as fallback", {u"windows "_s}, 0);
}

void LauncherMetadataTest::selectsTheBuildForThePlatform()
{
    QFETCH(QStringList, builds);
    QFETCH(int, selected);
    QList<LauncherBuild> list;
    for (const QString& text : builds)
        list.append(build(text.section(u' ', 0, 0), text.section(u' ', 1)));
    const LauncherBuild* found = selectBuild(list, u"windows"_s, u"x86_64"_s);
    QCOMPARE(found ? static_cast<int>(found - list.constData()) : -1, selected);
}

void LauncherMetadataTest::selectsNothingFromNothing()
{
    QVERIFY(!selectBuild({}, u"windows"_s, u"x86_64"_s));
}

void LauncherMetadataTest::namesItsPlatform()
{
    QCOMPARE(PackageClient::currentOs(), u"windows"_s);
    QCOMPARE(PackageClient::currentArchitecture(), u"x86_64"_s);
}

void LauncherMetadataTest::fetchesTextTrimmed()
{
    ScriptedHttpServer server;
    server.route(u"/v"_s, " \r\n 1.0-\xc3\xb6 b\t\n");
    PackageClient client(nullptr);
    client.setBaseUrl(server.baseUrl());
    QString error;
    QCOMPARE(client.fetchText(server.url(u"/v"_s), &error), u"1.0-ö b"_s);
    QVERIFY(error.isNull());
    QCOMPARE(client.fetchText(server.url(u"/missing"_s), &error), QString());
    QVERIFY(error.startsWith("Download failed: "_L1));
}

void LauncherMetadataTest::joinsPlainHintTexts_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const char* json, const char* text) {
        QTest::newRow(name) << QByteArray(json) << QString::fromUtf8(text);
    };
    row("array", R"(["one","two"])", "one\n\ntwo");
    row("object", R"({"hints":["one",{"text":"two"}],"title":"t"})", "one\n\ntwo");
    row("empty strings stay", R"(["","b",""])", "\n\nb\n\n");
    row("empty objects go", R"([{"text":""},{"hint":""},{},{"text":"a"}])", "a");
    row("text before hint", R"([{"text":"t","hint":"h"},{"hint":"g"}])", "t\n\ng");
    row("hint stands in for a text of another type", R"([{"text":4,"hint":"h"}])", "h");
    row("hint does not stand in for an empty text", R"([{"text":"","hint":"h"},"z"])", "z");
    row("rich text is not read", R"([{"title":"t","richText":"r"},"z"])", "z");
    row("other elements go", R"([1,null,true,["x"],"z"])", "z");
    row("object without a list", R"({"hints":5})", "");
    row("no list", R"("text")", "");
    row("no document", "<html>", "");
}

void LauncherMetadataTest::joinsPlainHintTexts()
{
    QFETCH(QByteArray, json);
    ScriptedHttpServer server;
    server.route(u"/texts.json"_s, json);
    PackageClient client(nullptr);
    QString error;
    QTEST(client.fetchHintTexts(server.url(u"/texts.json"_s), &error), "text");
    QVERIFY(error.isNull());
}

void LauncherMetadataTest::failedHintsGiveNoText()
{
    ScriptedHttpServer server;
    PackageClient client(nullptr);
    QString error;
    QCOMPARE(client.fetchHintTexts(server.url(u"/texts.json"_s), &error), QString());
    QVERIFY(error.startsWith("Download failed: "_L1));
}

VORNAK_TEST_MAIN(LauncherMetadataTest)
#include "tst_launchermetadata.moc"
