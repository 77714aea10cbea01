#pragma once

#include <QByteArray>

/// How a file is packed.
struct PackOptions
{
    enum class Size {
        /// The header holds the size, and the stream has no end marker.
        Known,
        /// The header holds the size, and the stream has an end marker.
        KnownWithMarker,
        /// The header's size is all ones, and the stream has an end marker.
        Unknown,
    };

    Size size = Size::Known;
    int lc = 3;
    int lp = 0;
    int pb = 2;
    quint32 dictionary = 0x10000;
};

/// `bytes` as an LZMA "alone" file.
[[nodiscard]] QByteArray packLzma(const QByteArray& bytes, const PackOptions& options = {});

/// The packed file with another size in its header.
[[nodiscard]] QByteArray withDeclaredSize(QByteArray packed, quint64 size);
