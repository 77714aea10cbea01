#pragma once

#include "package/TurnFunction.h"

#include <QByteArray>
#include <QFile>
#include <QSaveFile>
#include <QString>

/// The new content of one file on its way to taking the place of the old, atomically: whoever
/// looks, or looks again after this was killed, finds the old file or the new one. Unless commit()
/// comes to its end the old file is untouched and nothing else is left behind; on Windows a program
/// that is killed in the middle of it leaves a file with the added ending VORNAK_FRESH_SUFFIX,
/// which the next attempt removes.
class FileReplacement
{
public:
    explicit FileReplacement(const QString& path);
    Q_DISABLE_COPY_MOVE(FileReplacement)

    [[nodiscard]] QString path() const { return m_path; }

    /// Does what can be done before the content is there, so that it need not be waited for later.
    /// Nothing of it is seen in the folder, unless the file system cannot hold a file without a
    /// name; what fails is tried again by commit().
    void prepare();

    /// Makes `bytes` the whole content of path(), whose folder must exist. False on failure, also
    /// when `turn` stopped the work. Called once.
    ///
    /// On Windows a file that another program holds open cannot be replaced; it is then tried again
    /// for about two seconds (see tryWhileHeld()).
    [[nodiscard]] bool commit(const QByteArray& bytes, const TurnFunction& turn = {});

private:
    bool open();
    bool write(const QByteArray& bytes, const TurnFunction& turn);

    QString m_path;
#ifdef Q_OS_WIN
    QFile m_fresh;
#else
    QSaveFile m_fresh;
#endif
};

/// A FileReplacement whose content is there from the start.
[[nodiscard]] bool replaceFile(const QString& path, const QByteArray& bytes,
                               const TurnFunction& turn = {});

/// What is told of a file or folder that could not be made or replaced.
[[nodiscard]] QString unwritableText(const QString& path);
