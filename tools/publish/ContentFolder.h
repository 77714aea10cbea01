#pragma once

#include "package/FileLock.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>
#include <mutex>

class QFile;

namespace publish {

/// The folder that a web server serves, as the publisher writes it: everything is written in a work
/// folder inside, which no server hands out, and then moved into place in one step. Whatever kills
/// the publisher leaves things in place or not at all. The work folder is emptied by the next
/// openForWriting(), which also keeps a second publisher out.
class ContentFolder
{
public:
    explicit ContentFolder(const QString& root);

    enum class Purpose {
        /// Keeps a reserve on the disk, if it has room for one.
        Publish,
        /// Takes the reserve when the disk is full: going back, and making room, must not fail for
        /// want of a few bytes.
        WayOut,
    };

    /// Makes the folder if need be, and locks it until the object goes or the process ends, however
    /// that happens. False with a text when that fails or another publisher is at work there.
    [[nodiscard]] bool openForWriting(QString* error, Purpose purpose = Purpose::Publish);

    [[nodiscard]] QString root() const { return m_root; }
    /// The file or folder behind an address.
    [[nodiscard]] QString path(const QString& address) const;
    /// A file of the publisher itself, next to the served ones.
    [[nodiscard]] QString ownFile(const QString& name) const;

    /// Nothing when there is no such file; empty also on errors.
    [[nodiscard]] QByteArray read(const QString& address) const;
    [[nodiscard]] bool exists(const QString& address) const;

    /// The names of the folders in the folder at the address, hidden ones included, in ascending
    /// order; none when there is no such folder.
    [[nodiscard]] QStringList subfolders(const QString& address) const;

    /// A new name in the work folder. Thread-safe.
    [[nodiscard]] QString workPath();

    /// Moves a file or folder from the work folder to its address, making the folders on the way. A
    /// file there is replaced in one step. Thread-safe.
    [[nodiscard]] bool moveIntoPlace(const QString& workPath, const QString& address,
                                     QString* error) const;

    /// Replaces the file at the address by one with these bytes, which are on the disk, and not
    /// only on their way to it, before they take the old ones' place.
    /// The new file is at least a second younger: web servers tell versions of a file apart by time
    /// and size.
    [[nodiscard]] bool replace(const QString& address, const QByteArray& bytes, QString* error);

    /// Takes the folder at the address away in one step, then deletes it. False when the folder is
    /// still there, or when some of it is left in the work folder.
    [[nodiscard]] bool removeFolder(const QString& address, QString* error);

    /// Writes the reserve if there is none. Without room for it there goes on being none.
    void keepReserve();

    /// Waits until everything that was moved into place is on the disk, where that can be done at
    /// once; files of many bytes must have been flushed elsewhere (see canSyncFileSystem).
    [[nodiscard]] bool sync(QString* error) const;

private:
    [[nodiscard]] bool takeLock(QString* error);
    [[nodiscard]] bool emptyWorkFolder(QString* error) const;
    [[nodiscard]] bool tryReplace(const QString& address, const QByteArray& bytes, QString* error);

    QString m_root;
    std::unique_ptr<FileLock> m_lock;
    Purpose m_purpose = Purpose::Publish;
    std::atomic<int> m_workNumber = 0;
    mutable std::mutex m_makingFolders;
};

} // namespace publish
