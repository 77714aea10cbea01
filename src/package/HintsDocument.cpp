#include "package/HintsDocument.h"

#include <QJsonDocument>
#include <QJsonObject>

QJsonArray hintElements(const QJsonDocument& json)
{
    return json.isArray() ? json.array()
                          : json.object().value(QLatin1StringView("hints")).toArray();
}

HintEntry readHint(const QJsonValue& element)
{
    if (element.isString())
        return {QString(), element.toString()};
    const QJsonObject object = element.toObject();
    HintEntry hint{object.value(QLatin1StringView("title")).toString(),
                   object.value(QLatin1StringView("richText")).toString()};
    if (hint.richText.isEmpty()) {
        const QString fallback = object.value(QLatin1StringView("hint")).toString();
        hint.richText = object.value(QLatin1StringView("text")).toString(fallback);
    }
    return hint;
}

QList<HintEntry> parseHints(const QByteArray& bytes)
{
    QList<HintEntry> hints;
    for (const auto& element : hintElements(QJsonDocument::fromJson(bytes))) {
        HintEntry hint = readHint(element);
        if (!hint.richText.isEmpty())
            hints.append(std::move(hint));
    }
    return hints;
}

bool isRichHint(const HintEntry& hint)
{
    return hint.richText.contains(QLatin1StringView("<img"), Qt::CaseInsensitive) ||
           hint.richText.contains(QLatin1StringView("<table"), Qt::CaseInsensitive);
}
