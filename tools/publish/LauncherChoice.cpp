#include "publish/LauncherChoice.h"

#include "package/LauncherMetadata.h"
#include "package/PackageClient.h"
#include "publish/Addresses.h"

QString platformWarning(const Platform& platform, const QList<Platform>& current)
{
    const QString os = PackageClient::currentOs();
    const QString architecture = PackageClient::currentArchitecture();
    if (platform.os != os)
        return QStringLiteral("launchers take builds for the operating system '%1' only; no player "
                              "gets one for '%2'")
            .arg(os, platform.os);
    QList<Platform> all = current;
    if (!all.contains(platform))
        all.append(platform);
    QList<LauncherBuild> builds;
    for (const Platform& one : std::as_const(all)) {
        LauncherBuild build;
        build.os = one.os;
        build.architecture = one.architecture;
        builds.append(build);
    }
    const Platform& taken = all.at(selectBuild(builds, os, architecture) - builds.constData());
    if (taken != platform)
        return QStringLiteral("launchers take the build for '%1' '%2'; no player gets the one for "
                              "'%3' '%4'")
            .arg(taken.os, taken.architecture, platform.os, platform.architecture);
    if (!platform.architecture.split(u';').contains(architecture))
        return QStringLiteral("launchers look for the architecture '%1'; players get the build for "
                              "'%2' only while there is no other")
            .arg(architecture, platform.architecture);
    return {};
}
