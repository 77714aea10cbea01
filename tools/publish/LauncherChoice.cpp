#include "publish/LauncherChoice.h"

#include "package/LauncherMetadata.h"
#include "package/PackageClient.h"
#include "publish/Platform.h"

namespace publish {

std::optional<Platform> platformOfLaunchers(const QList<Platform>& platforms)
{
    QList<LauncherBuild> builds;
    for (const Platform& platform : platforms) {
        LauncherBuild build;
        build.os = platform.os;
        build.architecture = platform.architecture;
        builds.append(build);
    }
    const LauncherBuild* taken =
        selectBuild(builds, PackageClient::currentOs(), PackageClient::currentArchitecture());
    return taken ? std::optional(Platform{taken->os, taken->architecture}) : std::nullopt;
}

QString platformWarning(const Platform& platform, const QList<Platform>& current)
{
    const QString architecture = PackageClient::currentArchitecture();
    if (platform.os != PackageClient::currentOs())
        return QStringLiteral("launchers take builds for the operating system '%1' only; no player "
                              "gets one for '%2'")
            .arg(PackageClient::currentOs(), platform.os);
    const Platform taken =
        platformOfLaunchers(current.contains(platform) ? current : current + QList{platform})
            .value_or(platform);
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

} // namespace publish
