#include "package/StoreFile.h"

#include "package/ReplaceFile.h"
#include "package/Sha256.h"
#include "package/Unpack.h"
#include "package/VerifiedFiles.h"

#include <QDir>
#include <QFileInfo>

namespace {

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

// A hash is empty when its computation was stopped or failed; an entry may lack one. Neither
// matches anything, least of all the other.
bool matches(const QString& hash, const QString& wanted)
{
    return !hash.isEmpty() && hash == wanted;
}

bool commitWithFolders(FileReplacement& target, const QByteArray& bytes, const TurnFunction& turn)
{
    const QString folder = QFileInfo(target.path()).path();
    if (!QFileInfo::exists(folder))
        QDir().mkpath(folder);
    return target.commit(bytes, turn);
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
        !matches(hashDevice(&device, turning(turn)), file.unpackedhash))
        return false;
    verified.addRead(path, *stamp, now, file.unpackedhash);
    return true;
}

StoreResult storeFile(const OrlFile& file, const QByteArray& body, FileReplacement& target,
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

    if (!matches(hashBytes(body, turning(step)), file.packedhash))
        return failure(StoreResult::PackedHashDiffers);
    QByteArray output;
    QString unpackedHash;
    if (!unpackAndHash(body, output, unpackedHash, step))
        return failure(StoreResult::UnpackingFailed);
    if (!matches(unpackedHash, file.unpackedhash) || output.size() != file.unpackedsize)
        return StoreResult::UnpackedDiffers;
    if (!commitWithFolders(target, output, step))
        return failure(StoreResult::WritingFailed);
    // Freeing a large file's memory on return takes a while. Even if the program is ending, the
    // file is in its place now.
    step();
    return StoreResult::Stored;
}
