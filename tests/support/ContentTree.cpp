#include "support/ContentTree.h"

#include "support/ScriptedHttpServer.h"
#include "support/TestSigner.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString sha256(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

QJsonArray filesJson(const QList<OrlFile>& files)
{
    QJsonArray array;
    for (const OrlFile& file : files) {
        array.append(QJsonObject{{u"url"_s, file.url},
                                 {u"localfile"_s, file.localfile},
                                 {u"packedhash"_s, file.packedhash},
                                 {u"packedsize"_s, file.packedsize},
                                 {u"unpackedhash"_s, file.unpackedhash},
                                 {u"unpackedsize"_s, file.unpackedsize}});
    }
    return array;
}

QJsonArray buildsJson(const QList<LauncherBuild>& builds)
{
    QJsonArray array;
    for (const LauncherBuild& build : builds) {
        QJsonObject object{{u"os"_s, build.os},
                           {u"architecture"_s, build.architecture},
                           {u"url"_s, build.url.toString()},
                           {u"versionurl"_s, build.versionurl.toString()},
                           {u"assetsurl"_s, build.assetsurl.toString()},
                           {u"assetsversionurl"_s, build.assetsversionurl.toString()}};
        for (const auto& [key, hash] :
             {std::pair(u"urlsha256"_s, build.urlsha256),
              std::pair(u"versionurlsha256"_s, build.versionurlsha256),
              std::pair(u"assetsurlsha256"_s, build.assetsurlsha256),
              std::pair(u"assetsversionurlsha256"_s, build.assetsversionurlsha256)}) {
            if (!hash.isEmpty())
                object.insert(key, hash);
        }
        array.append(object);
    }
    return array;
}

} // namespace

OrlFile fileEntry(const QString& localfile, const QString& url, const QByteArray& content,
                  const QByteArray& packed)
{
    return {url, localfile, sha256(packed), packed.size(), sha256(content), content.size()};
}

QByteArray packageDocJson(const OrlPackageDoc& package)
{
    QJsonObject object{{u"version"_s, package.version},
                       {u"executable"_s, package.executable},
                       {u"files"_s, filesJson(package.files)}};
    if (!package.generation.isEmpty())
        object.insert(u"generation"_s, package.generation);
    return QJsonDocument(object).toJson();
}

QByteArray assetListJson(const QList<OrlFile>& files)
{
    return QJsonDocument(QJsonObject{{u"files"_s, filesJson(files)}}).toJson();
}

QByteArray metadataJson(const LauncherMetadata& metadata)
{
    QJsonArray packages;
    for (const LauncherPackage& package : metadata.packages) {
        packages.append(QJsonObject{{u"name"_s, package.name},
                                    {u"variant"_s, package.variant},
                                    {u"directoryname"_s, package.directoryname},
                                    {u"logolinktarget"_s, package.logolinktarget},
                                    {u"installautomatically"_s, package.installautomatically},
                                    {u"builds"_s, buildsJson(package.builds)}});
    }
    const QJsonObject launcher{{u"builds"_s, buildsJson(metadata.launcherBuilds)}};
    return QJsonDocument(QJsonObject{{u"launcher"_s, launcher},
                                     {u"packages"_s, packages},
                                     {u"hints"_s, metadata.hints.toString()}})
        .toJson();
}

ContentTree::ContentTree(ScriptedHttpServer& server)
    : assetsIdentity(u"assets-1"_s)
    , m_server(server)
{
    package.version = u"1.0.0"_s;
    LauncherBuild build;
    build.os = u"windows"_s;
    build.architecture = u"x86_64"_s;
    build.url = server.url(packagePath);
    build.versionurl = server.url(versionPath);
    LauncherPackage offered;
    offered.name = u"Quelra"_s;
    offered.builds = {build};
    metadata.packages = {offered};
}

OrlFile ContentTree::addFile(const QString& localfile, const QByteArray& content,
                             const PackOptions& options)
{
    package.files.append(serve(localfile, content, options));
    return package.files.last();
}

OrlFile ContentTree::addAsset(const QString& localfile, const QByteArray& content,
                              const PackOptions& options)
{
    assets.append(serve(localfile, content, options));
    for (LauncherPackage& offered : metadata.packages) {
        for (LauncherBuild& build : offered.builds) {
            build.assetsurl = assetsUrl();
            build.assetsversionurl = m_server.url(assetsVersionPath);
        }
    }
    return assets.last();
}

OrlFile ContentTree::serve(const QString& localfile, const QByteArray& content,
                           const PackOptions& options)
{
    const QByteArray packed = packLzma(content, options);
    const OrlFile file =
        fileEntry(localfile, u"files/%1.lzma"_s.arg(++m_packedFiles), content, packed);
    m_server.route(packedPath(file), packed);
    return file;
}

void ContentTree::publishSigned(const TestSigner& signer, qint64 serial, const QJsonObject& terms)
{
    for (LauncherPackage& offered : metadata.packages) {
        for (LauncherBuild& build : offered.builds) {
            build.urlsha256 = sha256(packageDocJson(package));
            build.versionurlsha256 = sha256(package.version.toUtf8() + '\n');
            if (build.assetsurl.isEmpty())
                continue;
            build.assetsurlsha256 = sha256(assetListJson(assets));
            build.assetsversionurlsha256 = sha256(assetsIdentity.toUtf8() + '\n');
        }
    }
    publish();
    QJsonObject root = QJsonDocument::fromJson(metadataJson(metadata)).object();
    root.insert(u"serial"_s, serial);
    for (auto term = terms.begin(); term != terms.end(); ++term)
        root.insert(term.key(), term.value());
    const QByteArray document = QJsonDocument(root).toJson();
    m_server.route(metadataPath, document);
    m_server.route(signaturePath(document), signer.sign(document));
    servedMetadata = document;
}

QString ContentTree::signaturePath(const QByteArray& document)
{
    return u"/launcher/signatures/"_s + sha256(document) + u".minisig"_s;
}

void ContentTree::publish()
{
    servedMetadata = metadataJson(metadata);
    m_server.route(metadataPath, servedMetadata);
    m_server.route(packagePath, packageDocJson(package));
    m_server.route(versionPath, package.version.toUtf8() + '\n');
    m_server.route(assetsPath, assetListJson(assets));
    m_server.route(assetsVersionPath, assetsIdentity.toUtf8() + '\n');
    if (!hints.isEmpty())
        m_server.route(hintsPath, hints);
}

QString ContentTree::packedPath(const OrlFile& file) const
{
    return u"/launcher/client/"_s + file.url;
}

QUrl ContentTree::packageUrl() const
{
    return m_server.url(packagePath);
}

QUrl ContentTree::assetsUrl() const
{
    return m_server.url(assetsPath);
}
