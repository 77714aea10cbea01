#include "package/TransferLimits.h"

#include <QNetworkReply>

#include <algorithm>

qint64 largestPacked(const OrlFile& file)
{
    constexpr qint64 worst = 16;
    const qint64 unpacked = std::clamp<qint64>(file.unpackedsize, 0, transferlimits::packed);
    return std::min(std::max(file.packedsize, unpacked * worst + transferlimits::text),
                    transferlimits::packed);
}

void limitTransfer(QNetworkReply& reply, qint64 largest)
{
    const auto check = [&reply, largest](qint64 bytes) {
        if (bytes > largest)
            reply.abort();
    };
    QObject::connect(&reply, &QNetworkReply::metaDataChanged, &reply, [&reply, check] {
        check(reply.header(QNetworkRequest::ContentLengthHeader).toLongLong());
    });
    QObject::connect(&reply, &QNetworkReply::downloadProgress, &reply, check);
}
