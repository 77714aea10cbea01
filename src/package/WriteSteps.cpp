#include "package/WriteSteps.h"

#include <QDir>
#include <QFileDevice>
#include <QFileInfo>

#include <filesystem>

WriteResult makeFolder(const QString& path)
{
    if (path.isEmpty())
        return WriteResult::failed(std::errc::no_such_file_or_directory);
    if (QDir().mkpath(path))
        return WriteResult::done();
    // QDir does not tell why.
    std::error_code code;
    std::filesystem::create_directories(QFileInfo(path).filesystemFilePath(), code);
    return code ? WriteResult::failed(QString::fromLocal8Bit(code.message())) : WriteResult::done();
}

WriteResult writeAll(QFileDevice& file, QByteArrayView bytes)
{
    // A disk that fills up takes a part first; why it takes no more, only the next attempt tells.
    while (!bytes.isEmpty()) {
        const qint64 written = file.write(bytes.data(), bytes.size());
        if (written <= 0)
            return WriteResult::failed(file.errorString());
        bytes = bytes.sliced(written);
    }
    return WriteResult::done();
}
