#pragma once

#include <QString>

/// A tool tip that shows `text` as it is. Texts of the server are no markup, which a tool tip would
/// follow: a picture in it may lie on another machine.
[[nodiscard]] QString plainToolTip(const QString& text);
