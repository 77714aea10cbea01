#include "package/AllocationProbe.h"
#include "package/Unpack.h"
#include "support/IsolatedHome.h"
#include "support/PackLzma.h"
#include "support/TestFiles.h"

#include <QRandomGenerator>
#include <QTest>
#include <QtEndian>

#include <limits>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(PackOptions::Size)

namespace {

constexpr qsizetype headerSize = 13;
constexpr quint64 allOnes = std::numeric_limits<quint64>::max();
// What a decoder needs for itself, whatever it decodes.
constexpr quint64 ownMemory = 0x40000;
// No LZMA stream grows by more than this.
constexpr quint64 greatestGrowth = 7200;

const QString failure = u"Failed to decompress file downloaded from"_s;
const QByteArray untouched = "what was there before";

struct Outcome
{
    bool ok = false;
    QByteArray out = untouched;
    QString error = u"earlier"_s;
};

Outcome unpack(const QByteArray& packed, const SliceFunction& onSlice = {})
{
    Outcome outcome;
    outcome.ok = unpackLzma(packed, outcome.out, &outcome.error, onSlice);
    return outcome;
}

bool succeedsWith(const Outcome& outcome, const QByteArray& content)
{
    return outcome.ok && outcome.out == content && outcome.error == u"earlier"_s;
}

bool failsWith(const Outcome& outcome, const QByteArray& out)
{
    return !outcome.ok && outcome.out == out && outcome.error == failure;
}

bool failsEmpty(const Outcome& outcome)
{
    return failsWith(outcome, {});
}

QByteArray pack(const QByteArray& content, PackOptions::Size size)
{
    PackOptions options;
    options.size = size;
    return packLzma(content, options);
}

QList<QByteArray> contents()
{
    return {QByteArray(""),
            "x",
            QByteArray(300, '\0'),
            testfiles::textBytes(5000),
            testfiles::randomBytes(5000, 11),
            testfiles::textBytes(200) + testfiles::randomBytes(200, 12)};
}

QByteArray describe(quint32 seed, int round, const QByteArray& input)
{
    return "seed " + QByteArray::number(seed) + ", round " + QByteArray::number(round) +
           ", input " + input.toHex();
}

quint64 justified(const QByteArray& packed)
{
    return 2 * static_cast<quint64>(packed.size()) * greatestGrowth + ownMemory;
}

} // namespace

class UnpackTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksEveryPropertyAndSizeForm();
    void refusesPropertiesThatNoStreamHas();
    void unpacksWithAnyDictionarySize_data();
    void unpacksWithAnyDictionarySize();
    void unpacksWhatPacksBest_data();
    void unpacksWhatPacksBest();
    void ignoresBytesBehindTheEnd_data();
    void ignoresBytesBehindTheEnd();
    void anEarlyEndMarkerEndsTheOutput();
    void declaringMoreThanTheStreamHoldsFails();
    void declaringLessThanTheStreamHoldsFails();
    void huge32BitSizesFailWithoutAllocating_data();
    void huge32BitSizesFailWithoutAllocating();
    void sizesBeyondFourGiBNeedOnlyTheMarker_data();
    void sizesBeyondFourGiBNeedOnlyTheMarker();
    void aHeaderCutShortLeavesTheOutputAlone();
    void unusablePropertiesOfAnUnknownSizeLeaveTheOutputAlone();
    void truncationAtEveryByteFails_data();
    void truncationAtEveryByteFails();
    void damageAtEveryByteNeverPassesTheDeclaredSize();
    void randomInputNeverCrashesOrHoards();
    void aHugeDictionaryInTheHeaderIsNotAllocated();
    void reportsSlicesInOrder();
    void stopsWhenTold();
    void takesNoErrorPointer();
};

void UnpackTest::unpacksEveryPropertyAndSizeForm()
{
    using Size = PackOptions::Size;
    for (int lc = 0; lc <= 4; ++lc) {
        for (int lp = 0; lc + lp <= 4; ++lp) {
            for (int pb = 0; pb <= 4; ++pb) {
                for (const Size size : {Size::Known, Size::KnownWithMarker, Size::Unknown}) {
                    for (const QByteArray& content : contents()) {
                        const QByteArray packed = packLzma(content, {size, lc, lp, pb, 0x1000});
                        const QByteArray context = QByteArray::number(lc) + ' ' +
                                                   QByteArray::number(lp) + ' ' +
                                                   QByteArray::number(pb) + ' ' + packed.toHex();
                        QVERIFY2(succeedsWith(unpack(packed), content), context.constData());
                    }
                }
            }
        }
    }
}

