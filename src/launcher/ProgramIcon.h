#pragma once

#include <QIcon>

/// The program's icon in all its sizes.
[[nodiscard]] QIcon programIcon();
