#include "package/OrlPackageDoc.h"
#include "package/Sizes.h"
#include "support/ContentTree.h"
#include "support/IsolatedHome.h"

#include <QJsonDocument>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 largest = std::numeric_limits<qint64>::max();
constexpr qint64 smallest = std::numeric_limits<qint64>::min();

const QString documentMessage =
    u"JSON package configuration file could not be parsed, using default package."_s;
const QString assetMessage =
    u"JSON asset configuration file could not be parsed, using default package."_s;

OrlPackageDoc example()
{
    OrlPackageDoc doc;
    doc.version = u"2.4.1-ö"_s;
    doc.executable = u"bin/Quelra.exe"_s;
    doc.generation = u"g7"_s;
    doc.files = {
        {u"files/1.lzma"_s, u"bin/Quelra.exe"_s, u"aa"_s, 12, u"bb"_s, 34},
        {u"files/2.lzma"_s, u"data/\"quoted\".txt"_s, u"cc"_s, largest, u"dd"_s, smallest}};
    return doc;
}

} // namespace

class PackageDocTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsSizesLeniently_data();
    void readsSizesLeniently();
    void sizeAsNumberAndAsStringGiveTheSameEntry();
    void missingSizeReadsAsZero();
    void saturatesNumbersBeyond64Bits();
    void sumsOfSizesCannotOverflow();
    void readsMissingOrForeignMembersAsEmpty();
    void skipsEntriesThatAreNotObjects();
    void readsAPackage();
    void givesTheDefaultPackageAndAMessageForAnythingButAnObject_data();
    void givesTheDefaultPackageAndAMessageForAnythingButAnObject();
    void emptyBodyGivesNoMessage();
    void leavesTheErrorAloneOnSuccess();
    void takesNoErrorPointer();
    void readsOnlyTheFilesOfAnAssetList();
    void writesCompactJsonWithSizesAsStrings();
    void omitsAnEmptyGenerationButKeepsAnEmptyVersion();
    void parsesWhatItWrote();
    void writesTheBytesThatQtWrites();
    void takesATurnAfterEachFile();
    void filesThatAreNoArrayReadAsNone();
};

void PackageDocTest::readsSizesLeniently_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<qint64>("size");
    const auto row = [](const char* json, qint64 size) {
        QTest::newRow(json) << QByteArray(json) << size;
    };
    row("12", 12);
    row("12.9", 12);
    row("-3.7", -3);
    row("-0", 0);
    row("-0.9", 0);
    row("1e3", 1000);
    row("4294967296", 4294967296);
    row("9007199254740993", 9007199254740992); // a double holds no more digits
    row("\"12\"", 12);
    row("\"-7\"", -7);
    row("\"9223372036854775807\"", largest);
    row("\"-9223372036854775808\"", smallest);
    row("\"9223372036854775808\"", 0);
    row("\"1e6\"", 0);
    row("\"0x10\"", 0);
    row("\"12.5\"", 0);
    row("\"twelve\"", 0);
    row("\"\"", 0);
    row("true", 0);
    row("null", 0);
    row("[12]", 0);
    row("{\"a\":12}", 0);
}

void PackageDocTest::readsSizesLeniently()
{
    QFETCH(QByteArray, json);
    const QJsonDocument document = QJsonDocument::fromJson("{\"packedsize\":" + json + "}");
    QVERIFY(document.isObject());
    QTEST(readJsonInt64(document.object().value("packedsize"_L1)), "size");
    QTEST(parseFileEntry(document.object()).packedsize, "size");
}

void PackageDocTest::sizeAsNumberAndAsStringGiveTheSameEntry()
{
    const auto entry = [](const QByteArray& size) {
        return parseFileEntry(
            QJsonDocument::fromJson(R"({"url":"u","packedsize":)" + size + "}").object());
    };
    QCOMPARE(entry("8123456789").packedsize, 8123456789);
    QCOMPARE(entry("8123456789"), entry("\"8123456789\""));
}

void PackageDocTest::missingSizeReadsAsZero()
{
    QCOMPARE(parseFileEntry({}), OrlFile());
    QCOMPARE(readJsonInt64(QJsonValue(QJsonValue::Undefined)), 0);
}

