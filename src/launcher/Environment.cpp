#include "launcher/Environment.h"

#include "client/ClientEnvironment.h"
#include "shared/BuildValues.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>

#include <optional>

namespace {

constexpr int startTimeoutMs = 5000;

/// A locally built client.
struct DevClient
{
    QString program;
    QString workingDirectory;
    QString revision;
};

std::optional<DevClient> readDevClient(const QString& path)
{
    QFile file(path);
    // Opening a file without a name is an error of the program to Qt, and logged as such.
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonObject desktop = QJsonDocument::fromJson(file.readAll())
                                    .object()
                                    .value(QLatin1StringView("desktop"))
                                    .toObject();
    const auto text = [&desktop](const char* key) {
        return desktop.value(QLatin1StringView(key)).toString();
    };
    return DevClient{text("exe"), text("cwd"), text("revision")};
}

bool runToItsEnd(const DevClient& client)
{
    QProcess process;
    process.setProgram(client.program);
    process.setWorkingDirectory(client.workingDirectory);
    process.setProcessEnvironment(devClientEnvironment(QProcessEnvironment::systemEnvironment(),
                                                       client.revision,
                                                       QCoreApplication::applicationFilePath()));
    const QString arguments = qEnvironmentVariable("VORNAK_CLIENT_ARGS");
    if (!arguments.isEmpty())
        process.setArguments(QProcess::splitCommand(arguments));
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QIODevice::ReadWrite);
    if (!process.waitForStarted(startTimeoutMs))
        return false;
    process.waitForFinished(-1);
    return process.exitStatus() == QProcess::NormalExit;
}

} // namespace

QString cdnBaseUrl()
{
    const QString configured = qEnvironmentVariable("VORNAK_CDN_URL");
    return configured.isEmpty() ? buildvalues::defaultCdnUrl() : configured;
}

QString launcherPathFile()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                           QLatin1StringView("/Vornak");
    QDir().mkpath(folder);
    return QDir(folder).absoluteFilePath(QStringLiteral("launcher.path"));
}

QString dataFolder()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(folder);
    return folder;
}

bool tryDevAutoplay()
{
    if (qEnvironmentVariable("VORNAK_AUTOPLAY") != QLatin1StringView("1"))
        return false;
    const auto client = readDevClient(qEnvironmentVariable("VORNAK_DEV_JSON"));
    return client && !client->program.isEmpty() && QFileInfo::exists(client->program) &&
           runToItsEnd(*client);
}
