#pragma once

#include <QByteArrayView>
#include <QFile>
#include <QString>

class QIODevice;

namespace publish {

/// Makes the folder, and those that it lies in, if need be.
[[nodiscard]] bool makeFolder(const QString& path, QString* error);

/// Writes a new file of these bytes; with `durable`, they are on the disk afterwards.
[[nodiscard]] bool writeFile(const QString& path, const QByteArray& bytes, bool durable,
                             QString* error);

/// Writes a file with these permissions, which is on the disk afterwards. False with a text when it
/// cannot be written, and when there is one already, which stays as it is.
[[nodiscard]] bool writeNewFile(const QString& path, const QByteArray& bytes,
                                QFile::Permissions permissions, QString* error);

/// Writes all the bytes; false when the device does not take them, and its errorString() tells why
/// if it does not buffer.
[[nodiscard]] bool writeAll(QIODevice& device, QByteArrayView bytes);

} // namespace publish