void PackageDocTest::saturatesNumbersBeyond64Bits()
{
    QCOMPARE(readJsonInt64(QJsonValue(1e300)), largest);
    QCOMPARE(readJsonInt64(QJsonValue(-1e300)), smallest);
    QCOMPARE(readJsonInt64(QJsonValue(9223372036854775808.0)), largest);
    QCOMPARE(readJsonInt64(QJsonValue(-9223372036854775808.0)), smallest);
    QCOMPARE(readJsonInt64(QJsonValue(9223372036854774784.0)), 9223372036854774784);
    const auto parsed = [](const QByteArray& number) {
        return readJsonInt64(QJsonDocument::fromJson("[" + number + "]").array().at(0));
    };
    QCOMPARE(parsed("9223372036854775807"), largest);
    QCOMPARE(parsed("9223372036854775808"), largest);
    QCOMPARE(parsed("-9223372036854775808"), smallest);
    QCOMPARE(parsed("1e300"), largest);
    QCOMPARE(parsed("-1e300"), smallest);
}

void PackageDocTest::sumsOfSizesCannotOverflow()
{
    QCOMPARE(addSizes(1, 2), 3);
    QCOMPARE(addSizes(largest, 1), largest);
    QCOMPARE(addSizes(largest, largest), largest);
    QCOMPARE(addSizes(largest - 1, 1), largest);
    QCOMPARE(addSizes(smallest, -1), smallest);
    QCOMPARE(addSizes(smallest, largest), -1);
    QCOMPARE(addSizes(largest, smallest), -1);
}

void PackageDocTest::readsMissingOrForeignMembersAsEmpty()
{
    QString error;
    QCOMPARE(parsePackageDoc("{}", &error), OrlPackageDoc());
    QCOMPARE(
        parsePackageDoc(R"({"version":3,"executable":null,"generation":[],"files":{}})", &error),
        OrlPackageDoc());
    QVERIFY(error.isNull());
    QVERIFY(readJsonString({{u"key"_s, 5}}, "key").isEmpty());
    QCOMPARE(readJsonString({{u"key"_s, u"value"_s}}, "key"), u"value"_s);
}

void PackageDocTest::skipsEntriesThatAreNotObjects()
{
    const OrlPackageDoc doc =
        parsePackageDoc(R"({"files":[7,"text",{"localfile":"a/b.txt"},null,[]]})", nullptr);
    OrlFile expected;
    expected.localfile = u"a/b.txt"_s;
    QCOMPARE(doc.files, QList<OrlFile>{expected});
}

void PackageDocTest::readsAPackage()
{
    QString error;
    const OrlPackageDoc doc = parsePackageDoc(
        R"({"version":"1.2","executable":"x","generation":"g","unknown":[1],"files":[
            {"url":"u1","localfile":"l1","packedhash":"p1","packedsize":1,
             "unpackedhash":"h1","unpackedsize":"2","more":true},
            {"url":"u2"}]})",
        &error);
    OrlFile second;
    second.url = u"u2"_s;
    QCOMPARE(doc.version, u"1.2"_s);
    QCOMPARE(doc.executable, u"x"_s);
    QCOMPARE(doc.generation, u"g"_s);
    QCOMPARE(doc.files, (QList<OrlFile>{{u"u1"_s, u"l1"_s, u"p1"_s, 1, u"h1"_s, 2}, second}));
    QVERIFY(error.isNull());
}

void PackageDocTest::givesTheDefaultPackageAndAMessageForAnythingButAnObject_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("array") << QByteArray(R"([{"version":"1"}])");
    QTest::newRow("scalar") << QByteArray("12");
    QTest::newRow("page") << QByteArray("<html>not found</html>");
    QTest::newRow("cut short") << QByteArray(R"({"version":"1","files":[)");
    QTest::newRow("blank") << QByteArray(" ");
    QTest::newRow("zero byte") << QByteArray("\0", 1);
}

void PackageDocTest::givesTheDefaultPackageAndAMessageForAnythingButAnObject()
{
    QFETCH(QByteArray, bytes);
    QString error = u"earlier"_s;
    QCOMPARE(parsePackageDoc(bytes, &error), OrlPackageDoc());
    QCOMPARE(error, documentMessage);
    error = u"earlier"_s;
    QVERIFY(parseAssetList(bytes, &error).isEmpty());
    QCOMPARE(error, assetMessage);
}

