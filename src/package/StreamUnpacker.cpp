#include "package/StreamUnpacker.h"

#include "package/AloneDecoder.h"

#include <algorithm>
#include <limits>

namespace {

// Decoding runs at some 20 to 200 MB/s, so that a slice of this size stays well under a frame.
constexpr quint64 longestSlice = 0x40000;

constexpr quint64 longestKnown = std::numeric_limits<qint32>::max();

} // namespace

StreamUnpacker::StreamUnpacker() = default;
StreamUnpacker::~StreamUnpacker() = default;

void StreamUnpacker::addInput(QByteArrayView piece)
{
    if (m_started) {
        m_decoder->setInput(piece);
        m_state = State::Decoding;
        return;
    }
    m_held.append(piece);
    start(false);
}

void StreamUnpacker::endInput()
{
    if (m_state != State::Waiting)
        return;
    if (m_started)
        giveUp();
    else
        start(true);
}

void StreamUnpacker::start(bool isWhole)
{
    if (m_held.size() < AloneDecoder::headerSize) {
        if (isWhole)
            giveUp();
        return;
    }
    quint64 size = AloneDecoder::statedSize(m_held);
    if (size > AloneDecoder::fourGiB)
        size = AloneDecoder::unknownSize;
    else if (size > longestKnown)
        return giveUp();
    const quint64 longest = AloneDecoder::longestOutput(m_held.size());
    if (!isWhole && AloneDecoder::dictionarySize(m_held, size) > longest)
        return;
    m_decoder = std::make_unique<AloneDecoder>();
    // With more to come the dictionary must be good for more than what these bytes unpack to.
    if (!m_decoder->start(m_held, size, isWhole ? longest : AloneDecoder::unknownSize))
        return giveUp();
    m_started = true;
    m_state = State::Decoding;
    m_decoder->setInput(QByteArrayView(m_held).sliced(AloneDecoder::headerSize));
    // Most files are small, and fresh memory is dear.
    m_space =
        QByteArray(static_cast<qsizetype>(std::min(size, longestSlice - 1)) + 1, Qt::Uninitialized);
}

QByteArrayView StreamUnpacker::decode()
{
    using Result = AloneDecoder::Result;
    qsizetype produced = 0;
    const Result result = m_decoder->decode(m_space.data(), m_space.size(), produced);
    m_unpacked += static_cast<quint64>(produced);
    const bool running = result == Result::Running || result == Result::NeedsInput;
    if (m_unpacked >= AloneDecoder::fourGiB || (!running && result != Result::Ended)) {
        giveUp();
        return {};
    }
    if (result == Result::Ended) {
        m_state = State::Ended;
        m_decoder.reset();
    } else if (produced < m_space.size() && m_decoder->isInputUsedUp()) {
        m_state = State::Waiting;
    }
    return QByteArrayView(m_space).first(produced);
}

void StreamUnpacker::giveUp()
{
    m_state = State::Failed;
    m_decoder.reset();
    m_held.clear();
    m_space.clear();
}
