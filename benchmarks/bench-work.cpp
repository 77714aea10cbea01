// Speed of the three kinds of work that an installation and a check consist of, on one file in
// memory or in the page cache. Argument: its size in MB (default 64).

#include "BenchSupport.h"
#include "package/PackageClient.h"
#include "package/Unpack.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>
#include <limits>

namespace {

// The best of three: what disturbs a run only ever makes it slower.
void printSpeed(const char* name, qsizetype bytes, const std::function<bool()>& work)
{
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < 3; ++i) {
        const std::int64_t start = monotonicNs();
        if (!work()) {
            std::fprintf(stderr, "%s: failed\n", name);
            return;
        }
        best = std::min(best, static_cast<double>(monotonicNs() - start) / 1e9);
    }
    printFigure(name, static_cast<double>(bytes) / 1e6 / best, "MB/s");
}

bool verify(const OrlFile& file, const QString& folder)
{
    // A new client each time: one that has read the file would not read it again.
    PackageClient client(nullptr);
    return client.isFileInstalled(file, folder);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const qsizetype size = (argc > 1 ? QByteArray(argv[1]).toLongLong() : 64) * 1'000'000;
    const QByteArray bytes = payload(size, 1);
    const QByteArray body = packed(bytes);
    const QTemporaryDir folder;
    const OrlFile file{{}, QStringLiteral("file"), {}, 0, hashBytes(bytes), bytes.size()};
    QFile onDisk(folder.filePath(file.localfile));
    if (bytes.isEmpty() || body.isEmpty() || !onDisk.open(QIODevice::WriteOnly) ||
        onDisk.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "cannot prepare the file\n");
        return 1;
    }
    onDisk.close();

    printFigure("packed size of unpacked", 100.0 * double(body.size()) / double(size), "%");
    printSpeed("hashing", size, [&] { return hashBytes(bytes) == file.unpackedhash; });
    printSpeed("hashing with Qt's own SHA-256, to compare", size, [&] {
        return !QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).isEmpty();
    });
    QByteArray unpacked;
    printSpeed("unpacking, by the unpacked size", size,
               [&] { return unpackLzma(body, unpacked, nullptr); });
    printSpeed("verifying an installed file", size, [&] { return verify(file, folder.path()); });
    return unpacked == bytes ? 0 : 1;
}