void PackageDocTest::emptyBodyGivesNoMessage()
{
    QString error = u"Download failed: the reason"_s;
    QCOMPARE(parsePackageDoc({}, &error), OrlPackageDoc());
    QVERIFY(parseAssetList({}, &error).isEmpty());
    QCOMPARE(error, u"Download failed: the reason"_s);
}

void PackageDocTest::leavesTheErrorAloneOnSuccess()
{
    QString error = u"earlier"_s;
    QCOMPARE(parsePackageDoc(R"({"version":"1"})", &error).version, u"1"_s);
    QCOMPARE(parseAssetList(R"({"files":[{}]})", &error).size(), 1);
    QCOMPARE(error, u"earlier"_s);
}

void PackageDocTest::takesNoErrorPointer()
{
    QCOMPARE(parsePackageDoc("[]", nullptr), OrlPackageDoc());
    QVERIFY(parseAssetList("nothing", nullptr).isEmpty());
}

void PackageDocTest::readsOnlyTheFilesOfAnAssetList()
{
    QString error;
    const QList<OrlFile> files =
        parseAssetList(R"({"version":"9","files":[{"url":"u","unpackedsize":5}]})", &error);
    OrlFile expected;
    expected.url = u"u"_s;
    expected.unpackedsize = 5;
    QCOMPARE(files, QList<OrlFile>{expected});
    QVERIFY(parseAssetList(R"({"version":"9"})", &error).isEmpty());
    QVERIFY(error.isNull());
}

void PackageDocTest::writesCompactJsonWithSizesAsStrings()
{
    OrlPackageDoc doc;
    doc.version = u"1.5"_s;
    doc.executable = u"bin/run"_s;
    doc.generation = u"gen"_s;
    doc.files = {{u"f/1"_s, u"a.txt"_s, u"p"_s, 7, u"q"_s, 8123456789}};
    QCOMPARE(serializePackageDoc(doc),
             QByteArray(R"({"executable":"bin/run","files":[{"localfile":"a.txt",)"
                        R"("packedhash":"p","packedsize":"7","unpackedhash":"q",)"
                        R"("unpackedsize":"8123456789","url":"f/1"}],)"
                        R"("generation":"gen","version":"1.5"})"));
}

void PackageDocTest::omitsAnEmptyGenerationButKeepsAnEmptyVersion()
{
    QCOMPARE(serializePackageDoc({}), QByteArray(R"({"executable":"","files":[],"version":""})"));
}

void PackageDocTest::parsesWhatItWrote()
{
    QCOMPARE(parsePackageDoc(serializePackageDoc(example()), nullptr), example());
    QCOMPARE(parsePackageDoc(serializePackageDoc({}), nullptr), OrlPackageDoc());
}

void PackageDocTest::writesTheBytesThatQtWrites()
{
    OrlPackageDoc odd = example();
    odd.executable = u"a\"b\\c\u00e4\n\"files\":[]"_s;
    odd.version = u"\"files\":[]}"_s;
    OrlPackageDoc plain = example();
    plain.generation.clear();
    for (const OrlPackageDoc& doc : {example(), odd, plain, OrlPackageDoc()}) {
        const QByteArray bytes = serializePackageDoc(doc);
        QCOMPARE(QJsonDocument::fromJson(bytes).toJson(QJsonDocument::Compact), bytes);
        QCOMPARE(parsePackageDoc(bytes, nullptr), doc);
    }
}

void PackageDocTest::takesATurnAfterEachFile()
{
    OrlPackageDoc doc;
    doc.files.resize(100);
    int turns = 0;
    QCOMPARE(serializePackageDoc(doc, [&turns] { return ++turns > 0; }), serializePackageDoc(doc));
    QCOMPARE(turns, 100);
    turns = 0;
    QCOMPARE(serializePackageDoc(doc, [&turns] { return ++turns < 50; }), QByteArray());
    QCOMPARE(turns, 50);
}

void PackageDocTest::filesThatAreNoArrayReadAsNone()
{
    QCOMPARE(parsePackageDoc(R"({"version":"1","files":"none"})", nullptr).files.size(), 0);
    QVERIFY(parseAssetList(R"({"files":17})", nullptr).isEmpty());
}

VORNAK_TEST_MAIN(PackageDocTest)
#include "tst_packagedoc.moc"
