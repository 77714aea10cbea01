#include "package/StoreFile.h"

#include "package/Sha256.h"
#include "package/Unpack.h"
#include "package/VerifiedFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <memory>

namespace {

constexpr qsizetype writeSlice = 0x100000;

SliceFunction turning(const TurnFunction& turn)
{
    if (!turn)
        return {};
    return [&turn](QByteArrayView, qint64) { return turn(); };
}

// Unpacks and takes the hash of each slice while it is still in the processor's cache.
bool unpackAndHash(const QByteArray& body, QByteArray& output, QString& hashText,
                   const TurnFunction& turn)
{
    Sha256 hash;
    const auto onSlice = [&hash, &turn](QByteArrayView slice, qint64 offset) {
        if (offset == 0)
            hash.reset();
        hash.addData(slice);
        return !turn || turn();
    };
    if (!unpackLzma(body, output, nullptr, onSlice))
        return false;
    hashText = hash.finish();
    return true;
}

bool writeInSlices(QSaveFile& target, const QByteArray& bytes, const TurnFunction& turn)
{
    for (qsizetype offset = 0; offset < bytes.size(); offset += writeSlice) {
        const qsizetype size = std::min(writeSlice, bytes.size() - offset);
        if (target.write(bytes.constData() + offset, size) != size)
            return false;
        if (turn && !turn())
            return false;
    }
    return true;
}

std::unique_ptr<QSaveFile> openForReplacing(const QString& path)
{
    auto target = std::make_unique<QSaveFile>(path);
    return target->open(QIODevice::WriteOnly | QIODevice::Unbuffered) ? std::move(target) : nullptr;
}

// Most files go into a folder that is there already; it is made when opening shows that it is not.
bool replaceFile(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    auto target = openForReplacing(path);
    if (!target && QDir().mkpath(QFileInfo(path).path()))
        target = openForReplacing(path);
    return target && writeInSlices(*target, bytes, turn) && target->commit();
}

} // namespace

bool isInstalledAt(const QString& path, const OrlFile& file, VerifiedFiles& verified,
                   const TurnFunction& turn)
{
    const qint64 now = fileClock();
    const auto stamp = fileStamp(path);
    if (!stamp || stamp->size != file.unpackedsize)
        return false;
    if (verified.holds(path, *stamp, file.unpackedhash))
        return true;
    QFile device(path);
    if (!device.open(QIODevice::ReadOnly | QIODevice::Unbuffered) ||
        hashDevice(&device, turning(turn)) != file.unpackedhash)
        return false;
    verified.addRead(path, *stamp, now, file.unpackedhash);
    return true;
}

StoreResult storeFile(const OrlFile& file, const QByteArray& body, const QString& path,
                      const TurnFunction& turn)
{
    bool cancelled = false;
    const TurnFunction step = [&turn, &cancelled] {
        cancelled = cancelled || (turn && !turn());
        return !cancelled;
    };
    const auto failure = [&cancelled](StoreResult result) {
        return cancelled ? StoreResult::Cancelled : result;
    };

    if (hashBytes(body, turning(step)) != file.packedhash)
        return failure(StoreResult::PackedHashDiffers);
    QByteArray output;
    QString unpackedHash;
    if (!unpackAndHash(body, output, unpackedHash, step))
        return failure(StoreResult::UnpackingFailed);
    if (unpackedHash != file.unpackedhash || output.size() != file.unpackedsize)
        return StoreResult::UnpackedDiffers;
    return replaceFile(path, output, step) ? StoreResult::Stored
                                           : failure(StoreResult::WritingFailed);
}
