#pragma once

#include <QString>

namespace publish {

/// A number of things for people, such as "1 file" and "2 files"; `one` is the name of one thing.
[[nodiscard]] QString countText(qint64 count, const char* one);

/// A size for people, such as "3.4 MB".
[[nodiscard]] QString sizeText(qint64 bytes);

/// A time for people, such as "1:05" for 65 seconds.
[[nodiscard]] QString durationText(qint64 seconds);

} // namespace publish
