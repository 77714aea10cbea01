#pragma once

#include <QString>
#include <QStringList>

/// Values that the build fixes, see the cache variables at the head of CMakeLists.txt.
namespace buildvalues {

/// "dev" for a build that never replaces itself, else the version that the server's is compared
/// with.
QString launcherVersion();

/// Content server when the environment names none: scheme and host.
QString defaultCdnUrl();

/// Public keys in minisign's text form, of which one must have signed what the server offers.
/// Empty: signatures are not asked for.
QStringList publisherKeys();

/// The project's web site.
QString websiteUrl();

} // namespace buildvalues
