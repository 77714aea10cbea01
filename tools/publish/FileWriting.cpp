#include "publish/FileWriting.h"

#include "package/Failure.h"
#include "publish/DiskSteps.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

namespace publish {

bool makeFolder(const QString& path, QString* error)
{
    if (QDir().mkpath(path))
        return true;
    // The same again tells why.
    std::error_code reason;
    std::filesystem::create_directories(QFileInfo(path).filesystemAbsoluteFilePath(), reason);
    return !reason || fail(error, QStringLiteral("%1: cannot be written: %2")
                                      .arg(path, qt_error_string(reason.value()).trimmed()));
}

bool writeFile(const QString& path, const QByteArray& bytes, bool durable, QString* error)
{
    QFile file(path);
    const bool written =
        file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered) &&
        writeAll(file, bytes);
    if (!written)
        return fail(error,
                    QStringLiteral("%1: cannot be written: %2").arg(path, file.errorString()));
    return !durable || flushToDisk(file) ||
           fail(error, QStringLiteral("%1: cannot be written: %2").arg(path, qt_error_string()));
}

// A disk that becomes full takes a part, and tells why only when it is given the rest.
bool writeAll(QIODevice& device, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const qint64 written = device.write(bytes.data(), bytes.size());
        if (written <= 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

bool writeNewFile(const QString& path, const QByteArray& bytes, QFile::Permissions permissions,
                  QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered, permissions))
        return fail(error,
                    QStringLiteral("%1: cannot be written: %2").arg(path, file.errorString()));
    if (writeAll(file, bytes) && flushToDisk(file))
        return true;
    fail(error, QStringLiteral("%1: cannot be written: %2").arg(path, file.errorString()));
    file.remove();
    return false;
}

} // namespace publish
