// Writes files whose content packs like a game's. Arguments: folder, number, bytes of each. Files
// lie a hundred to a folder and differ from each other.

#include "BenchSupport.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <cstdio>

int main(int argc, char* argv[])
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: bench-payload FOLDER NUMBER BYTES\n");
        return 2;
    }
    const QDir folder(QFile::decodeName(argv[1]));
    const int count = QByteArray(argv[2]).toInt();
    const qsizetype size = QByteArray(argv[3]).toLongLong();
    for (int i = 0; i < count; ++i) {
        const QString part = QStringLiteral("data/%1").arg(i / 100, 3, 10, QLatin1Char('0'));
        QFile file(folder.filePath(QStringLiteral("%1/%2.bin").arg(part).arg(i)));
        const QByteArray bytes = payload(size, static_cast<std::uint32_t>(i) + 1);
        if (!folder.mkpath(part) || !file.open(QIODevice::WriteOnly) ||
            file.write(bytes) != bytes.size()) {
            std::fprintf(stderr, "cannot write %s\n", qUtf8Printable(file.fileName()));
            return 1;
        }
    }
    return 0;
}
