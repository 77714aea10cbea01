#include "package/IncomingFile.h"

#include "package/Hashes.h"
#include "package/Unpack.h"
#include "package/WriteSteps.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype writeSlice = 0x100000;

} // namespace

IncomingFile::IncomingFile(OrlFile file, const QString& path, const QString& unfinishedPath)
    : m_file(std::move(file))
    , m_target(path, unfinishedPath)
{}

void IncomingFile::add(const QByteArray& piece)
{
    m_body.append(piece);
    m_bodySize += piece.size();
}

void IncomingFile::endBody()
{
    m_unpacker.endInput();
}

void IncomingFile::dropBody()
{
    m_body.clear();
    m_bodySize = 0;
    m_taken = 0;
    m_packedHash.reset();
    m_unpacker.giveUp();
}

bool IncomingFile::step()
{
    if (!m_writing)
        return false;
    const bool wantsPiece =
        m_unpacker.needsInput() || m_unpacker.hasEnded() || m_unpacker.hasFailed();
    if (!wantsPiece) {
        keep(m_unpacker.decode());
        return true;
    }
    if (m_taken == m_body.size())
        return false;
    const QByteArray& piece = m_body.at(m_taken++);
    m_packedHash.addData(piece);
    if (m_unpacker.needsInput())
        m_unpacker.addInput(piece);
    return true;
}

// A slice is hashed while it is in the processor's cache. What is more than the stated size proves
// the file wrong; a few packed bytes must not fill the disk with it.
void IncomingFile::keep(QByteArrayView slice)
{
    m_unpackedHash.addData(slice);
    m_unpackedSize += slice.size();
    if (!slice.isEmpty() && m_unpackedSize <= m_file.unpackedsize)
        m_writing = m_target.write(slice);
}

qint64 IncomingFile::accountedSize() const
{
    return m_file.packedsize < 1 ? m_bodySize : m_file.packedsize;
}

StoreResult IncomingFile::finish(const TurnFunction& turn)
{
    bool cancelled = false;
    const TurnFunction step = [&turn, &cancelled] {
        cancelled = cancelled || (turn && !turn());
        return !cancelled;
    };
    if (!m_writing)
        return StoreResult::WritingFailed;
    if (!isSameHash(m_packedHash.finish(), m_file.packedhash))
        return StoreResult::PackedHashDiffers;
    if (!m_unpacker.hasEnded()) {
        const StoreResult result = unpackWhole(step);
        if (result != StoreResult::Stored)
            return cancelled ? StoreResult::Cancelled : result;
    } else if (m_unpackedSize != m_file.unpackedsize ||
               !isSameHash(m_unpackedHash.finish(), m_file.unpackedhash)) {
        return StoreResult::UnpackedDiffers;
    }
    freeBody(step);
    if (cancelled)
        return StoreResult::Cancelled;
    m_writing = putIntoPlace(step);
    if (m_writing)
        return StoreResult::Stored;
    return cancelled ? StoreResult::Cancelled : StoreResult::WritingFailed;
}

WriteResult IncomingFile::putIntoPlace(const TurnFunction& turn)
{
    const QString folder = QFileInfo(path()).path();
    const WriteResult made = QFileInfo::exists(folder) ? WriteResult::done() : makeFolder(folder);
    return made ? m_target.commit(turn) : made;
}

StoreResult IncomingFile::unpackWhole(const TurnFunction& turn)
{
    const QByteArray packed = joinBody(turn);
    QByteArray output;
    m_unpackedHash.reset();
    m_unpackedSize = 0;
    const auto onSlice = [this, &turn](QByteArrayView slice, qint64 offset) {
        if (offset == 0)
            m_unpackedHash.reset();
        m_unpackedHash.addData(slice);
        m_unpackedSize = offset + slice.size();
        return turn();
    };
    if (!turn() || !unpackLzma(packed, output, nullptr, onSlice))
        return StoreResult::UnpackingFailed;
    if (m_unpackedSize != m_file.unpackedsize ||
        !isSameHash(m_unpackedHash.finish(), m_file.unpackedhash))
        return StoreResult::UnpackedDiffers;
    m_writing = writeWhole(output, turn);
    return m_writing ? StoreResult::Stored : StoreResult::WritingFailed;
}

WriteResult IncomingFile::writeWhole(const QByteArray& output, const TurnFunction& turn)
{
    WriteResult result = m_target.rewind();
    for (qsizetype offset = 0; result && offset < output.size(); offset += writeSlice) {
        const qsizetype size = std::min(writeSlice, output.size() - offset);
        result = m_target.write(QByteArrayView(output).sliced(offset, size));
        if (result && !turn())
            return WriteResult::stopped();
    }
    return result;
}

// Each piece goes as soon as it is in the whole: both together would be twice the file.
QByteArray IncomingFile::joinBody(const TurnFunction& turn)
{
    QByteArray whole;
    whole.reserve(m_bodySize);
    for (QByteArray& piece : m_body) {
        whole.append(piece);
        piece = QByteArray();
        if (!turn())
            break;
    }
    m_body.clear();
    return whole;
}

// Giving back the memory of a large file takes longer than a slice of work.
void IncomingFile::freeBody(const TurnFunction& turn)
{
    while (!m_body.isEmpty() && turn())
        m_body.removeLast();
}
