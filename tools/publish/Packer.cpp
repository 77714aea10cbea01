#include "publish/Packer.h"

#include "package/AloneDecoder.h"
#include "package/Failure.h"
#include "package/Sha256.h"
#include "publish/FileWriting.h"

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

#include <lzma.h>

#include <algorithm>
#include <array>
#include <bit>

namespace publish {

namespace {

constexpr qsizetype bufferSize = 0x40000;
constexpr qsizetype dictionaryOffset = 1;
constexpr qsizetype sizeOffset = 5;

lzma_options_lzma encoderOptions(qint64 size, const PackLevel& level)
{
    lzma_options_lzma options{};
    const auto preset = static_cast<uint32_t>(level.level);
    lzma_lzma_preset(&options, level.extreme ? preset | LZMA_PRESET_EXTREME : preset);
    const auto needed = std::bit_ceil(static_cast<quint64>(std::max<qint64>(size, 1)));
    options.dict_size =
        static_cast<uint32_t>(std::clamp<quint64>(needed, LZMA_DICT_SIZE_MIN, options.dict_size));
    // The size is known, and the filter's default without further flags is to write no end marker.
    options.ext_flags = 0;
    lzma_set_ext_size(options, static_cast<uint64_t>(size));
    return options;
}

using FilterChain = std::array<lzma_filter, 2>;

FilterChain chainOf(lzma_options_lzma& options)
{
    return {{{LZMA_FILTER_LZMA1EXT, &options}, {LZMA_VLI_UNKNOWN, nullptr}}};
}

QByteArray header(const lzma_options_lzma& options, qint64 size)
{
    QByteArray bytes(AloneDecoder::headerSize, '\0');
    bytes[0] = static_cast<char>((options.pb * 5 + options.lp) * 9 + options.lc);
    qToLittleEndian(options.dict_size, bytes.data() + dictionaryOffset);
    qToLittleEndian(static_cast<quint64>(size), bytes.data() + sizeOffset);
    return bytes;
}

/// One run of the encoder from device to device.
class PackRun
{
public:
    PackRun(QIODevice& input, qint64 size, QIODevice& output, const PackProgress& progress)
        : m_input(input)
        , m_output(output)
        , m_progress(progress)
        , m_left(size)
    {}
    ~PackRun() { lzma_end(&m_stream); }
    Q_DISABLE_COPY_MOVE(PackRun)

    bool run(const PackLevel& level, QString* error)
    {
        lzma_options_lzma options = encoderOptions(m_left, level);
        m_result.unpackedsize = m_left;
        if (!write(header(options, m_left)))
            return failToWrite(error);
        const FilterChain chain = chainOf(options);
        if (lzma_raw_encoder(&m_stream, chain.data()) != LZMA_OK)
            return fail(error, QStringLiteral("there is not enough memory for packing"));
        if (!encodeAll(error))
            return false;
        m_result.unpackedhash = m_unpackedHash.finish();
        m_result.packedhash = m_packedHash.finish();
        return true;
    }

    [[nodiscard]] const PackedFile& result() const { return m_result; }

private:
    bool encodeAll(QString* error)
    {
        QByteArray packed(bufferSize, Qt::Uninitialized);
        lzma_ret status = LZMA_OK;
        while (status != LZMA_STREAM_END) {
            if (m_stream.avail_in == 0 && m_left > 0 && !refill())
                return fail(
                    error,
                    QStringLiteral("the file changed or could not be read while it was packed"));
            m_stream.next_out = reinterpret_cast<uint8_t*>(packed.data());
            m_stream.avail_out = static_cast<size_t>(packed.size());
            status = lzma_code(&m_stream, m_left > 0 ? LZMA_RUN : LZMA_FINISH);
            if (status != LZMA_OK && status != LZMA_STREAM_END)
                return fail(error, QStringLiteral("the encoder failed"));
            const auto produced = packed.size() - static_cast<qsizetype>(m_stream.avail_out);
            if (!write(QByteArrayView(packed).first(produced)))
                return failToWrite(error);
        }
        char more = 0;
        return m_input.read(&more, 1) <= 0 ||
               fail(error, QStringLiteral("the file grew while it was packed"));
    }

    bool refill()
    {
        m_buffer.resize(std::min<qint64>(m_left, bufferSize));
        const qint64 read = m_input.read(m_buffer.data(), m_buffer.size());
        if (read <= 0)
            return false;
        m_left -= read;
        m_unpackedHash.addData(QByteArrayView(m_buffer).first(read));
        m_stream.next_in = reinterpret_cast<const uint8_t*>(m_buffer.constData());
        m_stream.avail_in = static_cast<size_t>(read);
        if (m_progress)
            m_progress(read);
        return true;
    }

    bool failToWrite(QString* error) const
    {
        return fail(
            error,
            QStringLiteral("the packed file cannot be written: %1").arg(m_output.errorString()));
    }

    bool write(QByteArrayView bytes)
    {
        m_packedHash.addData(bytes);
        m_result.packedsize += bytes.size();
        return writeAll(m_output, bytes);
    }

    QIODevice& m_input;
    QIODevice& m_output;
    const PackProgress& m_progress;
    qint64 m_left;
    QByteArray m_buffer;
    Sha256 m_unpackedHash;
    Sha256 m_packedHash;
    PackedFile m_result;
    lzma_stream m_stream = LZMA_STREAM_INIT;
};

} // namespace

std::optional<PackLevel> parsePackLevel(const QString& text)
{
    const bool extreme = text.size() == 2 && text.at(1) == u'e';
    if (text.size() != (extreme ? 2 : 1) || text.at(0) < u'0' ||
        text.at(0) > QChar(u'0' + PackLevel::strongest))
        return std::nullopt;
    return PackLevel{text.at(0).digitValue(), extreme};
}

quint32 dictionarySize(qint64 size, const PackLevel& level)
{
    return encoderOptions(size, level).dict_size;
}

qint64 encoderMemory(qint64 size, const PackLevel& level)
{
    lzma_options_lzma options = encoderOptions(size, level);
    return static_cast<qint64>(lzma_raw_encoder_memusage(chainOf(options).data())) + 2 * bufferSize;
}

qint64 decoderMemory(const PackLevel& level)
{
    lzma_options_lzma options = encoderOptions(std::numeric_limits<qint32>::max(), level);
    return static_cast<qint64>(lzma_raw_decoder_memusage(chainOf(options).data()));
}

std::optional<PackedFile> packDevice(QIODevice& input, qint64 size, QIODevice& output,
                                     const PackLevel& level, QString* error,
                                     const PackProgress& progress)
{
    PackRun run(input, size, output, progress);
    if (!run.run(level, error))
        return std::nullopt;
    return run.result();
}

} // namespace publish