void UnpackTest::refusesPropertiesThatNoStreamHas()
{
    QByteArray packed = pack(testfiles::textBytes(500), PackOptions::Size::Known);
    for (int property = 225; property <= 255; ++property) {
        packed[0] = static_cast<char>(property);
        QVERIFY(failsEmpty(unpack(packed)));
    }
}

void UnpackTest::unpacksWithAnyDictionarySize_data()
{
    QTest::addColumn<quint32>("dictionary");
    for (const quint32 size :
         {0u, 1u, 4095u, 4096u, 5000u, 0x10000u, 0x12345u, 0x7fffffffu, 0x80000000u, 0xffffffffu})
        QTest::addRow("%u", size) << size;
}

void UnpackTest::unpacksWithAnyDictionarySize()
{
    QFETCH(quint32, dictionary);
    using Size = PackOptions::Size;
    // Distances below 4096, which every decoder grants.
    const QByteArray content = testfiles::textBytes(4000);
    for (const Size size : {Size::Known, Size::KnownWithMarker, Size::Unknown}) {
        QByteArray packed = pack(content, size);
        qToLittleEndian(dictionary, packed.data() + 1);
        QVERIFY(succeedsWith(unpack(packed), content));
    }
}

void UnpackTest::unpacksWhatPacksBest_data()
{
    QTest::addColumn<PackOptions::Size>("size");
    QTest::newRow("known") << PackOptions::Size::Known;
    QTest::newRow("known, with marker") << PackOptions::Size::KnownWithMarker;
    QTest::newRow("unknown") << PackOptions::Size::Unknown;
}

void UnpackTest::unpacksWhatPacksBest()
{
    QFETCH(PackOptions::Size, size);
    const QByteArray content(32 * 0x100000, '\0');
    const QByteArray packed = pack(content, size);
    QVERIFY(packed.size() < 5000);
    QVERIFY(succeedsWith(unpack(packed), content));
}

void UnpackTest::ignoresBytesBehindTheEnd_data()
{
    unpacksWhatPacksBest_data();
}

void UnpackTest::ignoresBytesBehindTheEnd()
{
    QFETCH(PackOptions::Size, size);
    for (const QByteArray& content : contents()) {
        const QByteArray packed = pack(content, size);
        QVERIFY(succeedsWith(unpack(packed + '\0'), content));
        QVERIFY(succeedsWith(unpack(packed + "trailing"), content));
        QVERIFY(succeedsWith(unpack(packed + testfiles::randomBytes(5000, 3)), content));
    }
}

void UnpackTest::anEarlyEndMarkerEndsTheOutput()
{
    for (const QByteArray& content : contents()) {
        const QByteArray packed = pack(content, PackOptions::Size::KnownWithMarker);
        const auto size = static_cast<quint64>(content.size());
        for (const quint64 declared : {size + 1, size + 1000, quint64(0x7fffffff)})
            QVERIFY(succeedsWith(unpack(withDeclaredSize(packed, declared)), content));
    }
}

void UnpackTest::declaringMoreThanTheStreamHoldsFails()
{
    for (const QByteArray& content : contents()) {
        const QByteArray packed = pack(content, PackOptions::Size::Known);
        const auto size = static_cast<quint64>(content.size());
        for (const quint64 declared : {size + 1, size + 1000, size + 0x100000})
            QVERIFY(failsEmpty(unpack(withDeclaredSize(packed, declared))));
    }
}

void UnpackTest::declaringLessThanTheStreamHoldsFails()
{
    using Size = PackOptions::Size;
    const QByteArray content = testfiles::randomBytes(3000, 4);
    for (const Size size : {Size::Known, Size::KnownWithMarker}) {
        const QByteArray packed = pack(content, size);
        for (const quint64 declared : {0u, 1u, 2000u, 2999u})
            QVERIFY2(failsEmpty(unpack(withDeclaredSize(packed, declared))),
                     QByteArray::number(declared).constData());
    }
}

