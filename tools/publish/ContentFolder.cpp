#include "publish/ContentFolder.h"

#include "publish/DiskSteps.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

namespace {

bool fail(QString* error, const QString& text)
{
    if (error)
        *error = text;
    return false;
}

// Who has the lock stands beside it: on Windows nobody else can read the locked file. It helps the
// operator to find the other publisher; whether there is one is for the lock alone to say.
QString holderText(const QString& path)
{
    QFile file(path);
    const QStringList lines =
        file.open(QIODevice::ReadOnly)
            ? QString::fromUtf8(file.read(1024)).split(u'\n', Qt::SkipEmptyParts)
            : QStringList();
    return lines.size() == 2 ? QStringLiteral("process %1 on %2").arg(lines.at(1), lines.at(0))
                             : QStringLiteral("an unknown process");
}

void noteHolder(const QString& path)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(QStringLiteral("%1\n%2\n")
                       .arg(QSysInfo::machineHostName())
                       .arg(QCoreApplication::applicationPid())
                       .toUtf8());
}

// Two versions of one size in the same second would pass for the same to a cache that asks.
void makeYounger(const QString& path, const QString& than)
{
    const QFileInfo old(than);
    if (!old.exists())
        return;
    const QDateTime least = old.lastModified().addSecs(1);
    QFile file(path);
    if (QFileInfo(path).lastModified() < least && file.open(QIODevice::ReadWrite))
        file.setFileTime(least, QFileDevice::FileModificationTime);
}

} // namespace

ContentFolder::ContentFolder(const QString& root)
    : m_root(QDir::cleanPath(QDir(root).absolutePath()))
{
    // Addresses begin with the "/" that the root of a drive ends with.
    if (m_root.endsWith(u'/'))
        m_root.chop(1);
}

QString ContentFolder::path(const QString& address) const
{
    return m_root + address;
}

QString ContentFolder::ownFile(const QString& name) const
{
    return m_root + QLatin1StringView("/.publisher/") + name;
}

bool ContentFolder::openForWriting(QString* error)
{
    if (!QDir().mkpath(ownFile(QString())))
        return fail(error, QStringLiteral("%1: the folder cannot be written").arg(m_root));
    if (!takeLock(error))
        return false;
    QDir work(ownFile(QStringLiteral("unfinished")));
    work.removeRecursively();
    return QDir().mkpath(work.path()) ||
           fail(error, QStringLiteral("%1: the folder cannot be written").arg(work.path()));
}

bool ContentFolder::takeLock(QString* error)
{
    const QString path = ownFile(QStringLiteral("lock"));
    const QString holder = ownFile(QStringLiteral("lock-holder"));
    QString reason;
    m_lock = FileLock::take(path, nullptr, &reason);
    if (!m_lock)
        return fail(error,
                    reason.isEmpty()
                        ? QStringLiteral("%1: another publisher is at work here: %2 holds %3")
                              .arg(m_root, holderText(holder), path)
                        : QStringLiteral("%1: cannot be locked: %2").arg(path, reason));
    noteHolder(holder);
    return true;
}

QByteArray ContentFolder::read(const QString& address) const
{
    QFile file(path(address));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool ContentFolder::exists(const QString& address) const
{
    return QFileInfo::exists(path(address));
}

QString ContentFolder::workPath()
{
    return ownFile(QStringLiteral("unfinished/%1").arg(++m_workNumber));
}

bool ContentFolder::moveIntoPlace(const QString& workPath, const QString& address,
                                  QString* error) const
{
    const QString target = path(address.endsWith(u'/') ? address.chopped(1) : address);
    {
        // On Windows, of two threads that make the same folders at once one may end without them.
        const std::lock_guard lock(m_makingFolders);
        QDir().mkpath(QFileInfo(target).path());
    }
    QString reason;
    return moveInOneStep(workPath, target, &reason) ||
           fail(error, QStringLiteral("%1: cannot be written: %2").arg(target, reason));
}

bool ContentFolder::removeFolder(const QString& address)
{
    const QString folder = path(address.endsWith(u'/') ? address.chopped(1) : address);
    const QString work = workPath();
    QString reason;
    return moveInOneStep(folder, work, &reason) && QDir(work).removeRecursively();
}

bool ContentFolder::replace(const QString& address, const QByteArray& bytes, QString* error)
{
    const QString work = workPath();
    if (!writeFile(work, bytes, true, error))
        return false;
    makeYounger(work, path(address));
    return moveIntoPlace(work, address, error);
}

void ContentFolder::sync() const
{
    syncFileSystem(m_root);
}

bool writeFile(const QString& path, const QByteArray& bytes, bool durable, QString* error)
{
    QFile file(path);
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                         file.write(bytes) == bytes.size() && file.flush();
    if (!written)
        return fail(error,
                    QStringLiteral("%1: cannot be written: %2").arg(path, file.errorString()));
    return !durable || flushToDisk(file) ||
           fail(error, QStringLiteral("%1: cannot be written: %2").arg(path, qt_error_string()));
}
