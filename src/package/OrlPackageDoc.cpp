#include "package/OrlPackageDoc.h"

#include <QJsonDocument>

namespace {

QJsonArray filesOf(const QJsonObject& object)
{
    return object.value(QLatin1StringView("files")).toArray();
}

QJsonObject fileToJson(const OrlFile& file)
{
    return {
        {QStringLiteral("url"), file.url},
        {QStringLiteral("localfile"), file.localfile},
        {QStringLiteral("packedhash"), file.packedhash},
        {QStringLiteral("packedsize"), QString::number(file.packedsize, 10)},
        {QStringLiteral("unpackedhash"), file.unpackedhash},
        {QStringLiteral("unpackedsize"), QString::number(file.unpackedsize, 10)},
    };
}

QByteArray toBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

OrlFile parseFileEntry(const QJsonObject& object)
{
    OrlFile file;
    file.url = readJsonString(object, "url");
    file.localfile = readJsonString(object, "localfile");
    file.packedhash = readJsonString(object, "packedhash");
    file.packedsize = readJsonInt64(object.value(QLatin1StringView("packedsize")));
    file.unpackedhash = readJsonString(object, "unpackedhash");
    file.unpackedsize = readJsonInt64(object.value(QLatin1StringView("unpackedsize")));
    return file;
}

QList<OrlFile> parseFileList(const QJsonArray& array)
{
    QList<OrlFile> files;
    files.reserve(array.size());
    for (const auto& element : array) {
        if (element.isObject())
            files.append(parseFileEntry(element.toObject()));
    }
    return files;
}

OrlPackageDoc parsePackageDoc(const QByteArray& data, QString* error)
{
    const auto object = readJsonObject(data, QLatin1StringView("package"), error);
    OrlPackageDoc doc;
    if (object) {
        doc.version = readJsonString(*object, "version");
        doc.executable = readJsonString(*object, "executable");
        doc.generation = readJsonString(*object, "generation");
        doc.files = parseFileList(filesOf(*object));
    }
    return doc;
}

QList<OrlFile> parseAssetList(const QByteArray& data, QString* error)
{
    const auto object = readJsonObject(data, QLatin1StringView("asset"), error);
    return object ? parseFileList(filesOf(*object)) : QList<OrlFile>();
}

// The members in the order of their names, as QJsonDocument writes them, but one file after the
// other: a list of many thousands written in one piece would hold up the window.
QByteArray serializePackageDoc(const OrlPackageDoc& doc, const TurnFunction& turn)
{
    QJsonObject last{{QStringLiteral("version"), doc.version}};
    if (!doc.generation.isEmpty())
        last.insert(QStringLiteral("generation"), doc.generation);
    // Slots that run meanwhile may replace the caller's document.
    const QList<OrlFile> files = doc.files;
    QByteArray bytes = toBytes({{QStringLiteral("executable"), doc.executable}});
    bytes.chop(1);
    bytes += ",\"files\":[";
    const char* separator = "";
    for (const OrlFile& file : files) {
        bytes += separator + toBytes(fileToJson(file));
        separator = ",";
        if (turn && !turn())
            return {};
    }
    bytes += "]," + toBytes(last).sliced(1);
    return bytes;
}
