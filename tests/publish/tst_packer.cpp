#include "package/Unpack.h"
#include "publish/Packer.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QtEndian>

#include <bit>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

constexpr PackLevel fast{1, false};

/// Hands out at most a few bytes at a time.
class SlowDevice : public QBuffer
{
public:
    using QBuffer::QBuffer;

protected:
    qint64 readData(char* data, qint64 size) override
    {
        return QBuffer::readData(data, qMin<qint64>(size, 7));
    }
};

QByteArray packed(const QByteArray& content, const PackLevel& level, PackedFile* result = nullptr)
{
    QBuffer input;
    input.setData(content);
    input.open(QIODevice::ReadOnly);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    QString error;
    const auto file = packDevice(input, content.size(), output, level, &error);
    if (!file)
        qFatal("packing failed: %s", qPrintable(error));
    if (result)
        *result = *file;
    return output.data();
}

} // namespace

class PackerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksToTheSameBytes_data();
    void unpacksToTheSameBytes();
    void stockXzReadsIt_data() { unpacksToTheSameBytes_data(); }
    void stockXzReadsIt();
    void dictionaryIsNoLargerThanTheFileNeeds_data();
    void dictionaryIsNoLargerThanTheFileNeeds();
    void strongestLevelIsTheStrongestWithinTheDecodersMemory();
    void piecesOfTheInputDoNotShowInTheOutput();
    void failsWhenTheInputIsShorter();
    void failsWhenTheInputIsLonger();
    void failsWhenTheOutputIsFull();
    void reportsEveryByte();
    void readsLevels_data();
    void readsLevels();
    void memoryDoesNotGrowWithTheFile();
};