void UnpackTest::huge32BitSizesFailWithoutAllocating_data()
{
    QTest::addColumn<quint64>("declared");
    for (const quint64 size : {quint64(0x7fffffff), quint64(0x80000000), quint64(0x80000001),
                               quint64(0xfffffffe), quint64(0xffffffff), quint64(0x100000000)})
        QTest::addRow("0x%llx", size) << size;
}

void UnpackTest::huge32BitSizesFailWithoutAllocating()
{
    QFETCH(quint64, declared);
    const QByteArray content = testfiles::textBytes(300);
    const QByteArray packed = withDeclaredSize(pack(content, PackOptions::Size::Known), declared);
    const AllocationProbe probe;
    const Outcome outcome = unpack(packed);
    QVERIFY(probe.largest() <= justified(packed));
    QVERIFY(failsEmpty(outcome));
    const QByteArray marked = pack(content, PackOptions::Size::KnownWithMarker);
    if (declared >= 0x80000000)
        QVERIFY(failsEmpty(unpack(withDeclaredSize(marked, declared))));
}

void UnpackTest::sizesBeyondFourGiBNeedOnlyTheMarker_data()
{
    QTest::addColumn<quint64>("declared");
    for (const quint64 size : {quint64(0x100000001), quint64(0x7fffffffffffffff),
                               quint64(0x8000000000000000), allOnes - 1, allOnes})
        QTest::addRow("0x%llx", size) << size;
}

void UnpackTest::sizesBeyondFourGiBNeedOnlyTheMarker()
{
    QFETCH(quint64, declared);
    for (const QByteArray& content : contents()) {
        const QByteArray marked = pack(content, PackOptions::Size::Unknown);
        QVERIFY(succeedsWith(unpack(withDeclaredSize(marked, declared)), content));
        const QByteArray unmarked = pack(content, PackOptions::Size::Known);
        QVERIFY(failsEmpty(unpack(withDeclaredSize(unmarked, declared))));
    }
}

void UnpackTest::aHeaderCutShortLeavesTheOutputAlone()
{
    const QByteArray packed = pack("content", PackOptions::Size::Known);
    for (qsizetype size = 0; size < headerSize; ++size)
        QVERIFY(failsWith(unpack(packed.first(size)), untouched));
    QVERIFY(failsEmpty(unpack(packed.first(headerSize))));
}

void UnpackTest::unusablePropertiesOfAnUnknownSizeLeaveTheOutputAlone()
{
    QByteArray packed = pack("content", PackOptions::Size::Unknown);
    packed[0] = static_cast<char>(225);
    QVERIFY(failsWith(unpack(packed), untouched));
}

void UnpackTest::truncationAtEveryByteFails_data()
{
    unpacksWhatPacksBest_data();
}

void UnpackTest::truncationAtEveryByteFails()
{
    QFETCH(PackOptions::Size, size);
    for (const QByteArray& content : contents()) {
        const QByteArray packed = pack(content, size);
        for (qsizetype cut = headerSize; cut < packed.size(); ++cut) {
            const Outcome outcome = unpack(packed.first(cut));
            // A stated size can be reached before the marker, which is then not missed.
            if (size == PackOptions::Size::KnownWithMarker && outcome.ok)
                QCOMPARE(outcome.out, content);
            else
                QVERIFY2(failsEmpty(outcome), (QByteArray::number(cut) + " of " +
                                               QByteArray::number(packed.size()) + " bytes")
                                                  .constData());
        }
    }
}

void UnpackTest::damageAtEveryByteNeverPassesTheDeclaredSize()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator generator(seed);
    const QByteArray content = testfiles::textBytes(900);
    for (const auto size : {PackOptions::Size::Known, PackOptions::Size::KnownWithMarker}) {
        const QByteArray packed = pack(content, size);
        for (qsizetype i = 0; i < packed.size(); ++i) {
            QByteArray damaged = packed;
            damaged[i] = static_cast<char>(damaged.at(i) ^ (1 << generator.bounded(8)));
            const auto declared = qFromLittleEndian<quint64>(damaged.constData() + 5);
            const Outcome outcome = unpack(damaged);
            const QByteArray context = describe(seed, static_cast<int>(i), damaged);
            QVERIFY2(outcome.ok || outcome.error == failure, context.constData());
            QVERIFY2(!outcome.ok || declared > 0x100000000 ||
                         static_cast<quint64>(outcome.out.size()) <= declared,
                     context.constData());
        }
    }
}

