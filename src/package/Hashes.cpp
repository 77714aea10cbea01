#include "package/Hashes.h"

#include "package/Sha256.h"

#include <QIODevice>

#include <algorithm>

namespace {

constexpr qsizetype hashSlice = 0x100000;

} // namespace

QString hashBytes(const QByteArray& data, const SliceFunction& onSlice)
{
    Sha256 hash;
    for (qsizetype offset = 0; offset < data.size(); offset += hashSlice) {
        const QByteArrayView slice =
            QByteArrayView(data).sliced(offset, std::min(hashSlice, data.size() - offset));
        hash.addData(slice);
        if (onSlice && !onSlice(slice, offset))
            return {};
    }
    return hash.finish();
}

QString hashDevice(QIODevice* device, const SliceFunction& onSlice)
{
    Sha256 hash;
    // No larger than what there is to read: most files are small, and fresh memory is dear.
    const qint64 expected = device->isSequential() ? hashSlice : device->size() - device->pos();
    QByteArray buffer(static_cast<qsizetype>(std::clamp<qint64>(expected, 1, hashSlice)),
                      Qt::Uninitialized);
    qint64 offset = 0;
    while (!device->atEnd()) {
        const qint64 read = device->read(buffer.data(), buffer.size());
        if (read <= 0)
            break;
        const QByteArrayView slice(buffer.constData(), read);
        hash.addData(slice);
        if (onSlice && !onSlice(slice, offset))
            return {};
        offset += read;
    }
    return hash.finish();
}

bool isSameHash(const QString& hash, const QString& wanted)
{
    return !hash.isEmpty() && hash == wanted;
}
