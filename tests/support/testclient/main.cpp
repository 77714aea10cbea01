#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QSaveFile>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <optional>
#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <csignal>
#include <sys/resource.h>
#endif

// See tests/support/TestClient.h for what this program is for and what its script can say.

namespace {

constexpr int scriptFailed = 99;

QString pathFrom(const char* variable, QLatin1StringView suffix)
{
    const QString named = qEnvironmentVariable(variable);
    return named.isEmpty() ? QCoreApplication::applicationFilePath() + suffix : named;
}

void writeRecord()
{
    QJsonObject environment;
    const QProcessEnvironment system = QProcessEnvironment::systemEnvironment();
    for (const QString& name : system.keys())
        environment.insert(name, system.value(name));
    QSaveFile file(pathFrom("VORNAK_TEST_CLIENT_RECORD", QLatin1StringView(".record")));
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(QJsonDocument(
                   QJsonObject{{QStringLiteral("environment"), environment},
                               {QStringLiteral("arguments"),
                                QJsonArray::fromStringList(QCoreApplication::arguments().mid(1))},
                               {QStringLiteral("workingDirectory"), QDir::currentPath()}})
                   .toJson());
    file.commit();
}

bool create(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly);
}

void crash()
{
#ifdef Q_OS_WIN
    // A signal would become an exit code there, and a real fault a question to the user.
    TerminateProcess(GetCurrentProcess(), STATUS_ACCESS_VIOLATION);
#else
    // No core file, and no sanitizer that turns the signal into an exit code.
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    std::signal(SIGSEGV, SIG_DFL);
    std::raise(SIGSEGV);
#endif
}

bool print(std::FILE* stream, qint64 bytes)
{
    const QByteArray line(1024, '.');
    for (; bytes > 0; bytes -= line.size()) {
        const auto size = static_cast<size_t>(qMin<qint64>(bytes, line.size()));
        if (std::fwrite(line.constData(), 1, size, stream) != size)
            return false;
    }
    return std::fflush(stream) == 0;
}

// The exit code when the step ends the program.
std::optional<int> perform(const QString& step)
{
    const QString word = step.section(u' ', 0, 0);
    const QString rest = step.section(u' ', 1);
    bool done = true;
    if (word == QLatin1StringView("exit"))
        return rest.toInt();
    if (word == QLatin1StringView("crash"))
        crash();
    else if (word == QLatin1StringView("restart"))
        done = create(qEnvironmentVariable("VORNAK_RESTART_FILE"));
    else if (word == QLatin1StringView("show"))
        done = create(qEnvironmentVariable("VORNAK_SHOW_FILE"));
    else if (word == QLatin1StringView("create"))
        done = create(rest);
    else if (word == QLatin1StringView("print"))
        done = print(stdout, rest.toLongLong()) && print(stderr, rest.toLongLong());
    else if (word == QLatin1StringView("wait"))
        while (!QFile::exists(rest))
            QThread::msleep(5);
    else
        done = false;
    return done ? std::nullopt : std::optional<int>(scriptFailed);
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    writeRecord();
    QFile script(pathFrom("VORNAK_TEST_CLIENT_SCRIPT", QLatin1StringView(".script")));
    if (!script.open(QIODevice::ReadOnly))
        return EXIT_SUCCESS;
    const QStringList steps = QString::fromUtf8(script.readAll()).split(u'\n', Qt::SkipEmptyParts);
    for (const QString& step : steps) {
        if (const auto code = perform(step.trimmed()))
            return *code;
    }
    return EXIT_SUCCESS;
}
