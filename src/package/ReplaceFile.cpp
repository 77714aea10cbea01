#include "package/ReplaceFile.h"

#include <QSaveFile>

#include <algorithm>

#ifdef Q_OS_WIN
#include "package/WindowsFiles.h"

#include <QFile>
#include <QFileInfo>
#endif

namespace {

constexpr qsizetype writeSlice = 0x100000;

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

bool save(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    QSaveFile target(path);
    return target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           writeInSlices(target, bytes, turn) && target.commit();
}

} // namespace

#ifdef Q_OS_WIN

// QSaveFile throws its work away when the last step fails once, and it would follow a shortcut to
// wherever that points. So it completes a file beside the destination, and the last step is ours.
bool replaceFile(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    const QFileInfo old(path);
    if (old.exists() && (old.isDir() || !old.isWritable()))
        return false;
    const QString fresh = path + QLatin1StringView(".vornak-new");
    if (save(fresh, bytes, turn) &&
        tryWhileHeld([&] { return windowsfiles::moveOver(fresh, path); }, turn))
        return true;
    QFile::remove(fresh);
    return false;
}

#else

bool replaceFile(const QString& path, const QByteArray& bytes, const TurnFunction& turn)
{
    return save(path, bytes, turn);
}

#endif

QString unwritableText(const QString& path)
{
    return QStringLiteral("Failed to create folder: '%1'.").arg(path);
}
