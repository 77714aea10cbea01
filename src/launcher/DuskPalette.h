#pragma once

#include <QPalette>

/// Dark colours for everything that no style sheet covers: dialogs, menus, tool tips. A light
/// dialog over the dusk of the window would blind a player at night.
[[nodiscard]] QPalette duskPalette();
