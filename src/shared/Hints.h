#pragma once

#include "package/HintsDocument.h"

#include <QList>
#include <QString>

/// The hints compiled into the program; empty when the bundle lacks them.
[[nodiscard]] QList<HintEntry> loadEmbeddedHints();

/// Whether any hint holds a picture or a table. The window treats a list without either as
/// unusable.
[[nodiscard]] bool hintsHaveRichContent(const QList<HintEntry>& hints);

/// One hint, each with the same probability; an empty one when the list is empty.
[[nodiscard]] HintEntry pickRandomHint(const QList<HintEntry>& hints);

/// One hint of the list that keeps hintlimits, each of those with the same probability; an empty
/// one when there is none.
[[nodiscard]] HintEntry pickShowableHint(QList<HintEntry> hints);

/// Points the picture addresses of a hint at the content server: double-quoted root-relative ones
/// under "/images/", and absolute ones on the game's static-content host. `base` is the server's
/// base address; trailing "/" do not count.
[[nodiscard]] QString rewriteHintHtml(const QString& html, const QString& base);
