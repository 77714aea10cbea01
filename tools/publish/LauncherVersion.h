#pragma once

#include <QString>

namespace publish {

/// Why the program cannot be offered to players as the launcher of this version: it carries another
/// one, none at all, or "dev", with which a launcher never replaces itself again, so that no later
/// publication would reach it. Empty when it can. Reads the file whole, in small pieces.
[[nodiscard]] QString launcherVersionFault(const QString& program, const QString& version);

} // namespace publish
