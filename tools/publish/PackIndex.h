#pragma once

#include "publish/Packer.h"

#include <QByteArray>

#include <optional>

namespace publish {

/// A line of the index of packed files: sizes and hashes, separated by blanks, and "safe" behind
/// them when the packed file is on the disk, and not only on its way to it.
struct IndexedFile
{
    PackedFile file;
    bool isSafe = false;
};

/// The line, with its end.
[[nodiscard]] QByteArray indexLine(const PackedFile& file, bool isSafe);

/// Nothing when the line has not all that it needs.
[[nodiscard]] std::optional<IndexedFile> readIndexLine(const QByteArray& line);

} // namespace publish
