#pragma once

#include "package/OrlPackageDoc.h"
#include "package/ReplaceFile.h"
#include "package/Sha256.h"
#include "package/StreamUnpacker.h"
#include "package/TurnFunction.h"

#include <QByteArray>
#include <QList>
#include <QString>

enum class StoreResult {
    Stored,
    /// `turn` stopped the work.
    Cancelled,
    PackedHashDiffers,
    UnpackingFailed,
    UnpackedDiffers,
    WritingFailed,
};

/// One file on its way from the content server to its place. Its packed bytes are hashed, unpacked,
/// hashed again and written to the unfinished file while they arrive, a slice of some milliseconds
/// at a time; nothing comes into its place before finish() has checked all of it.
///
/// The packed bytes stay in memory until then, since a few streams can only be unpacked as a whole
/// (see StreamUnpacker); the unpacked ones do not.
class IncomingFile
{
public:
    /// `path` is the file's place, `unfinishedPath` as for FileReplacement. Touches no disk.
    IncomingFile(OrlFile file, const QString& path, const QString& unfinishedPath);

    [[nodiscard]] const OrlFile& file() const { return m_file; }
    [[nodiscard]] QString path() const { return m_target.path(); }

    /// Takes the next bytes of the body. What is to be done with them is left to step().
    void add(const QByteArray& piece);
    /// The body is complete.
    void endBody();
    /// The transfer failed: all of it is forgotten, as if an empty body had come.
    void dropBody();

    /// Does one slice of the work that the bytes so far allow. False when there is none left, or
    /// none that would be of use: see cannotBeWritten().
    bool step();

    /// The unfinished file could not be made or has no room. No more of the body is worth having.
    [[nodiscard]] bool cannotBeWritten() const { return !m_writing; }
    /// Why finish() came to WritingFailed.
    [[nodiscard]] WriteResult writing() const { return m_writing; }

    /// Bytes of the body so far.
    [[nodiscard]] qint64 bodySize() const { return m_bodySize; }
    /// Whether there is a body at all, where one was promised.
    [[nodiscard]] bool isAccepted() const { return m_bodySize > 0 || m_file.packedsize == 0; }
    /// What the file adds to the bytes done. Without a stated size it is more than the total
    /// counted, which only shows in a bar that is full early.
    [[nodiscard]] qint64 accountedSize() const;
    /// Bytes that came out of the body.
    [[nodiscard]] qint64 unpackedSize() const { return m_unpackedSize; }

    /// Checks everything, in this order: packed hash, stream, unpacked hash and size; then puts the
    /// file into its place, making the folders on the way. Called once, when step() has nothing
    /// more to do. On any result but Stored the old file, if there is one, is untouched and nothing
    /// else is left behind.
    [[nodiscard]] StoreResult finish(const TurnFunction& turn = {});

private:
    void keep(QByteArrayView slice);
    StoreResult unpackWhole(const TurnFunction& turn);
    WriteResult writeWhole(const QByteArray& output, const TurnFunction& turn);
    WriteResult putIntoPlace(const TurnFunction& turn);
    [[nodiscard]] QByteArray joinBody(const TurnFunction& turn);
    void freeBody(const TurnFunction& turn);

    OrlFile m_file;
    FileReplacement m_target;
    QList<QByteArray> m_body;
    qint64 m_bodySize = 0;
    /// Pieces of the body that have been hashed and handed to the unpacker.
    qsizetype m_taken = 0;
    Sha256 m_packedHash;
    StreamUnpacker m_unpacker;
    Sha256 m_unpackedHash;
    qint64 m_unpackedSize = 0;
    WriteResult m_writing = WriteResult::done();
};
