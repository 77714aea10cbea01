#pragma once

#include <QString>

/// The style sheet of the main button, from the words that its pictures are named with. An empty
/// `icon` leaves the button without one.
[[nodiscard]] QString mainButtonStyle(const QString& colour, const QString& icon);