void PackerTest::unpacksToTheSameBytes_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("level");
    for (const int level : {0, 4, 8}) {
        const auto row = [level](const char* name, const QByteArray& content) {
            QTest::addRow("%s at level %d", name, level) << content << level;
        };
        row("empty", {});
        row("one byte", "x");
        row("just below a dictionary", testfiles::textBytes(4095, 1));
        row("a dictionary", testfiles::textBytes(4096, 2));
        row("just above a dictionary", testfiles::textBytes(4097, 3));
        row("prose", testfiles::textBytes(900'000, 4));
        row("noise", testfiles::randomBytes(900'000, 5));
        row("zeros", QByteArray(3'000'000, '\0'));
    }
}

void PackerTest::unpacksToTheSameBytes()
{
    QFETCH(QByteArray, content);
    QFETCH(int, level);
    PackedFile file;
    const QByteArray bytes = packed(content, {level, false}, &file);
    QByteArray unpacked("untouched");
    QVERIFY(unpackLzma(bytes, unpacked, nullptr));
    QCOMPARE(unpacked, content);

    QCOMPARE(file.packedhash, hashBytes(bytes));
    QCOMPARE(file.packedsize, bytes.size());
    QCOMPARE(file.unpackedhash, hashBytes(content));
    QCOMPARE(file.unpackedsize, content.size());

    QCOMPARE(qFromLittleEndian<qint64>(bytes.constData() + 5), content.size());
    // With its size hidden, a stream without an end marker must not come to an end.
    QByteArray hidden = bytes;
    qToLittleEndian(qint64(-1), hidden.data() + 5);
    QVERIFY(!unpackLzma(hidden, unpacked, nullptr));
}

void PackerTest::stockXzReadsIt()
{
    if (QStandardPaths::findExecutable(u"xz"_s).isEmpty())
        QSKIP("the program xz is missing; on Debian: apt-get install xz-utils");
    QFETCH(QByteArray, content);
    QFETCH(int, level);
    QProcess xz;
    xz.start(u"xz"_s, {u"--format=lzma"_s, u"-dc"_s});
    QVERIFY(xz.waitForStarted());
    xz.write(packed(content, {level, true}));
    xz.closeWriteChannel();
    QVERIFY(xz.waitForFinished());
    QCOMPARE(xz.readAllStandardError(), QByteArray());
    QCOMPARE(xz.exitCode(), 0);
    QCOMPARE(xz.readAllStandardOutput(), content);
}

void PackerTest::dictionaryIsNoLargerThanTheFileNeeds_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<quint32>("dictionary");
    QTest::newRow("empty") << qint64(0) << quint32(4096);
    QTest::newRow("one byte") << qint64(1) << quint32(4096);
    QTest::newRow("the least") << qint64(4096) << quint32(4096);
    QTest::newRow("a byte over") << qint64(4097) << quint32(8192);
    QTest::newRow("1 MiB") << (qint64(1) << 20) << (quint32(1) << 20);
    QTest::newRow("1 MiB and a byte") << (qint64(1) << 20) + 1 << (quint32(1) << 21);
    QTest::newRow("the level's own") << (qint64(1) << 25) << (quint32(1) << 25);
    QTest::newRow("more") << (qint64(1) << 25) + 1 << (quint32(1) << 25);
    QTest::newRow("the largest") << (qint64(1) << 31) - 1 << (quint32(1) << 25);
}

void PackerTest::dictionaryIsNoLargerThanTheFileNeeds()
{
    QFETCH(qint64, size);
    QTEST(dictionarySize(size, PackLevel()), "dictionary");
    QVERIFY(std::has_single_bit(dictionarySize(size, PackLevel())));
    if (size <= 8192) {
        const QByteArray bytes = packed(QByteArray(size, 'x'), fast);
        QTEST(qFromLittleEndian<quint32>(bytes.constData() + 1), "dictionary");
    }
}

void PackerTest::strongestLevelIsTheStrongestWithinTheDecodersMemory()
{
    constexpr qint64 limit = qint64(64) << 20;
    QVERIFY(decoderMemory({PackLevel::strongest, true}) <= limit);
    QVERIFY(decoderMemory({PackLevel::strongest + 1, true}) > limit);
}

void PackerTest::piecesOfTheInputDoNotShowInTheOutput()
{
    const QByteArray content = testfiles::textBytes(50'000, 9);
    SlowDevice slow;
    slow.setData(content);
    slow.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    QVERIFY(packDevice(slow, content.size(), output, fast, nullptr));
    QCOMPARE(output.data(), packed(content, fast));
}

void PackerTest::failsWhenTheInputIsShorter()
{
    QBuffer input;
    input.setData(QByteArray(999, 'x'));
    input.open(QIODevice::ReadOnly);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    QString error;
    QVERIFY(!packDevice(input, 1000, output, fast, &error));
    QVERIFY(!error.isEmpty());
}

void PackerTest::failsWhenTheInputIsLonger()
{
    QBuffer input;
    input.setData(QByteArray(1001, 'x'));
    input.open(QIODevice::ReadOnly);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    QString error;
    QVERIFY(!packDevice(input, 1000, output, fast, &error));
    QVERIFY(!error.isEmpty());
}

void PackerTest::failsWhenTheOutputIsFull()
{
    if (!QFile::exists(u"/dev/full"_s))
        QSKIP("there is no /dev/full here; run this test on Linux");
    const QByteArray content = testfiles::randomBytes(2'000'000, 3);
    QBuffer input;
    input.setData(content);
    input.open(QIODevice::ReadOnly);
    QFile output(u"/dev/full"_s);
    QVERIFY(output.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    QString error;
    QVERIFY(!packDevice(input, content.size(), output, fast, &error));
    QVERIFY(!error.isEmpty());
}

void PackerTest::reportsEveryByte()
{
    const QByteArray content = testfiles::textBytes(1'000'000, 2);
    QBuffer input;
    input.setData(content);
    input.open(QIODevice::ReadOnly);
    QBuffer output;
    output.open(QIODevice::WriteOnly);
    qint64 seen = 0;
    QVERIFY(packDevice(input, content.size(), output, fast, nullptr,
                       [&seen](qint64 bytes) { seen += bytes; }));
    QCOMPARE(seen, content.size());
}

void PackerTest::readsLevels_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("level");
    QTest::addColumn<bool>("extreme");
    QTest::newRow("fastest") << u"0"_s << 0 << false;
    QTest::newRow("extreme") << u"6e"_s << 6 << true;
    QTest::newRow("strongest") << u"8e"_s << 8 << true;
    for (const char* text : {"", "9", "9e", "e", "-1", "10", "8 ", "8E", "8ee", "x"})
        QTest::newRow(qPrintable(u"not "_s + QLatin1StringView(text)))
            << QString::fromLatin1(text) << -1 << false;
}

void PackerTest::readsLevels()
{
    QFETCH(QString, text);
    QFETCH(int, level);
    QFETCH(bool, extreme);
    const auto read = parsePackLevel(text);
    QCOMPARE(read.has_value(), level >= 0);
    if (read) {
        QCOMPARE(read->level, level);
        QCOMPARE(read->extreme, extreme);
    }
}

void PackerTest::memoryDoesNotGrowWithTheFile()
{
    const PackLevel level;
    QCOMPARE(encoderMemory(qint64(1) << 31, level), encoderMemory(qint64(1) << 25, level));
    QVERIFY(encoderMemory(4096, level) < encoderMemory(qint64(1) << 25, level));
}

VORNAK_TEST_MAIN(PackerTest)
#include "tst_packer.moc"
