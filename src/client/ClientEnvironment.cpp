#include "client/ClientEnvironment.h"

#include <QUrl>

namespace {

void insertIdentity(QProcessEnvironment& environment, const QString& revision)
{
    environment.insert(QStringLiteral("VORNAK_LAUNCHER"), QStringLiteral("1"));
    environment.insert(QStringLiteral("VORNAK_CLIENT_REVISION"), revision);
}

void insertLogin(QProcessEnvironment& environment, const QString& portalUrl)
{
    const QUrl portal(portalUrl, QUrl::TolerantMode);
    if (!portal.isValid())
        return;
    // The scheme's default port is not filled in: the client tells "no port named" by the empty
    // text.
    const int port = portal.port(-1);
    environment.insert(QStringLiteral("QLC_LOGIN_SCHEME"), portal.scheme());
    environment.insert(QStringLiteral("QLC_LOGIN_HOST"), portal.host(QUrl::FullyDecoded));
    environment.insert(QStringLiteral("QLC_LOGIN_PORT"),
                       port < 1 ? QString() : QString::number(port));
}

} // namespace

QProcessEnvironment clientEnvironment(QProcessEnvironment environment, const ClientLaunch& launch)
{
    insertIdentity(environment, launch.revision);
    environment.insert(QStringLiteral("VORNAK_RESTART_FILE"), launch.requests.restart);
    environment.insert(QStringLiteral("VORNAK_SHOW_FILE"), launch.requests.show);
    environment.insert(QStringLiteral("VORNAK_SSO_SWITCH_FILE"), launch.requests.ssoSwitch);
    environment.insert(QStringLiteral("VORNAK_LAUNCHER_BIN"), launch.launcherProgram);
    environment.insert(QStringLiteral("VORNAK_ASSET_BASE"), launch.assetBase);
    // What has been inherited already may be bytes that are no text; writing it again would change
    // them.
    const QString inherited = environment.value(QStringLiteral("VORNAK_PLAY_BOOTSTRAP_CODE"));
    if (!launch.bootstrapCode.isEmpty() && launch.bootstrapCode != inherited)
        environment.insert(QStringLiteral("VORNAK_PLAY_BOOTSTRAP_CODE"), launch.bootstrapCode);
    insertLogin(environment, launch.portalUrl);
    return environment;
}

QProcessEnvironment devClientEnvironment(QProcessEnvironment environment, const QString& revision,
                                         const QString& launcherProgram)
{
    insertIdentity(environment, revision);
    environment.insert(QStringLiteral("VORNAK_LAUNCHER_BIN"), launcherProgram);
    return environment;
}
