#pragma once

#include <QByteArrayView>
#include <QString>

#include <functional>
#include <optional>

class QIODevice;

namespace publish {

/// How hard the encoder works. The default is the strongest that a player's machine unpacks within
/// 64 MiB: a level more would only double the dictionary.
struct PackLevel
{
    static constexpr int strongest = 8;

    int level = strongest;
    /// Tries harder for the same format and the same memory in the decoder.
    bool extreme = true;

    bool operator==(const PackLevel&) const = default;
};

/// Reads "0" to "8", with or without "e" for extreme; nothing for other texts.
[[nodiscard]] std::optional<PackLevel> parsePackLevel(const QString& text);

/// The dictionary for a file of `size` bytes: the smallest power of two that holds all of it,
/// within the level's own dictionary and the least that the format knows.
[[nodiscard]] quint32 dictionarySize(qint64 size, const PackLevel& level);

/// What the encoder for a file of `size` bytes takes, in bytes; the same for every larger file once
/// the level's dictionary is reached.
[[nodiscard]] qint64 encoderMemory(qint64 size, const PackLevel& level);

/// What a decoder takes at most for files of this level, in bytes.
[[nodiscard]] qint64 decoderMemory(const PackLevel& level);

/// Sizes and hashes of a file before and after packing; hashes as in the package documents.
struct PackedFile
{
    QString unpackedhash;
    qint64 unpackedsize = 0;
    QString packedhash;
    qint64 packedsize = 0;

    bool operator==(const PackedFile&) const = default;
};

/// Called with the bytes of input taken since the last call.
using PackProgress = std::function<void(qint64)>;

/// Packs exactly `size` bytes of `input` into `output` as one LZMA "alone" file (the ".lzma"
/// container of the LZMA SDK and of xz): the size stands in the header and no end marker follows.
/// Memory is encoderMemory() and two small buffers, whatever the size. The same bytes come out for
/// the same input and level everywhere that has the same liblzma. Nothing and a text when the
/// devices fail or when the input has less or more than `size` bytes.
[[nodiscard]] std::optional<PackedFile> packDevice(QIODevice& input, qint64 size, QIODevice& output,
                                                   const PackLevel& level, QString* error,
                                                   const PackProgress& progress = {});

} // namespace publish
