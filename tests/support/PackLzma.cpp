#include "support/PackLzma.h"

#include <QtEndian>

#include <lzma.h>

#include <limits>

namespace {

constexpr qsizetype propertyBytes = 5;
constexpr qsizetype headerSize = 13;

QByteArray header(const PackOptions& options, quint64 size)
{
    QByteArray bytes(headerSize, '\0');
    bytes[0] = static_cast<char>((options.pb * 5 + options.lp) * 9 + options.lc);
    qToLittleEndian(options.dictionary, bytes.data() + 1);
    qToLittleEndian(size, bytes.data() + propertyBytes);
    return bytes;
}

lzma_options_lzma encoderOptions(const PackOptions& options, bool withMarker)
{
    lzma_options_lzma lzma{};
    // The lightest preset keeps tests fast.
    if (lzma_lzma_preset(&lzma, 0))
        qFatal("liblzma has no preset 0");
    lzma.dict_size = options.dictionary;
    lzma.lc = static_cast<uint32_t>(options.lc);
    lzma.lp = static_cast<uint32_t>(options.lp);
    lzma.pb = static_cast<uint32_t>(options.pb);
    lzma.ext_flags = withMarker ? LZMA_LZMA1EXT_ALLOW_EOPM : 0;
    return lzma;
}

} // namespace

QByteArray packLzma(const QByteArray& bytes, const PackOptions& options)
{
    const bool withMarker = options.size != PackOptions::Size::Known;
    const auto size = static_cast<quint64>(bytes.size());
    lzma_options_lzma lzma = encoderOptions(options, withMarker);
    const lzma_filter filters[] = {{LZMA_FILTER_LZMA1EXT, &lzma}, {LZMA_VLI_UNKNOWN, nullptr}};
    QByteArray stream(bytes.size() + bytes.size() / 8 + 1024, Qt::Uninitialized);
    size_t produced = 0;
    const lzma_ret result = lzma_raw_buffer_encode(
        filters, nullptr, reinterpret_cast<const uint8_t*>(bytes.constData()),
        static_cast<size_t>(bytes.size()), reinterpret_cast<uint8_t*>(stream.data()), &produced,
        static_cast<size_t>(stream.size()));
    if (result != LZMA_OK)
        qFatal("liblzma cannot pack with these options: %d", static_cast<int>(result));
    stream.truncate(static_cast<qsizetype>(produced));
    const bool known = options.size != PackOptions::Size::Unknown;
    return header(options, known ? size : std::numeric_limits<quint64>::max()) + stream;
}

QByteArray withDeclaredSize(QByteArray packed, quint64 size)
{
    qToLittleEndian(size, packed.data() + propertyBytes);
    return packed;
}
