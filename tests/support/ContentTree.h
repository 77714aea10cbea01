#pragma once

#include "package/LauncherMetadata.h"
#include "package/OrlPackageDoc.h"
#include "support/PackLzma.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QUrl>

class ScriptedHttpServer;
class TestSigner;

/// The entry of a file: hashes and sizes of its content and of its packed form.
[[nodiscard]] OrlFile fileEntry(const QString& localfile, const QString& url,
                                const QByteArray& content, const QByteArray& packed);

/// The document as a content server writes it: sizes are JSON numbers.
[[nodiscard]] QByteArray packageDocJson(const OrlPackageDoc& package);
[[nodiscard]] QByteArray assetListJson(const QList<OrlFile>& files);
[[nodiscard]] QByteArray metadataJson(const LauncherMetadata& metadata);

/// What a content server offers: one package with its assets, version texts, launcher metadata and
/// hints. Change the members as a test needs them, then publish().
///
/// Paths on the server: "/launcher/quelrametadata.json", "/hints.json", and below
/// "/launcher/client/" the documents "package.json", "version.txt", "assets.json",
/// "assets-version.txt" and the packed files "files/1.lzma", "files/2.lzma" and so on, in the order
/// of their making.
class ContentTree
{
public:
    /// Starts with one package for windows/x86_64, version "1.0.0", no files, no assets.
    explicit ContentTree(ScriptedHttpServer& server);

    /// Packs a file, serves it at once and appends it to the package's (the assets') files.
    OrlFile addFile(const QString& localfile, const QByteArray& content,
                    const PackOptions& options = {});
    OrlFile addAsset(const QString& localfile, const QByteArray& content,
                     const PackOptions& options = {});

    /// Serves every document in its present state.
    void publish();
    /// The same, signed: with the hashes of everything, the serial and the other members of
    /// `terms`.
    void publishSigned(const TestSigner& signer, qint64 serial, const QJsonObject& terms = {});
    /// Path of the signature of launcher metadata.
    [[nodiscard]] static QString signaturePath(const QByteArray& document);

    /// Path on the server of a file's packed form.
    [[nodiscard]] QString packedPath(const OrlFile& file) const;
    [[nodiscard]] QUrl packageUrl() const;
    [[nodiscard]] QUrl assetsUrl() const;

    static constexpr QLatin1StringView metadataPath{"/launcher/quelrametadata.json"};
    static constexpr QLatin1StringView packagePath{"/launcher/client/package.json"};
    static constexpr QLatin1StringView versionPath{"/launcher/client/version.txt"};
    static constexpr QLatin1StringView assetsPath{"/launcher/client/assets.json"};
    static constexpr QLatin1StringView assetsVersionPath{"/launcher/client/assets-version.txt"};
    static constexpr QLatin1StringView hintsPath{"/hints.json"};

    OrlPackageDoc package;
    QList<OrlFile> assets;
    QString assetsIdentity;
    LauncherMetadata metadata;
    QByteArray hints;
    /// The launcher metadata as it was published last.
    QByteArray servedMetadata;

private:
    OrlFile serve(const QString& localfile, const QByteArray& content, const PackOptions& options);

    ScriptedHttpServer& m_server;
    int m_packedFiles = 0;
};
