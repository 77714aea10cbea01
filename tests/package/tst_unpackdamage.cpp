#include "package/AllocationProbe.h"
#include "package/UnpackKit.h"
#include "support/IsolatedHome.h"

#include <QRandomGenerator>
#include <QTest>
#include <QtEndian>

#include <limits>

using namespace Qt::StringLiterals;
using namespace unpackkit;

namespace {

constexpr quint64 allOnes = std::numeric_limits<quint64>::max();
// What a decoder needs for itself, whatever it decodes.
constexpr quint64 ownMemory = 0x40000;
// No LZMA stream grows by more than this.
constexpr quint64 greatestGrowth = 7200;

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

/// Streams that are damaged, cut short, or promise what they do not hold.
class UnpackDamageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
};

void UnpackDamageTest::declaringMoreThanTheStreamHoldsFails()
{
    for (const QByteArray& content : contents()) {
        const QByteArray packed = pack(content, PackOptions::Size::Known);
        const auto size = static_cast<quint64>(content.size());
        for (const quint64 declared : {size + 1, size + 1000, size + 0x100000})
            QVERIFY(failsEmpty(unpack(withDeclaredSize(packed, declared))));
    }
}

void UnpackDamageTest::declaringLessThanTheStreamHoldsFails()
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

void UnpackDamageTest::huge32BitSizesFailWithoutAllocating_data()
{
    QTest::addColumn<quint64>("declared");
    for (const quint64 size : {quint64(0x7fffffff), quint64(0x80000000), quint64(0x80000001),
                               quint64(0xfffffffe), quint64(0xffffffff), quint64(0x100000000)})
        QTest::addRow("0x%llx", size) << size;
}

void UnpackDamageTest::huge32BitSizesFailWithoutAllocating()
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

void UnpackDamageTest::sizesBeyondFourGiBNeedOnlyTheMarker_data()
{
    QTest::addColumn<quint64>("declared");
    for (const quint64 size : {quint64(0x100000001), quint64(0x7fffffffffffffff),
                               quint64(0x8000000000000000), allOnes - 1, allOnes})
        QTest::addRow("0x%llx", size) << size;
}

void UnpackDamageTest::sizesBeyondFourGiBNeedOnlyTheMarker()
{
    QFETCH(quint64, declared);
    for (const QByteArray& content : contents()) {
        const QByteArray marked = pack(content, PackOptions::Size::Unknown);
        QVERIFY(succeedsWith(unpack(withDeclaredSize(marked, declared)), content));
        const QByteArray unmarked = pack(content, PackOptions::Size::Known);
        QVERIFY(failsEmpty(unpack(withDeclaredSize(unmarked, declared))));
    }
}

void UnpackDamageTest::aHeaderCutShortLeavesTheOutputAlone()
{
    const QByteArray packed = pack("content", PackOptions::Size::Known);
    for (qsizetype size = 0; size < headerSize; ++size)
        QVERIFY(failsWith(unpack(packed.first(size)), untouched));
    QVERIFY(failsEmpty(unpack(packed.first(headerSize))));
}

void UnpackDamageTest::unusablePropertiesOfAnUnknownSizeLeaveTheOutputAlone()
{
    QByteArray packed = pack("content", PackOptions::Size::Unknown);
    packed[0] = static_cast<char>(225);
    QVERIFY(failsWith(unpack(packed), untouched));
}

void UnpackDamageTest::truncationAtEveryByteFails_data()
{
    addSizeForms();
}

void UnpackDamageTest::truncationAtEveryByteFails()
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

void UnpackDamageTest::damageAtEveryByteNeverPassesTheDeclaredSize()
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

void UnpackDamageTest::randomInputNeverCrashesOrHoards()
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

void UnpackDamageTest::aHugeDictionaryInTheHeaderIsNotAllocated()
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

VORNAK_TEST_MAIN(UnpackDamageTest)
#include "tst_unpackdamage.moc"
