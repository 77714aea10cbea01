#pragma once

#include <QString>

/// The style sheet of the main button; `colour` and `icon` are the words in the names of its
/// pictures. An empty `icon` leaves the button without one.
[[nodiscard]] QString mainButtonStyle(const QString& colour, const QString& icon);