void UnpackTest::randomInputNeverCrashesOrHoards()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator generator(seed);
    for (int round = 0; round < 4000; ++round) {
        QByteArray input = testfiles::randomBytes(generator.bounded(400), generator.generate());
        if (input.size() >= headerSize && round % 4 != 0) {
            // Headers that a decoder gets past, so that the stream is really read: valid
            // properties, a stream that begins with a zero, every sort of size.
            input[0] = static_cast<char>(generator.bounded(225));
            if (input.size() > headerSize)
                input[headerSize] = 0;
            const quint64 size = round % 3 == 0 ? allOnes : generator.generate64() >> (round % 64);
            qToLittleEndian(size, input.data() + 5);
        }
        const AllocationProbe probe;
        const Outcome outcome = unpack(input);
        const std::size_t largest = probe.largest();
        const QByteArray context = describe(seed, round, input);
        QVERIFY2(outcome.ok || outcome.error == failure, context.constData());
        QVERIFY2(outcome.ok || outcome.out.isEmpty() || outcome.out == untouched,
                 context.constData());
        QVERIFY2(largest <= justified(input), context.constData());
    }
}

void UnpackTest::aHugeDictionaryInTheHeaderIsNotAllocated()
{
    for (const auto size : {PackOptions::Size::Known, PackOptions::Size::Unknown}) {
        const QByteArray content = testfiles::textBytes(300);
        QByteArray packed = pack(content, size);
        qToLittleEndian(0xffffffffU, packed.data() + 1);
        const AllocationProbe probe;
        const Outcome outcome = unpack(packed);
        QVERIFY(probe.largest() <= justified(packed));
        QVERIFY(succeedsWith(outcome, content));
    }
}

void UnpackTest::reportsSlicesInOrder()
{
    using Size = PackOptions::Size;
    const QByteArray content = testfiles::textBytes(3 * 0x100000 + 7);
    for (const Size size : {Size::Known, Size::KnownWithMarker, Size::Unknown}) {
        QByteArray joined;
        qsizetype longest = 0;
        const auto onSlice = [&](QByteArrayView slice, qint64 offset) {
            if (offset == 0)
                joined.clear();
            longest = qMax(longest, slice.size());
            joined += slice;
            return joined.size() == offset + slice.size();
        };
        QVERIFY(succeedsWith(unpack(pack(content, size), onSlice), content));
        QCOMPARE(joined, content);
        QVERIFY(longest <= 0x100000);
    }
    // What is read a second time because of an early marker is reported from its start again.
    QByteArray joined;
    const auto onSlice = [&joined](QByteArrayView slice, qint64 offset) {
        if (offset == 0)
            joined.clear();
        joined += slice;
        return true;
    };
    const QByteArray early = withDeclaredSize(pack(content, Size::KnownWithMarker),
                                              static_cast<quint64>(content.size()) + 9);
    QVERIFY(succeedsWith(unpack(early, onSlice), content));
    QCOMPARE(joined, content);
}

void UnpackTest::stopsWhenTold()
{
    const QByteArray content = testfiles::textBytes(3 * 0x100000);
    for (const auto size : {PackOptions::Size::Known, PackOptions::Size::Unknown}) {
        int slices = 0;
        const auto second = [&slices](QByteArrayView, qint64) { return ++slices < 2; };
        QVERIFY(failsEmpty(unpack(pack(content, size), second)));
        QCOMPARE(slices, 2);
    }
}

void UnpackTest::takesNoErrorPointer()
{
    QByteArray out = untouched;
    QVERIFY(!unpackLzma("short", out, nullptr));
    QCOMPARE(out, untouched);
    QVERIFY(unpackLzma(pack("content", PackOptions::Size::Known), out, nullptr));
    QCOMPARE(out, QByteArray("content"));
}

VORNAK_TEST_MAIN(UnpackTest)
#include "tst_unpack.moc"
