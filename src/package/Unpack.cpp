#include "package/Unpack.h"

#include "package/Sha256.h"

#include <QIODevice>
#include <QtEndian>

#include <lzma.h>

#include <algorithm>
#include <array>
#include <limits>
#include <new>

namespace {

constexpr qsizetype headerSize = 13;
constexpr qsizetype propertiesSize = 5;
constexpr quint64 fourGiB = 0x100000000;
constexpr quint64 unknownSize = std::numeric_limits<quint64>::max();

// Decoding runs at some 20 to 200 MB/s, so that a slice of this size stays well under a frame.
constexpr qsizetype decodeSlice = 0x40000;
constexpr qsizetype hashSlice = 0x100000;

// One LZMA symbol yields at most 273 bytes and costs at least 14 decisions of 0.022 bits, so that a
// stream grows by a factor of some 7,100 at the very most.
constexpr quint64 maxExpansion = 7200;

enum class Decoded { Complete, Failed, BadData };

/// The alone decoder of liblzma over one packed file. The header is handed over separately because
/// sizes in it are adapted; the stream itself goes in whole, since liblzma 5.4.1 refuses some valid
/// streams with a known size and an end marker when they arrive in pieces.
class AloneDecoder
{
public:
    AloneDecoder() = default;
    ~AloneDecoder() { lzma_end(&m_stream); }
    Q_DISABLE_COPY_MOVE(AloneDecoder)

    bool start(QByteArrayView packed, quint64 declaredSize)
    {
        if (lzma_alone_decoder(&m_stream, std::numeric_limits<uint64_t>::max()) != LZMA_OK)
            return false;
        std::array<char, headerSize> header{};
        std::copy_n(packed.begin(), propertiesSize, header.begin());
        shrinkDictionary(header, qMin(declaredSize, longestOutput(packed)));
        qToLittleEndian(declaredSize, header.data() + propertiesSize);
        m_stream.next_in = reinterpret_cast<const uint8_t*>(header.data());
        m_stream.avail_in = header.size();
        // Without room for output the decoder does not even look at the header. It writes none yet.
        uint8_t unused = 0;
        m_stream.next_out = &unused;
        m_stream.avail_out = 1;
        // A property byte or dictionary that cannot be used shows here, before any output.
        if (lzma_code(&m_stream, LZMA_RUN) != LZMA_OK || m_stream.avail_in != 0)
            return false;
        const QByteArrayView stream = packed.sliced(headerSize);
        m_stream.next_in = reinterpret_cast<const uint8_t*>(stream.data());
        m_stream.avail_in = static_cast<size_t>(stream.size());
        return true;
    }

    /// Decodes into `space`; `produced` is what was written there.
    lzma_ret decode(char* space, qsizetype size, qsizetype& produced)
    {
        m_stream.next_out = reinterpret_cast<uint8_t*>(space);
        m_stream.avail_out = static_cast<size_t>(size);
        const lzma_ret result = lzma_code(&m_stream, LZMA_RUN);
        produced = size - static_cast<qsizetype>(m_stream.avail_out);
        return result;
    }

    static quint64 longestOutput(QByteArrayView packed)
    {
        return static_cast<quint64>(packed.size()) * maxExpansion;
    }

private:
    // A dictionary beyond the output is never referred to; a header must not make us allocate it.
    static void shrinkDictionary(std::array<char, headerSize>& header, quint64 longest)
    {
        const auto dictionary = qFromLittleEndian<quint32>(header.data() + 1);
        const quint64 needed = std::max<quint64>(longest, LZMA_DICT_SIZE_MIN);
        qToLittleEndian(static_cast<quint32>(std::min<quint64>(dictionary, needed)),
                        header.data() + 1);
    }

