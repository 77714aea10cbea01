#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QList>
#include <QString>

class QJsonDocument;

/// One hint for the player.
struct HintEntry
{
    /// May be empty.
    QString title;
    /// HTML; never empty in a parsed list.
    QString richText;

    bool operator==(const HintEntry&) const = default;
};

/// The elements of a hints document, which is an array of them or an object whose member "hints" is
/// one. Empty for anything else.
[[nodiscard]] QJsonArray hintElements(const QJsonDocument& json);

/// One element: a string (the rich text) or an object with "title" and "richText" ("text", then
/// "hint", stand in for a missing rich text). An element without a rich text is no hint.
[[nodiscard]] HintEntry readHint(const QJsonValue& element);

/// Reads a hints document, without the elements that are no hints. Empty for anything else.
[[nodiscard]] QList<HintEntry> parseHints(const QByteArray& bytes);

/// Whether the hint holds a picture or a table.
[[nodiscard]] bool isRichHint(const HintEntry& hint);
