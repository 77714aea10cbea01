#pragma once

#include "publish/Platform.h"

#include <QList>
#include <QString>

#include <optional>

namespace publish {

/// Which of the builds, given by their platforms in the document's order, launchers take; nothing
/// when they take none.
[[nodiscard]] std::optional<Platform> platformOfLaunchers(const QList<Platform>& platforms);

/// Why launchers would not take a build for this platform beside those that are current, which are
/// in the document's order; empty when they would. A typo in a platform publishes a build that no
/// player ever gets.
[[nodiscard]] QString platformWarning(const Platform& platform, const QList<Platform>& current);

} // namespace publish
