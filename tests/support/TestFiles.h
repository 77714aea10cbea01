#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Small steps on disk that many tests need. Failure to do one ends the test program, since nothing
/// after it would mean anything.
namespace testfiles {

/// Writes the file, making the folders on the way.
void write(const QString& path, const QByteArray& content);

/// Writes a file of zeros that takes no room on a file system that knows holes.
void writeHole(const QString& path, qint64 size);

/// The whole content; a null array when there is no such file.
[[nodiscard]] QByteArray read(const QString& path);

/// Every file below the folder, hidden ones included, as sorted paths relative to it.
[[nodiscard]] QStringList list(const QString& folder);

/// Names of everything that lies in the folder itself, hidden entries included, sorted.
[[nodiscard]] QStringList names(const QString& folder);

/// Bytes without a pattern, always the same for one seed.
[[nodiscard]] QByteArray randomBytes(qsizetype size, quint32 seed);

/// Bytes that pack well.
[[nodiscard]] QByteArray textBytes(qsizetype size, quint32 seed = 1);

} // namespace testfiles
