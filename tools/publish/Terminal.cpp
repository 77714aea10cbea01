#include "publish/Terminal.h"

#include <algorithm>

namespace publish {

namespace {

// The marks that set the direction of what follows, and can make a name read as another.
bool turnsText(char16_t unit)
{
    return unit == 0x061c || unit == 0x200e || unit == 0x200f ||
           (unit >= 0x202a && unit <= 0x202e) || (unit >= 0x2066 && unit <= 0x2069);
}

bool isVisible(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return !turnsText(character.unicode());
    }
}

} // namespace

QString visibleText(const QString& text)
{
    if (std::all_of(text.begin(), text.end(), isVisible))
        return text;
    QString visible;
    for (const QChar character : text) {
        if (isVisible(character))
            visible += character;
        else
            visible += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QChar(u'0'));
    }
    return visible;
}

bool printLines(Stream stream, const QStringList& lines)
{
    QString text;
    for (const QString& line : lines)
        text += visibleText(line) + u'\n';
    return writeText(stream, text);
}

qsizetype drawLine(Stream stream, const QString& line, qsizetype drawn)
{
    // A shorter line leaves nothing of a longer one. Blanks do that on every terminal.
    const QString visible = visibleText(line);
    [[maybe_unused]] const bool written = writeText(stream, u'\r' + visible.leftJustified(drawn));
    return visible.size();
}

} // namespace publish
