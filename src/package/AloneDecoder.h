#pragma once

#include <QByteArrayView>
#include <QtGlobal>

#include <lzma.h>

/// liblzma's decoder of one LZMA "alone" file: 5 property bytes, the unpacked size as 64-bit
/// little-endian, the stream. The header is handed over apart from the stream because the sizes in
/// it are adapted: a header must not make us allocate what the input cannot need.
class AloneDecoder
{
public:
    static constexpr qsizetype headerSize = 13;
    static constexpr quint64 fourGiB = 0x100000000;
    /// In a header: the stream ends with a marker.
    static constexpr quint64 unknownSize = ~quint64(0);

    enum class Result {
        Running,
        /// The stream's end has been decoded.
        Ended,
        /// The stream is damaged or holds something else than its size says.
        BadData,
        /// Nothing is left of the input, and there was nothing to write without more.
        NeedsInput,
        Failed,
    };

    AloneDecoder() = default;
    ~AloneDecoder() { lzma_end(&m_stream); }
    Q_DISABLE_COPY_MOVE(AloneDecoder)

    /// The unpacked size that a header states. It needs headerSize bytes, as the others here do.
    [[nodiscard]] static quint64 statedSize(QByteArrayView header);
    /// Room that a decoder needs for what a stream can refer back to, in bytes, when at most
    /// `longest` bytes come out of it.
    [[nodiscard]] static quint64 dictionarySize(QByteArrayView header, quint64 longest);
    /// The most that so many packed bytes can unpack to.
    [[nodiscard]] static quint64 longestOutput(qsizetype packed);

    /// Begins, for a stream that unpacks to `size` bytes (or to its marker, with unknownSize) and
    /// at most to `longest`. False when the properties or the dictionary cannot be used. Called
    /// once.
    [[nodiscard]] bool start(QByteArrayView header, quint64 size, quint64 longest);

    /// The next bytes of the stream. They must stay where they are until they are used up.
    void setInput(QByteArrayView input);
    [[nodiscard]] bool isInputUsedUp() const { return m_stream.avail_in == 0; }

    /// Decodes into `space`; `produced` is how much was written there. Less than there is space for
    /// means that the input is used up or that there is no more to come.
    [[nodiscard]] Result decode(char* space, qsizetype size, qsizetype& produced);

private:
    lzma_stream m_stream = LZMA_STREAM_INIT;
};
