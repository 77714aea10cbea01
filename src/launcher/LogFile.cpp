#include "launcher/LogFile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QSysInfo>

namespace {

constexpr qint64 largestFile = qint64(512) << 10;
// A server decides how long its error texts are.
constexpr qsizetype longestLine = 4096;

QString fileBefore(const QString& path)
{
    const QFileInfo info(path);
    return info.dir().filePath(info.completeBaseName() + QLatin1StringView(".1.") + info.suffix());
}

QLatin1StringView levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
    case QtInfoMsg:
        return QLatin1StringView("info");
    case QtWarningMsg:
        return QLatin1StringView("warning");
    case QtCriticalMsg:
    case QtFatalMsg:
        break;
    }
    return QLatin1StringView("error");
}

/// Qt's message handler is a plain function, so what it needs cannot be passed in. Messages may
/// come from any thread.
struct Log
{
    QMutex mutex;
    QString path;
    QString secret;
    QtMessageHandler previous = nullptr;
};

Log& theLog()
{
    // Never deleted: the last messages come when the program has all but ended.
    static Log* const log = new Log;
    return *log;
}

// Opened for each line: another launcher may write to the same file, and on Windows an open one
// could not become the one before.
void append(const Log& log, QLatin1StringView level, const QString& text)
{
    if (QFileInfo(log.path).size() >= largestFile) {
        QFile::remove(fileBefore(log.path));
        if (!QFile::rename(log.path, fileBefore(log.path)))
            return;
    }
    QFile file(log.path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    QString line = withoutSecrets(text.first(qMin(text.size(), longestLine)), log.secret);
    line.replace(u'\n', u' ');
    file.write((QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) + u' ' + level + u' ' +
                line + u'\n')
                   .toUtf8());
}

void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    Log& log = theLog();
    // Writing may have something to say too.
    thread_local bool isWriting = false;
    if (!isWriting) {
        const QMutexLocker locker(&log.mutex);
        isWriting = true;
        append(log, levelOf(type), text);
        isWriting = false;
    }
    if (log.previous)
        log.previous(type, context, text);
}

} // namespace

QString logFilePath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    return folder.isEmpty() ? QString() : QDir(folder).filePath(QStringLiteral("launcher.log"));
}

QString withoutSecrets(const QString& text, const QString& secret)
{
    static const QRegularExpression user(QStringLiteral("(://)[^/?#\\s@'\"]*@"));
    static const QRegularExpression query(QStringLiteral("(://[^\\s?#'\"]*)[?#][^\\s'\"]*"));
    QString cleared = text;
    cleared.replace(user, QStringLiteral("\\1"));
    cleared.replace(query, QStringLiteral("\\1?\u2026"));
    if (!secret.isEmpty())
        cleared.replace(secret, QStringLiteral("\u2026"));
    return cleared;
}

void startLogFile(const QString& path)
{
    if (path.isEmpty())
        return;
    QDir().mkpath(QFileInfo(path).path());
    Log& log = theLog();
    {
        const QMutexLocker locker(&log.mutex);
        log.path = path;
        log.secret = qEnvironmentVariable("VORNAK_PLAY_BOOTSTRAP_CODE");
        append(log, levelOf(QtInfoMsg),
               QStringLiteral("launcher %1 on %2, Qt %3")
                   .arg(QCoreApplication::applicationVersion(), QSysInfo::prettyProductName(),
                        QString::fromLatin1(qVersion())));
    }
    const QtMessageHandler previous = qInstallMessageHandler(handleMessage);
    if (previous != handleMessage)
        log.previous = previous;
}
