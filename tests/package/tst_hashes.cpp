#include "package/Sha256.h"
#include "package/Unpack.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype mebibyte = 0x100000;

QString reference(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

/// A device that yields at most a few bytes at a time and fails after a while, as a pulled disk
/// does.
class StutteringDevice : public QIODevice
{
public:
    StutteringDevice(const QByteArray& content, qint64 step, qint64 failAt)
        : m_content(content)
        , m_step(step)
        , m_failAt(failAt)
    {
        open(ReadOnly | Unbuffered);
    }

    [[nodiscard]] bool atEnd() const override { return m_place >= m_content.size(); }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        if (m_place >= m_failAt)
            return -1;
        const qint64 size = qMin(qMin(maxSize, m_step), m_content.size() - m_place);
        std::copy_n(m_content.constData() + m_place, size, data);
        m_place += size;
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray m_content;
    qint64 m_step;
    qint64 m_failAt;
    qint64 m_place = 0;
};

} // namespace

class HashesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hashOfNothing();
    void hashIsLowerCaseHexadecimal();
    void agreesWithQtOnRandomLengthsAndSplits();
    void hashesLongInputInSlicesOfAMebibyte();
    void stopsWhenTold();
    void readsADeviceFromWhereItStands();
    void readsADeviceInPiecesOfAMebibyte();
    void readsADeviceThatYieldsLittleAtATime();
    void endsAtAFailingRead();
};

void HashesTest::hashOfNothing()
{
    const QString nothing = u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s;
    QCOMPARE(hashBytes({}), nothing);
    QBuffer empty;
    QVERIFY(empty.open(QIODevice::ReadOnly));
    QCOMPARE(hashDevice(&empty), nothing);
    Sha256 hash;
    QCOMPARE(hash.finish(), nothing);
}

void HashesTest::hashIsLowerCaseHexadecimal()
{
    QCOMPARE(hashBytes("abc"),
             u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
}

void HashesTest::agreesWithQtOnRandomLengthsAndSplits()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator generator(seed);
    Sha256 hash;
    for (int round = 0; round < 300; ++round) {
        const QByteArray bytes =
            testfiles::randomBytes(generator.bounded(round < 250 ? 400 : 70000), seed + 1);
        hash.reset();
        qsizetype done = 0;
        while (done < bytes.size()) {
            const qsizetype size = qMin<qsizetype>(generator.bounded(200), bytes.size() - done);
            hash.addData(QByteArrayView(bytes).sliced(done, size));
            done += size;
        }
        const QByteArray context =
            "seed " + QByteArray::number(seed) + ", length " + QByteArray::number(bytes.size());
        QVERIFY2(hash.finish() == reference(bytes), context.constData());
        QVERIFY2(hashBytes(bytes) == reference(bytes), context.constData());
    }
}

void HashesTest::hashesLongInputInSlicesOfAMebibyte()
{
    const QByteArray bytes = testfiles::randomBytes(3 * mebibyte + 17, 5);
    QList<qint64> offsets;
    qsizetype longest = 0;
    qint64 expected = 0;
    const auto onSlice = [&](QByteArrayView slice, qint64 offset) {
        offsets.append(offset);
        longest = qMax(longest, slice.size());
        const bool inOrder = offset == expected;
        expected += slice.size();
        return inOrder;
    };
    QCOMPARE(hashBytes(bytes, onSlice), reference(bytes));
    QCOMPARE(offsets.size(), 4);
    QVERIFY(longest <= mebibyte);
}

void HashesTest::stopsWhenTold()
{
    const QByteArray bytes = testfiles::randomBytes(4 * mebibyte, 6);
    int slices = 0;
    const auto second = [&slices](QByteArrayView, qint64) { return ++slices < 2; };
    QCOMPARE(hashBytes(bytes, second), QString());
    QCOMPARE(slices, 2);
    slices = 0;
    QBuffer device;
    device.setData(bytes);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QCOMPARE(hashDevice(&device, second), QString());
    QCOMPARE(slices, 2);
}

void HashesTest::readsADeviceFromWhereItStands()
{
    QBuffer device;
    device.setData("skipped, then the rest");
    QVERIFY(device.open(QIODevice::ReadOnly));
    device.seek(9);
    QCOMPARE(hashDevice(&device), reference("then the rest"));
    QVERIFY(device.atEnd());
}

void HashesTest::readsADeviceInPiecesOfAMebibyte()
{
    const QByteArray bytes = testfiles::randomBytes(2 * mebibyte + 1, 7);
    QBuffer device;
    device.setData(bytes);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QList<qsizetype> sizes;
    const auto onSlice = [&sizes](QByteArrayView slice, qint64) {
        sizes.append(slice.size());
        return true;
    };
    QCOMPARE(hashDevice(&device, onSlice), reference(bytes));
    QCOMPARE(sizes, (QList<qsizetype>{mebibyte, mebibyte, 1}));
}

void HashesTest::readsADeviceThatYieldsLittleAtATime()
{
    const QByteArray bytes = testfiles::randomBytes(5000, 8);
    StutteringDevice device(bytes, 7, bytes.size() + 1);
    QCOMPARE(hashDevice(&device), reference(bytes));
}

void HashesTest::endsAtAFailingRead()
{
    const QByteArray bytes = testfiles::randomBytes(1000, 9);
    StutteringDevice device(bytes, 100, 500);
    QCOMPARE(hashDevice(&device), reference(bytes.first(500)));
}

VORNAK_TEST_MAIN(HashesTest)
#include "tst_hashes.moc"
