#include "package/WriteResult.h"

WriteResult WriteResult::failed(const QString& reason)
{
    const QString line = reason.simplified();
    return {false, line.isEmpty() ? QStringLiteral("Unknown error") : line};
}

WriteResult WriteResult::failed(std::errc reason)
{
    return failed(QString::fromLocal8Bit(std::make_error_code(reason).message()));
}

WriteResult WriteResult::failedCall()
{
    return failed(qt_error_string());
}

QString unwritableText(const QString& path)
{
    return QStringLiteral("Failed to create folder: '%1'.").arg(path);
}

void logUnwritten(const QString& path, const WriteResult& result)
{
    if (!result.reason().isEmpty())
        qWarning("Cannot write %s: %s", qUtf8Printable(path), qUtf8Printable(result.reason()));
}
