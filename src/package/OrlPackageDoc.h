#pragma once

#include "package/JsonReading.h"
#include "package/TurnFunction.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>

/// One file of a package or of an asset list, as the content server describes it.
struct OrlFile
{
    /// Address of the packed file, relative to the folder of the document that lists it.
    QString url;
    /// Path of the unpacked file below the package folder, "/" between folders. Untrusted: see
    /// SafePath.h.
    QString localfile;
    /// SHA-256 of the packed bytes, 64 lower-case hexadecimal digits.
    QString packedhash;
    /// Bytes to download; used for progress only, 0 or less when the server does not say.
    qint64 packedsize = 0;
    /// SHA-256 of the unpacked file, 64 lower-case hexadecimal digits.
    QString unpackedhash;
    /// Size of the unpacked file in bytes.
    qint64 unpackedsize = 0;

    bool operator==(const OrlFile&) const = default;
};

/// One build of a package: the client's version, its executable and its files. The default value,
/// with every field empty, stands for a missing or damaged document.
struct OrlPackageDoc
{
    QString version;
    /// Path of the client program below the package folder. Untrusted: see SafePath.h.
    QString executable;
    /// Free text that the server hands through to the installed document.
    QString generation;
    /// In installation order.
    QList<OrlFile> files;

    bool operator==(const OrlPackageDoc&) const = default;
};

OrlFile parseFileEntry(const QJsonObject& object);

/// One entry for each element that is an object; other elements are skipped.
QList<OrlFile> parseFileList(const QJsonArray& array);

/// Reads a package document. Anything that is not a JSON object gives the default package and, when
/// `error` is not null, sets "JSON package configuration file could not be parsed, using default
/// package."; empty input gives the default package and leaves `error` alone, because the download
/// that failed has already set it.
OrlPackageDoc parsePackageDoc(const QByteArray& data, QString* error = nullptr);

/// Reads an asset list: an object of which only "files" counts. Failure as for parsePackageDoc,
/// with "asset" in place of "package" in the text's first half.
QList<OrlFile> parseAssetList(const QByteArray& data, QString* error = nullptr);

/// The bytes of the installed "package.json": compact JSON in UTF-8, keys in ascending order, sizes
/// as decimal strings, "generation" only when it is not empty, no line end. Empty when `turn`,
/// called after each file, stopped it.
QByteArray serializePackageDoc(const OrlPackageDoc& doc, const TurnFunction& turn = {});
