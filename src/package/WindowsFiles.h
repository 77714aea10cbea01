#pragma once

#include "package/HeldFile.h"

#include <QFileDevice>
#include <QString>

#include <string>

/// Windows calls that Qt does not wrap, on Windows only.
namespace windowsfiles {

/// The absolute path in the form that has no length limit and that the system takes as it is.
[[nodiscard]] std::wstring nativePath(const QString& path);

/// Moves `from` to `to` on the same volume, replacing a file that is there in one step. A program
/// that runs cannot be replaced and counts as held, and so does whatever else denies the access:
/// the system has one answer for both. `reason` becomes the system's text for what did not come to
/// Done.
[[nodiscard]] FileAttempt moveOver(const QString& from, const QString& to,
                                   QString* reason = nullptr);

/// As moveOver(), but fails when there is something at `to`. A program that runs can be moved.
[[nodiscard]] FileAttempt moveAside(const QString& from, const QString& to,
                                    QString* reason = nullptr);

/// Moves an open file, which was opened with the right to delete it, to `to` on the same volume, as
/// moveOver() does.
[[nodiscard]] FileAttempt moveOpenFile(const QFileDevice& file, const QString& to,
                                       QString* reason = nullptr);

/// The system's handle of an open file.
[[nodiscard]] void* handleOf(const QFileDevice& file);

/// Waits until what was written to the open file is on the disk. False when that failed.
[[nodiscard]] bool flushToDisk(const QFileDevice& file);

/// A file or folder that is open for a look at it, and keeps nobody from anything meanwhile.
class OpenPath
{
public:
    /// Opened for its attributes alone, or to be read.
    enum class For {
        Attributes,
        Reading,
    };

    OpenPath(const QString& path, For purpose);
    ~OpenPath();
    Q_DISABLE_COPY_MOVE(OpenPath)

    [[nodiscard]] bool isValid() const;
    /// The system's handle.
    [[nodiscard]] void* get() const { return m_handle; }

private:
    void* m_handle;
};

} // namespace windowsfiles
