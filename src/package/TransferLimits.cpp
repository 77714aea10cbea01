#include "package/TransferLimits.h"

#include <algorithm>

qint64 largestPacked(const OrlFile& file)
{
    constexpr qint64 worst = 16;
    const qint64 unpacked = std::clamp<qint64>(file.unpackedsize, 0, transferlimits::packed);
    return std::min(std::max(file.packedsize, unpacked * worst + transferlimits::text),
                    transferlimits::packed);
}
