#pragma once

#include <QList>
#include <QString>

struct Platform;

/// Why launchers would not take a build for this platform beside those that are current, which are
/// in the document's order; empty when they would. A typo in a platform publishes a build that no
/// player ever gets.
[[nodiscard]] QString platformWarning(const Platform& platform, const QList<Platform>& current);
