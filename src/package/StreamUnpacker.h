#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <memory>

class AloneDecoder;

/// Decodes one LZMA "alone" file whose bytes arrive in pieces, cut anywhere, one slice at a time.
///
/// When it has ended, its output is what unpackLzma() makes of the whole file. When it has failed,
/// unpackLzma() may succeed all the same: the decoder refuses some valid streams that arrive in
/// pieces, and an end marker before the stated size takes a second reading from the start.
///
/// Decoding begins when the bytes that are there justify the dictionary that the header asks for
/// (at the latest after some 600 kB), or when no more will come.
class StreamUnpacker
{
public:
    StreamUnpacker();
    ~StreamUnpacker();
    Q_DISABLE_COPY_MOVE(StreamUnpacker)

    /// The next packed bytes, once needsInput(). They must stay where they are until more are
    /// needed.
    void addInput(QByteArrayView piece);
    /// No more will come.
    void endInput();

    /// Nothing can be decoded before more input comes.
    [[nodiscard]] bool needsInput() const { return m_state == State::Waiting; }
    [[nodiscard]] bool hasEnded() const { return m_state == State::Ended; }
    [[nodiscard]] bool hasFailed() const { return m_state == State::Failed; }

    /// Decodes the next slice and returns it, empty at times; it is good until the next call. Only
    /// while the three above are false.
    [[nodiscard]] QByteArrayView decode();

    /// Ends in failure at once and gives the memory back.
    void giveUp();

private:
    enum class State { Waiting, Decoding, Ended, Failed };

    void start(bool isWhole);

    std::unique_ptr<AloneDecoder> m_decoder;
    QByteArray m_held;
    QByteArray m_space;
    quint64 m_unpacked = 0;
    State m_state = State::Waiting;
    bool m_started = false;
};