    lzma_stream m_stream = LZMA_STREAM_INIT;
};

bool growTo(QByteArray& out, quint64 size)
{
    try {
        out.resize(static_cast<qsizetype>(size));
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

// Decodes until the stream ends or `limit` bytes are there and more would come.
Decoded decodeAll(AloneDecoder& decoder, QByteArray& out, quint64 firstSize, quint64 limit,
                  const SliceFunction& onSlice)
{
    out.clear();
    if (!growTo(out, std::max<quint64>(firstSize, 1)))
        return Decoded::Failed;
    qsizetype done = 0;
    for (;;) {
        if (done == out.size()) {
            const auto doubled = static_cast<quint64>(out.size()) * 2;
            if (!growTo(out, std::min(doubled, limit + 1)) || done == out.size())
                return Decoded::Failed;
        }
        qsizetype produced = 0;
        const lzma_ret result =
            decoder.decode(out.data() + done, std::min(out.size() - done, decodeSlice), produced);
        const QByteArrayView slice(out.constData() + done, produced);
        if (onSlice && produced > 0 && !onSlice(slice, done))
            return Decoded::Failed;
        done += produced;
        if (result == LZMA_STREAM_END && static_cast<quint64>(done) <= limit) {
            out.resize(done);
            return Decoded::Complete;
        }
        if (result != LZMA_OK)
            return result == LZMA_DATA_ERROR ? Decoded::BadData : Decoded::Failed;
    }
}

// A size that the header states: the decoder stops there by itself, with or without a marker.
Decoded decodeKnownSize(QByteArrayView packed, quint64 size, QByteArray& out,
                        const SliceFunction& onSlice)
{
    const quint64 first = std::min(size, AloneDecoder::longestOutput(packed));
    AloneDecoder decoder;
    if (!decoder.start(packed, size))
        return Decoded::Failed;
    const Decoded result = decodeAll(decoder, out, first, size, onSlice);
    if (result != Decoded::BadData)
        return result;
    // liblzma takes an end marker before the stated size for damage; the format's reference decoder
    // ends there. Damage fails in this second reading as well.
    AloneDecoder untilMarker;
    return untilMarker.start(packed, unknownSize)
               ? decodeAll(untilMarker, out, first, size, onSlice)
               : Decoded::Failed;
}

// No usable size: the end marker is needed.
Decoded decodeUnknownSize(QByteArrayView packed, QByteArray& out, const SliceFunction& onSlice,
                          bool& started)
{
    AloneDecoder decoder;
    started = decoder.start(packed, unknownSize);
    if (!started)
        return Decoded::Failed;
    const auto guess = static_cast<quint64>(packed.size()) * 4;
    return decodeAll(decoder, out, std::clamp<quint64>(guess, 0x1000, fourGiB - 1), fourGiB - 1,
                     onSlice);
}

} // namespace

bool unpackLzma(const QByteArray& packed, QByteArray& out, QString* error,
                const SliceFunction& onSlice)
{
    Decoded result = Decoded::Failed;
    bool clearOutput = false;
    if (packed.size() >= headerSize) {
        const auto size = qFromLittleEndian<quint64>(packed.constData() + propertiesSize);
        clearOutput = true;
        if (size > fourGiB)
            result = decodeUnknownSize(packed, out, onSlice, clearOutput);
        else if (size <= static_cast<quint64>(std::numeric_limits<qint32>::max()))
            result = decodeKnownSize(packed, size, out, onSlice);
    }
    if (result == Decoded::Complete)
        return true;
    if (clearOutput)
        out.clear();
    if (error)
        *error = QLatin1StringView("Failed to decompress file downloaded from");
    return false;
}

QString hashBytes(const QByteArray& data, const SliceFunction& onSlice)
{
    Sha256 hash;
    for (qsizetype offset = 0; offset < data.size(); offset += hashSlice) {
        const QByteArrayView slice =
            QByteArrayView(data).sliced(offset, std::min(hashSlice, data.size() - offset));
        hash.addData(slice);
        if (onSlice && !onSlice(slice, offset))
            return {};
    }
    return hash.finish();
}

QString hashDevice(QIODevice* device, const SliceFunction& onSlice)
{
    Sha256 hash;
    // No larger than what there is to read: most files are small, and fresh memory is dear.
    const qint64 expected = device->isSequential() ? hashSlice : device->size() - device->pos();
    QByteArray buffer(static_cast<qsizetype>(std::clamp<qint64>(expected, 1, hashSlice)),
                      Qt::Uninitialized);
    qint64 offset = 0;
    while (!device->atEnd()) {
        const qint64 read = device->read(buffer.data(), buffer.size());
        if (read <= 0)
            break;
        const QByteArrayView slice(buffer.constData(), read);
        hash.addData(slice);
        if (onSlice && !onSlice(slice, offset))
            return {};
        offset += read;
    }
    return hash.finish();
}
