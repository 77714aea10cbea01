#pragma once

#include <QString>

/// Values that the build fixes, see the cache variables at the head of CMakeLists.txt.
namespace buildvalues {

/// "dev" for a build that never replaces itself, else the version that the server's is compared
/// with.
QString launcherVersion();

/// Content server when the environment names none: scheme and host.
QString defaultCdnUrl();

/// The project's web site.
QString websiteUrl();

} // namespace buildvalues
