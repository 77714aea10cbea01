#include "package/ReplaceFile.h"

#include <algorithm>

#ifdef Q_OS_WIN
#include "package/ReplacementNames.h"
#include "package/WindowsFiles.h"

#include <QFileInfo>
#endif

namespace {

constexpr qsizetype writeSlice = 0x100000;

} // namespace

bool FileReplacement::write(const QByteArray& bytes, const TurnFunction& turn)
{
    for (qsizetype offset = 0; offset < bytes.size(); offset += writeSlice) {
        const qsizetype size = std::min(writeSlice, bytes.size() - offset);
        if (m_fresh.write(bytes.constData() + offset, size) != size)
            return false;
        if (turn && !turn())
            return false;
    }
    return true;
}

#ifdef Q_OS_WIN

// QSaveFile throws its work away when the last step fails once, would follow a shortcut to wherever
// that points, and gives its file another name each time, so that those of a launcher which was
// killed would gather. So the file beside the destination and the last step are ours.
FileReplacement::FileReplacement(const QString& path)
    : m_path(path)
    , m_fresh(path + QLatin1StringView(VORNAK_FRESH_SUFFIX))
{}

// Two launchers may be at work. The file of one that still writes cannot be removed, so that the
// other waits, and fails in the end, instead of writing into it.
bool FileReplacement::open()
{
    m_fresh.remove();
    return m_fresh.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered);
}

// A file has a name here as soon as it is opened, and would stay behind if the program were killed
// before its content had come.
void FileReplacement::prepare() {}

bool FileReplacement::commit(const QByteArray& bytes, const TurnFunction& turn)
{
    const QFileInfo old(m_path);
    if (old.exists() && (old.isDir() || !old.isWritable()))
        return false;
    // A virus scanner may hold what a killed launcher left.
    const auto begin = [this] {
        return open() ? FileAttempt::Done
                      : (m_fresh.exists() ? FileAttempt::Held : FileAttempt::Failed);
    };
    if (!tryWhileHeld(begin, turn))
        return false;
    const bool written = write(bytes, turn) && windowsfiles::flushToDisk(m_fresh);
    m_fresh.close();
    // Closed, it may give way to that of another launcher, which may not be whole.
    const auto finish = [this, &bytes] {
        return m_fresh.size() == bytes.size() ? windowsfiles::moveOver(m_fresh.fileName(), m_path)
                                              : FileAttempt::Failed;
    };
    if (written && tryWhileHeld(finish, turn))
        return true;
    m_fresh.remove();
    return false;
}

#else

FileReplacement::FileReplacement(const QString& path)
    : m_path(path)
    , m_fresh(path)
{}

bool FileReplacement::open()
{
    return m_fresh.isOpen() || m_fresh.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

// The file gets its name with the last step of all.
void FileReplacement::prepare()
{
    open();
}

bool FileReplacement::commit(const QByteArray& bytes, const TurnFunction& turn)
{
    return open() && write(bytes, turn) && m_fresh.commit();
}

#endif

bool replaceFile(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    return FileReplacement(path).commit(bytes, turn);
}

QString unwritableText(const QString& path)
{
    return QStringLiteral("Failed to create folder: '%1'.").arg(path);
}
