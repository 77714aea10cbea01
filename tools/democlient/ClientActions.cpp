#include "democlient/ClientActions.h"

#include <QFile>
#include <QThread>

#include <cstdio>
#include <cstdlib>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <sys/resource.h>
#endif

namespace {

bool createRequestFile(const char* variable)
{
    QFile file(qEnvironmentVariable(variable));
    return file.open(QIODevice::WriteOnly);
}

void waitForFile(const QString& path)
{
    while (!QFile::exists(path))
        QThread::msleep(20);
}

void printBytes(qint64 count)
{
    const QByteArray line(99, 'x');
    for (qint64 written = 0; written < count; written += line.size() + 1)
        std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

} // namespace

namespace clientactions {

bool requestRestart()
{
    return createRequestFile("VORNAK_RESTART_FILE");
}

bool requestShow()
{
    return createRequestFile("VORNAK_SHOW_FILE");
}

void crash()
{
#ifdef Q_OS_WIN
    RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
#else
    // A demonstration needs no core file.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
#endif
    std::abort();
}

int runScript(const QStringList& actions)
{
    for (const QString& action : actions) {
        const QString word = action.section(u':', 0, 0);
        const QString argument = action.section(u':', 1);
        if (word == QLatin1StringView("show"))
            requestShow();
        else if (word == QLatin1StringView("restart"))
            requestRestart();
        else if (word == QLatin1StringView("crash"))
            crash();
        else if (word == QLatin1StringView("exit"))
            return argument.toInt();
        else if (word == QLatin1StringView("wait"))
            QThread::msleep(argument.toULong());
        else if (word == QLatin1StringView("waitfor"))
            waitForFile(argument);
        else if (word == QLatin1StringView("print"))
            printBytes(argument.toLongLong());
        else
            return 2;
    }
    return 0;
}

} // namespace clientactions
