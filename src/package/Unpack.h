#pragma once

// Packed files are hashed before and after unpacking: whoever includes this needs both.
#include "package/Hashes.h"
#include "package/SliceFunction.h"

#include <QByteArray>
#include <QString>

/// Decodes one LZMA "alone" file (the ".lzma" container of the LZMA SDK and of xz: 5 property
/// bytes, unpacked size as 64-bit little-endian, stream). Properties with lc + lp above 4 fail,
/// since liblzma takes none.
///
/// A declared size below 2 GiB is decoded to that size, with or without an end marker; an end
/// marker that comes earlier ends the output there. Declared sizes from 2 GiB to 4 GiB fail. Larger
/// ones, among them all bits set for "unknown", are not looked at: the stream must end with its
/// marker and stay below 4 GiB. Bytes behind the end of the stream are ignored. Memory grows with
/// what the input can really yield, not with what its header promises.
///
/// On failure (or when `onSlice` stops the work) `error`, when given, is set to "Failed to
/// decompress file downloaded from", for the caller to append the address; `out` is empty, or
/// untouched when nothing was decoded because the header is short or cannot be used.
[[nodiscard]] bool unpackLzma(const QByteArray& packed, QByteArray& out, QString* error = nullptr,
                              const SliceFunction& onSlice = {});
