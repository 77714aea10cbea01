#include "package/AloneDecoder.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <limits>

namespace {

constexpr qsizetype propertiesSize = 5;

// One LZMA symbol yields at most 273 bytes and costs at least 14 decisions of 0.022 bits, so that a
// stream grows by a factor of some 7,100 at the very most.
constexpr quint64 maxExpansion = 7200;

} // namespace

quint64 AloneDecoder::statedSize(QByteArrayView header)
{
    return qFromLittleEndian<quint64>(header.data() + propertiesSize);
}

quint64 AloneDecoder::dictionarySize(QByteArrayView header, quint64 longest)
{
    // A dictionary beyond the output is never referred to.
    const quint64 needed = std::max<quint64>(longest, LZMA_DICT_SIZE_MIN);
    return std::min<quint64>(qFromLittleEndian<quint32>(header.data() + 1), needed);
}

quint64 AloneDecoder::longestOutput(qsizetype packed)
{
    return static_cast<quint64>(packed) * maxExpansion;
}

bool AloneDecoder::start(QByteArrayView header, quint64 size, quint64 longest)
{
    if (lzma_alone_decoder(&m_stream, std::numeric_limits<uint64_t>::max()) != LZMA_OK)
        return false;
    std::array<char, headerSize> adapted{};
    std::copy_n(header.begin(), propertiesSize, adapted.begin());
    qToLittleEndian(static_cast<quint32>(dictionarySize(header, std::min(size, longest))),
                    adapted.data() + 1);
    qToLittleEndian(size, adapted.data() + propertiesSize);
    m_stream.next_in = reinterpret_cast<const uint8_t*>(adapted.data());
    m_stream.avail_in = adapted.size();
    // Without room for output the decoder does not even look at the header. It writes none yet.
    uint8_t unused = 0;
    m_stream.next_out = &unused;
    m_stream.avail_out = 1;
    // A property byte or dictionary that cannot be used shows here, before any output.
    return lzma_code(&m_stream, LZMA_RUN) == LZMA_OK && isInputUsedUp();
}

void AloneDecoder::setInput(QByteArrayView input)
{
    m_stream.next_in = reinterpret_cast<const uint8_t*>(input.data());
    m_stream.avail_in = static_cast<size_t>(input.size());
}

AloneDecoder::Result AloneDecoder::decode(char* space, qsizetype size, qsizetype& produced)
{
    m_stream.next_out = reinterpret_cast<uint8_t*>(space);
    m_stream.avail_out = static_cast<size_t>(size);
    const lzma_ret result = lzma_code(&m_stream, LZMA_RUN);
    produced = size - static_cast<qsizetype>(m_stream.avail_out);
    switch (result) {
    case LZMA_OK:
        return Result::Running;
    case LZMA_STREAM_END:
        return Result::Ended;
    case LZMA_DATA_ERROR:
        return Result::BadData;
    case LZMA_BUF_ERROR:
        return Result::NeedsInput;
    default:
        return Result::Failed;
    }
}
