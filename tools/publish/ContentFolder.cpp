#include "publish/ContentFolder.h"

#include "package/Failure.h"
#include "publish/DiskSteps.h"
#include "publish/FileWriting.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QSysInfo>

#include <algorithm>
#include <array>

namespace publish {

namespace {

// More than the metadata, an identity and the folders for them can ever take.
constexpr qsizetype reserveSize = qsizetype(1) << 20;

// Some file systems keep what can be compressed in no room at all.
QByteArray incompressible(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    QRandomGenerator generator(1);
    std::array<quint32, 1024> block{};
    for (qsizetype begin = 0; begin < size; begin += qsizetype(sizeof(block))) {
        generator.fillRange(block.data(), qsizetype(block.size()));
        std::copy_n(reinterpret_cast<const char*>(block.data()),
                    std::min(qsizetype(sizeof(block)), size - begin), bytes.data() + begin);
    }
    return bytes;
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

bool ContentFolder::openForWriting(QString* error, Purpose purpose)
{
    m_purpose = purpose;
    if (!makeFolder(m_root + QLatin1StringView("/.publisher"), error) || !takeLock(error) ||
        !emptyWorkFolder(error))
        return false;
    if (purpose == Purpose::Publish)
        keepReserve();
    return true;
}

// The folder itself stays: a full disk has no room for another one.
bool ContentFolder::emptyWorkFolder(QString* error) const
{
    const QDir work(ownFile(QStringLiteral("unfinished")));
    const QFileInfoList left =
        work.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : left) {
        if (entry.isDir() && !entry.isSymLink())
            QDir(entry.filePath()).removeRecursively();
        else
            QFile::remove(entry.filePath());
    }
    return makeFolder(work.path(), error);
}

void ContentFolder::keepReserve()
{
    const QString path = ownFile(QStringLiteral("reserve"));
    if (QFileInfo(path).size() >= reserveSize)
        return;
    const QString work = workPath();
    QString reason;
    if (!writeFile(work, incompressible(reserveSize), false, nullptr) ||
        !moveInOneStep(work, path, &reason))
        QFile::remove(work);
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

QStringList ContentFolder::subfolders(const QString& address) const
{
    return QDir(path(address))
        .entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
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
        if (!makeFolder(QFileInfo(target).path(), error))
            return false;
    }
    QString reason;
    return moveInOneStep(workPath, target, &reason) ||
           fail(error, QStringLiteral("%1: cannot be written: %2").arg(target, reason));
}

bool ContentFolder::removeFolder(const QString& address, QString* error)
{
    const QString folder = path(address.endsWith(u'/') ? address.chopped(1) : address);
    const QString work = workPath();
    QString reason;
    if (!moveInOneStep(folder, work, &reason))
        return fail(error, QStringLiteral("%1: cannot be removed: %2").arg(folder, reason));
    return QDir(work).removeRecursively() ||
           fail(error, QStringLiteral("%1: cannot be removed: %2").arg(work, qt_error_string()));
}

bool ContentFolder::replace(const QString& address, const QByteArray& bytes, QString* error)
{
    if (tryReplace(address, bytes, error))
        return true;
    return m_purpose == Purpose::WayOut && QFile::remove(ownFile(QStringLiteral("reserve"))) &&
           tryReplace(address, bytes, error);
}

bool ContentFolder::tryReplace(const QString& address, const QByteArray& bytes, QString* error)
{
    const QString work = workPath();
    if (!writeFile(work, bytes, true, error)) {
        QFile::remove(work);
        return false;
    }
    makeYounger(work, path(address));
    return moveIntoPlace(work, address, error);
}

bool ContentFolder::sync(QString* error) const
{
    return syncFileSystem(m_root) ||
           fail(error, QStringLiteral("%1: cannot be written: %2").arg(m_root, qt_error_string()));
}

} // namespace publish
