#include "package/ReplaceFile.h"

#include "package/HeldFile.h"
#include "package/ReplacementNames.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace {

constexpr qsizetype slice = 0x100000;

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

bool FileReplacement::isReady()
{
    if (m_file.isOpen())
        return true;
    const QFileInfo old(m_path);
    if (old.exists() && (old.isDir() || !old.isWritable()))
        return false;
    return open();
}

bool FileReplacement::write(QByteArrayView bytes)
{
    return isReady() && m_file.write(bytes.data(), bytes.size()) == bytes.size();
}

bool FileReplacement::rewind()
{
    return !m_file.isOpen() || (m_file.resize(0) && m_file.seek(0));
}

bool FileReplacement::commit(const TurnFunction& turn)
{
    if (!isReady())
        return false;
    FileAttempt last = FileAttempt::Failed;
    const auto attempt = [this, &last] { return last = place(); };
    if (flush() && tryWhileHeld(attempt, turn)) {
        m_file.close();
        return true;
    }
    const bool copied = last == FileAttempt::OtherVolume && copyToOtherVolume(turn);
    discard();
    return copied;
}

// A folder of the package may be a link to another disk, which no file can be moved to.
bool FileReplacement::copyToOtherVolume(const TurnFunction& turn)
{
    FileReplacement beside(m_path, m_path + QLatin1StringView(VORNAK_FRESH_SUFFIX));
    QByteArray bytes(slice, Qt::Uninitialized);
    if (!m_file.seek(0))
        return false;
    for (;;) {
        const qint64 count = m_file.read(bytes.data(), bytes.size());
        if (count == 0)
            return beside.commit(turn);
        if (count < 0 || !beside.write(QByteArrayView(bytes).first(count)) || (turn && !turn()))
            return false;
    }
}

bool replaceFile(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    FileReplacement replacement(path, path + QLatin1StringView(VORNAK_FRESH_SUFFIX));
    for (qsizetype offset = 0; offset < bytes.size(); offset += slice) {
        const qsizetype size = std::min(slice, bytes.size() - offset);
        if (!replacement.write(QByteArrayView(bytes).sliced(offset, size)) || (turn && !turn()))
            return false;
    }
    return replacement.commit(turn);
}

QString unfinishedPathIn(const QString& folder)
{
    return QDir(folder).filePath(QLatin1StringView(VORNAK_UNFINISHED_NAME));
}

QString unwritableText(const QString& path)
{
    return QStringLiteral("Failed to create folder: '%1'.").arg(path);
}
