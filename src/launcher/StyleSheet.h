#pragma once

#include <QString>

/// The style sheet of that file name from the resource folder ":/styles/"; empty when there is
/// none.
[[nodiscard]] QString loadStyleSheet(const char* name);
