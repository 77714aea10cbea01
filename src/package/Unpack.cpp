#include "package/Unpack.h"

#include "package/AloneDecoder.h"
#include "package/Failure.h"

#include <algorithm>
#include <limits>
#include <new>

namespace {

constexpr quint64 fourGiB = AloneDecoder::fourGiB;

// Decoding runs at some 20 to 200 MB/s, so that a slice of this size stays well under a frame.
constexpr qsizetype decodeSlice = 0x40000;

enum class Decoded { Complete, Failed, BadData };

// The stream goes in whole: liblzma 5.4.1 refuses some valid streams with a known size and an end
// marker when they arrive in pieces.
bool startWhole(AloneDecoder& decoder, QByteArrayView packed, quint64 size)
{
    if (!decoder.start(packed, size, AloneDecoder::longestOutput(packed.size())))
        return false;
    decoder.setInput(packed.sliced(AloneDecoder::headerSize));
    return true;
}

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
        const AloneDecoder::Result result =
            decoder.decode(out.data() + done, std::min(out.size() - done, decodeSlice), produced);
        const QByteArrayView slice(out.constData() + done, produced);
        if (onSlice && produced > 0 && !onSlice(slice, done))
            return Decoded::Failed;
        done += produced;
        if (result == AloneDecoder::Result::Ended && static_cast<quint64>(done) <= limit) {
            out.resize(done);
            return Decoded::Complete;
        }
        if (result != AloneDecoder::Result::Running)
            return result == AloneDecoder::Result::BadData ? Decoded::BadData : Decoded::Failed;
    }
}

// A size that the header states: the decoder stops there by itself, with or without a marker.
Decoded decodeKnownSize(QByteArrayView packed, quint64 size, QByteArray& out,
                        const SliceFunction& onSlice)
{
    const quint64 first = std::min(size, AloneDecoder::longestOutput(packed.size()));
    AloneDecoder decoder;
    if (!startWhole(decoder, packed, size))
        return Decoded::Failed;
    const Decoded result = decodeAll(decoder, out, first, size, onSlice);
    if (result != Decoded::BadData)
        return result;
    // liblzma takes an end marker before the stated size for damage; the format's reference decoder
    // ends there. Damage fails in this second reading as well.
    AloneDecoder untilMarker;
    return startWhole(untilMarker, packed, AloneDecoder::unknownSize)
               ? decodeAll(untilMarker, out, first, size, onSlice)
               : Decoded::Failed;
}

// No usable size: the end marker is needed.
Decoded decodeUnknownSize(QByteArrayView packed, QByteArray& out, const SliceFunction& onSlice,
                          bool& started)
{
    AloneDecoder decoder;
    started = startWhole(decoder, packed, AloneDecoder::unknownSize);
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
    if (packed.size() >= AloneDecoder::headerSize) {
        const quint64 size = AloneDecoder::statedSize(packed);
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
    return fail(error, QStringLiteral("Failed to decompress file downloaded from"));
}
