#include "package/ReplaceFile.h"

#include "package/HeldFile.h"
#include "package/ReplacementNames.h"
#include "package/WriteSteps.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype copiedSlice = 0x100000;

} // namespace

FileReplacement::FileReplacement(QString path, QString unfinishedPath)
    : m_path(std::move(path))
    , m_unfinishedPath(std::move(unfinishedPath))
{}

FileReplacement::~FileReplacement()
{
    discard();
}

void FileReplacement::discard()
{
    if (!m_file.isOpen())
        return;
    if (m_hasName)
        removeUnfinished();
    m_file.close();
}

WriteResult FileReplacement::makeReady()
{
    if (m_file.isOpen())
        return WriteResult::done();
    const QFileInfo old(m_path);
    if (old.isDir())
        return WriteResult::failed(std::errc::is_a_directory);
    if (old.exists() && !old.isWritable())
        return WriteResult::failed(std::errc::permission_denied);
    return open();
}

WriteResult FileReplacement::write(QByteArrayView bytes)
{
    const WriteResult ready = makeReady();
    return ready ? writeAll(m_file, bytes) : ready;
}

WriteResult FileReplacement::rewind()
{
    if (!m_file.isOpen() || (m_file.resize(0) && m_file.seek(0)))
        return WriteResult::done();
    return WriteResult::failed(m_file.errorString());
}

WriteResult FileReplacement::commit(const TurnFunction& turn)
{
    WriteResult result = makeReady();
    if (result)
        result = flush();
    if (result)
        result = placeWhenReleased(turn);
    // Nothing any more where it came into its place.
    discard();
    return result;
}

WriteResult FileReplacement::placeWhenReleased(const TurnFunction& turn)
{
    FileAttempt last = FileAttempt::Failed;
    QString reason;
    bool isStopped = false;
    const auto attempt = [this, &last, &reason] { return last = place(reason); };
    const auto goOn = [&turn, &isStopped] {
        isStopped = turn && !turn();
        return !isStopped;
    };
    if (tryWhileHeld(attempt, goOn)) {
        m_file.close();
        return WriteResult::done();
    }
    if (last == FileAttempt::OtherVolume)
        return copyToOtherVolume(turn);
    return isStopped ? WriteResult::stopped() : WriteResult::failed(reason);
}

// A folder of the package may be a link to another disk, which no file can be moved to.
WriteResult FileReplacement::copyToOtherVolume(const TurnFunction& turn)
{
    FileReplacement beside(m_path, m_path + QLatin1StringView(VORNAK_FRESH_SUFFIX));
    QByteArray bytes(copiedSlice, Qt::Uninitialized);
    if (!m_file.seek(0))
        return WriteResult::failed(m_file.errorString());
    for (;;) {
        const qint64 count = m_file.read(bytes.data(), bytes.size());
        if (count == 0)
            return beside.commit(turn);
        if (count < 0)
            return WriteResult::failed(m_file.errorString());
        if (const WriteResult written = beside.write(QByteArrayView(bytes).first(count)); !written)
            return written;
        if (turn && !turn())
            return WriteResult::stopped();
    }
}

WriteResult replaceFile(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    FileReplacement replacement(path, path + QLatin1StringView(VORNAK_FRESH_SUFFIX));
    for (qsizetype offset = 0; offset < bytes.size(); offset += copiedSlice) {
        const auto piece =
            QByteArrayView(bytes).sliced(offset, std::min(copiedSlice, bytes.size() - offset));
        if (const WriteResult written = replacement.write(piece); !written)
            return written;
        if (turn && !turn())
            return WriteResult::stopped();
    }
    return replacement.commit(turn);
}

QString unfinishedPathIn(const QString& folder)
{
    return QDir(folder).filePath(QLatin1StringView(VORNAK_UNFINISHED_NAME));
}
