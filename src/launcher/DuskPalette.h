#pragma once

#include <QPalette>

/// Dark colours for everything that no style sheet covers: the Accept button, dialogs, tool tips. A
/// light dialog over the dusk of the window would blind a player at night.
[[nodiscard]] QPalette duskPalette();
