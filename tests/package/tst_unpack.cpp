#include "package/UnpackKit.h"
#include "support/IsolatedHome.h"

#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;
using namespace unpackkit;

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
    addSizeForms();
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
    addSizeForms();
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
