#pragma once

#include <QString>

/// The style sheet of the button on the licence page, which the bundle's style sheets do not cover.
[[nodiscard]] QString acceptButtonStyle();
