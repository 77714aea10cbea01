#include "package/AllocationProbe.h"
#include "package/StreamUnpacker.h"
#include "package/UnpackKit.h"
#include "support/IsolatedHome.h"

#include <QRandomGenerator>
#include <QTest>
#include <QtEndian>

#include <functional>
#include <utility>

using namespace Qt::StringLiterals;
using namespace unpackkit;

namespace {

/// What came of a stream that arrived in pieces.
struct Streamed
{
    bool ended = false;
    bool failed = false;
    QByteArray out;
};

/// Feeds the stream in pieces of the sizes that `nextSize` tells. Each piece lies in memory of its
/// own, which is gone when the next one is asked for.
Streamed stream(const QByteArray& packed, const std::function<qsizetype()>& nextSize)
{
    StreamUnpacker unpacker;
    Streamed result;
    const auto decode = [&] {
        while (!unpacker.needsInput() && !unpacker.hasEnded() && !unpacker.hasFailed())
            result.out += unpacker.decode();
    };
    for (qsizetype offset = 0; offset < packed.size() && unpacker.needsInput();) {
        const qsizetype size = qMin(nextSize(), packed.size() - offset);
        const QByteArray piece(packed.constData() + offset, size);
        unpacker.addInput(piece);
        decode();
        offset += size;
    }
    unpacker.endInput();
    decode();
    result.ended = unpacker.hasEnded();
    result.failed = unpacker.hasFailed();
    return result;
}

Streamed streamInPieces(const QByteArray& packed, qsizetype size)
{
    return stream(packed, [size] { return size; });
}

/// Pieces of a few bytes and of many, in turn at random.
Streamed streamAtRandom(const QByteArray& packed, QRandomGenerator& generator)
{
    return stream(packed, [&generator, &packed] {
        const int most = generator.bounded(2) == 0 ? 20 : static_cast<int>(packed.size());
        return qsizetype(1 + generator.bounded(qMax(most, 1)));
    });
}

QByteArray mutate(QByteArray packed, QRandomGenerator& generator)
{
    const int changes = generator.bounded(4);
    for (int i = 0; i < changes && !packed.isEmpty(); ++i) {
        const qsizetype at = generator.bounded(static_cast<int>(packed.size()));
        switch (generator.bounded(4)) {
        case 0:
            packed[at] = static_cast<char>(packed.at(at) ^ (1 << generator.bounded(8)));
            break;
        case 1:
            packed.truncate(at);
            break;
        case 2:
            packed.append(testfiles::randomBytes(generator.bounded(50), generator.generate()));
            break;
        default:
            if (packed.size() >= headerSize)
                packed = withDeclaredSize(packed, generator.bounded(6000U));
        }
    }
    return packed;
}

QByteArray randomStream(QRandomGenerator& generator)
{
    PackOptions options;
    options.size = static_cast<PackOptions::Size>(generator.bounded(3));
    options.lc = generator.bounded(5);
    options.lp = generator.bounded(5 - options.lc);
    options.pb = generator.bounded(5);
    options.dictionary = 0x1000U << generator.bounded(8);
    const qsizetype size = generator.bounded(5000);
    const quint32 seed = generator.generate();
    return packLzma(generator.bounded(2) == 0 ? testfiles::textBytes(size, seed)
                                              : testfiles::randomBytes(size, seed),
                    options);
}

/// What holds for every input: an output that the pieces gave is that of the whole.
bool agrees(const Streamed& streamed, const Outcome& whole)
{
    return !streamed.ended || succeedsWith(whole, streamed.out);
}

} // namespace

/// A stream that arrives in pieces unpacks to what unpackLzma() makes of the whole.
class StreamUnpackerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksCutAtEveryByte_data();
    void unpacksCutAtEveryByte();
    void unpacksByteByByte_data() { unpacksCutAtEveryByte_data(); }
    void unpacksByteByByte();
    void agreesWithTheWholeOnRandomStreams();
    void unpacksLongStreamsAndLargeExpansions();
    void waitsForWhatJustifiesTheDictionary();
    void failsWhenTheEndIsMissing();
    void anEarlyMarkerIsLeftToTheWhole();
};

// These forms must not need a second reading: that would take the whole time again.
void StreamUnpackerTest::unpacksCutAtEveryByte_data()
{
    QTest::addColumn<PackOptions::Size>("size");
    QTest::newRow("known") << PackOptions::Size::Known;
    QTest::newRow("unknown") << PackOptions::Size::Unknown;
}

