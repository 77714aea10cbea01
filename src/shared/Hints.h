#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// One hint for the player.
struct HintEntry
{
    /// May be empty.
    QString title;
    /// HTML; never empty in a parsed list.
    QString richText;

    bool operator==(const HintEntry&) const = default;
};

/// Reads a hints document: a JSON array of hint elements, or an object whose member "hints" is one.
/// An element is a string (the rich text) or an object with "title" and "richText" ("text", then
/// "hint", stand in for a missing rich text). Elements that are neither, or have no rich text, are
/// skipped; anything else reads as an empty list.
[[nodiscard]] QList<HintEntry> parseHints(const QByteArray& bytes);

/// The hints compiled into the program; empty when the bundle lacks them.
[[nodiscard]] QList<HintEntry> loadEmbeddedHints();

/// Whether any hint holds a picture or a table. The window treats a list without
/// either as unusable.
[[nodiscard]] bool hintsHaveRichContent(const QList<HintEntry>& hints);

/// One hint, each with the same probability; an empty one when the list is empty.
[[nodiscard]] HintEntry pickRandomHint(const QList<HintEntry>& hints);

/// Points the picture addresses of a hint at the content server: double-quoted root-relative ones
/// under "/images/", and absolute ones on the game's static-content host. `base` is the server's
/// base address; trailing "/" do not count.
[[nodiscard]] QString rewriteHintHtml(const QString& html, const QString& base);
