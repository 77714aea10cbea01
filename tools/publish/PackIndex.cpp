#include "publish/PackIndex.h"

#include <QList>

namespace publish {

namespace {

const QByteArray safeMark = "safe";

} // namespace

QByteArray indexLine(const PackedFile& file, bool isSafe)
{
    const QByteArray line = QStringLiteral("%1 %2 %3 %4")
                                .arg(file.unpackedhash)
                                .arg(file.unpackedsize)
                                .arg(file.packedhash)
                                .arg(file.packedsize)
                                .toLatin1();
    return isSafe ? line + ' ' + safeMark + '\n' : line + '\n';
}

std::optional<IndexedFile> readIndexLine(const QByteArray& line)
{
    constexpr qsizetype leastFields = 4;
    const QList<QByteArray> fields = line.trimmed().split(' ');
    if (fields.size() < leastFields)
        return std::nullopt;
    const PackedFile file{QString::fromLatin1(fields.at(0)), fields.at(1).toLongLong(),
                          QString::fromLatin1(fields.at(2)), fields.at(3).toLongLong()};
    return IndexedFile{file, fields.value(leastFields) == safeMark};
}

} // namespace publish