void StreamUnpackerTest::unpacksCutAtEveryByte()
{
    QFETCH(PackOptions::Size, size);
    for (const QByteArray& content : contents()) {
        const QByteArray packed = pack(content, size);
        for (qsizetype cut = 1; cut < packed.size(); cut += cut < 60 ? 1 : 37) {
            bool first = true;
            const Streamed streamed =
                stream(packed, [&] { return std::exchange(first, false) ? cut : packed.size(); });
            QVERIFY2(streamed.ended && streamed.out == content,
                     QByteArray::number(cut).constData());
        }
    }
}

void StreamUnpackerTest::unpacksByteByByte()
{
    QFETCH(PackOptions::Size, size);
    for (const QByteArray& content : contents()) {
        const Streamed streamed = streamInPieces(pack(content, size) + "trailing", 1);
        QVERIFY(streamed.ended);
        QCOMPARE(streamed.out, content);
    }
}

void StreamUnpackerTest::agreesWithTheWholeOnRandomStreams()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator generator(seed);
    int ended = 0;
    for (int round = 0; round < 2000; ++round) {
        const QByteArray input = mutate(randomStream(generator), generator);
        const Outcome whole = unpack(input);
        const Streamed streamed = streamAtRandom(input, generator);
        ended += streamed.ended ? 1 : 0;
        QVERIFY2(agrees(streamed, whole), ("seed " + QByteArray::number(seed) + ", round " +
                                           QByteArray::number(round) + ", input " + input.toHex())
                                              .constData());
    }
    QVERIFY(ended > 300);
}

void StreamUnpackerTest::unpacksLongStreamsAndLargeExpansions()
{
    for (const QByteArray& content :
         {testfiles::textBytes(1'000'000), testfiles::randomBytes(1'000'000, 5),
          QByteArray(8 * 0x100000, '\0')}) {
        for (const auto size : {PackOptions::Size::Known, PackOptions::Size::Unknown}) {
            const Streamed streamed = streamInPieces(pack(content, size), 16'384);
            QVERIFY(streamed.ended);
            QVERIFY(streamed.out == content);
        }
    }
}

void StreamUnpackerTest::waitsForWhatJustifiesTheDictionary()
{
    const QByteArray content = testfiles::randomBytes(400'000, 8);
    QByteArray packed = pack(content, PackOptions::Size::Unknown);
    // 64 MiB, which some 9 kB of input can need.
    qToLittleEndian(0x4000000U, packed.data() + 1);
    StreamUnpacker unpacker;
    const AllocationProbe probe;
    unpacker.addInput(QByteArrayView(packed).first(5000));
    QVERIFY(unpacker.needsInput());
    QVERIFY(probe.largest() < 100'000);
    QVERIFY(streamInPieces(packed, 1000).out == content);
    // What is over before that is unpacked with a smaller one.
    QByteArray tiny = pack("tiny", PackOptions::Size::Unknown);
    qToLittleEndian(0xffffffffU, tiny.data() + 1);
    const AllocationProbe tinyProbe;
    const Streamed streamed = streamInPieces(tiny, 7);
    QVERIFY(tinyProbe.largest() < 0x100000);
    QVERIFY(streamed.ended);
    QCOMPARE(streamed.out, QByteArray("tiny"));
}

void StreamUnpackerTest::failsWhenTheEndIsMissing()
{
    for (const auto size : {PackOptions::Size::Known, PackOptions::Size::Unknown}) {
        const QByteArray packed = pack(testfiles::textBytes(5000), size);
        for (qsizetype cut = 0; cut < packed.size(); cut += 7)
            QVERIFY(streamInPieces(packed.first(cut), 100).failed);
    }
}

void StreamUnpackerTest::anEarlyMarkerIsLeftToTheWhole()
{
    const QByteArray content = testfiles::textBytes(5000);
    const QByteArray packed = withDeclaredSize(pack(content, PackOptions::Size::KnownWithMarker),
                                               static_cast<quint64>(content.size()) + 9);
    QVERIFY(!streamInPieces(packed, 100).ended);
    QVERIFY(succeedsWith(unpack(packed), content));
}

VORNAK_TEST_MAIN(StreamUnpackerTest)
#include "tst_streamunpacker.moc"
