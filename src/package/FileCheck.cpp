#include "package/FileCheck.h"

#include "package/Hashes.h"
#include "package/VerifiedFiles.h"

#include <QFile>

bool isInstalledAt(const QString& path, const OrlFile& file, VerifiedFiles& verified,
                   const TurnFunction& turn)
{
    const qint64 now = fileClock();
    const auto stamp = fileStamp(path);
    if (!stamp || stamp->size != file.unpackedsize)
        return false;
    if (verified.holds(path, *stamp, file.unpackedhash))
        return true;
    SliceFunction onSlice;
    if (turn)
        onSlice = [&turn](QByteArrayView, qint64) { return turn(); };
    QFile device(path);
    if (!device.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ||
        !isSameHash(hashDevice(&device, onSlice), file.unpackedhash))
        return false;
    verified.addRead(path, *stamp, now, file.unpackedhash);
    return true;
}
