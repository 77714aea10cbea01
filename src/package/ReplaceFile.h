#pragma once

#include "package/TurnFunction.h"
#include "package/WriteResult.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>

enum class FileAttempt;

/// The new content of one file on its way to taking the place of the old, atomically: whoever
/// looks, or looks again after this was killed, finds the old file or the new one. Unless commit()
/// succeeds the old file is untouched and nothing else is left behind, unless the program is
/// killed.
///
/// The content is gathered in a file without a name where the system has such. On Windows, and on
/// file systems that refuse them, it is called `unfinishedPath`; elsewhere it has that name only
/// for the moment before it takes the place of another file. On another volume than that path's, it
/// is called as the file itself with the ending VORNAK_FRESH_SUFFIX. A program that is killed while
/// it has a name leaves it, and the next replacement with the same name takes it over.
class FileReplacement
{
public:
    /// `unfinishedPath` is in a folder that exists. The same one may be given for many files that
    /// are replaced one after the other; one that another program is at work with is not touched,
    /// and this replacement fails. Touches no disk.
    FileReplacement(QString path, QString unfinishedPath);
    ~FileReplacement();
    Q_DISABLE_COPY_MOVE(FileReplacement)

    [[nodiscard]] QString path() const { return m_path; }

    /// Adds to the new content. Fails when the unfinished file cannot be made or has no room, or
    /// when something at path() cannot be replaced.
    WriteResult write(QByteArrayView bytes);

    /// Drops what was written; writing begins anew.
    WriteResult rewind();

    /// Makes what was written the whole content of path(), whose folder must be there by now.
    /// `turn` may stop the work. Called once.
    ///
    /// On Windows a file that another program holds open cannot be replaced; it is then tried again
    /// for about two seconds (see tryWhileHeld()).
    WriteResult commit(const TurnFunction& turn = {});

    /// Removes what a killed program left at an unfinished path, unless another one is at work
    /// with it. Where a virus scanner can be in the way, it is tried for about two seconds.
    static void removeLeftover(const QString& unfinishedPath, const TurnFunction& turn = {});

private:
    WriteResult makeReady();
    void discard();
    WriteResult placeWhenReleased(const TurnFunction& turn);
    WriteResult copyToOtherVolume(const TurnFunction& turn);

    // Each system's own.
    WriteResult open();
    WriteResult flush();
    /// `reason` becomes the system's text for an attempt that failed.
    [[nodiscard]] FileAttempt place(QString& reason);
    void removeUnfinished();

    QString m_path;
    QString m_unfinishedPath;
    QFile m_file;
    bool m_hasName = true;
};

/// Makes `bytes` the whole content of `path` by a FileReplacement whose unfinished file lies beside
/// it, under the same name with the ending VORNAK_FRESH_SUFFIX.
WriteResult replaceFile(const QString& path, const QByteArray& bytes,
                        const TurnFunction& turn = {});

/// The unfinished path of all files that are replaced in a package's folder.
[[nodiscard]] QString unfinishedPathIn(const QString& folder);
