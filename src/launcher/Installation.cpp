#include "launcher/Installation.h"

#include "launcher/OfferedBuild.h"
#include "package/FileLock.h"
#include "package/Markers.h"
#include "package/PackageClient.h"
#include "package/SafePath.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <chrono>

Installation::Installation(PackageClient* client, QObject* parent)
    : QObject(parent)
    , m_client(client)
{}

bool Installation::select(const LauncherPackage& selected)
{
    package = selected;
    const LauncherBuild* found = selectBuild(package.builds, PackageClient::currentOs(),
                                             PackageClient::currentArchitecture());
    if (found)
        build = *found;
    return found != nullptr;
}

void Installation::fetchOffered()
{
    remoteVersion = fetchOfferedVersion(*m_client, build);
    if (!build.assetsversionurl.isEmpty())
        remoteAssetsHash = fetchOfferedAssetsIdentity(*m_client, build);
    document = fetchOfferedDocument(*m_client, build, nullptr);
    checkFiles();
}

void Installation::checkFiles()
{
    if (!document.files.isEmpty())
        filesIncomplete = m_client->hasMissingFiles(document, folder());
}

bool Installation::assetsAreCurrent() const
{
    return remoteAssetsHash.isEmpty() || installedAssetsHash() == remoteAssetsHash;
}

bool Installation::isUpToDate() const
{
    return !remoteVersion.isEmpty() && remoteVersion == installedVersion() && !filesIncomplete &&
           assetsAreCurrent();
}

// A server that cannot be reached keeps nobody from playing what is whole.
Installation::Offer Installation::offer() const
{
    const QString installed = installedVersion();
    if (installed.isEmpty())
        return Offer::Download;
    const bool isCurrent = remoteVersion.isEmpty() || remoteVersion == installed;
    return isCurrent && assetsAreCurrent() && !filesIncomplete ? Offer::Play : Offer::Update;
}

QString Installation::folder() const
{
    return pathBelowFolder(QDir(m_client->dataFolder()).filePath(QStringLiteral("packages")),
                           package.folderName());
}

QString Installation::installedVersion() const
{
    return readTrimmedText(pathBelowFolder(folder(), markers::packageVersion));
}

QString Installation::installedAssetsHash() const
{
    return readTrimmedText(pathBelowFolder(folder(), markers::assetsIdentity));
}

OrlPackageDoc Installation::installedDocument() const
{
    QFile file(pathBelowFolder(folder(), markers::packageDocument));
    return parsePackageDoc(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), nullptr);
}

bool Installation::hasSpritePacks() const
{
    const QString path = pathBelowFolder(folder(), QStringLiteral(".vornak-sprite-packs"));
    return !path.isEmpty() && QFileInfo::exists(path);
}

// Two launchers that wrote files of two versions into one folder would leave a mixture that the
// records call whole.
bool Installation::update(QString* error)
{
    bool waited = false;
    const auto lock = lockPackages(&waited);
    if (m_client->isQuitting())
        return false;
    if (waited) {
        // Most of it has been done meanwhile, and perhaps of another version.
        fetchOffered();
        if (m_client->isQuitting() || isUpToDate())
            return !m_client->isQuitting();
        Q_EMIT goesOnAfterAnother();
    }
    if (!updatePackage(error) || !updateAssets(error)) {
        if (error->isEmpty())
            *error = QStringLiteral("The installation of %1 failed.").arg(package.name);
        return false;
    }
    remoteVersion = document.version;
    filesIncomplete = false;
    return true;
}

// Null also when no lock can be made: then nothing can be written either, or nobody else is there.
std::unique_ptr<FileLock> Installation::lockPackages(bool* waited)
{
    const QString path = pathBelowFolder(m_client->dataFolder(), QStringLiteral("packages.lock"));
    for (;;) {
        QString error;
        QString reason;
        auto lock = FileLock::take(path, &error, &reason);
        if (!error.isEmpty())
            qWarning("Cannot lock %s: %s", qUtf8Printable(path), qUtf8Printable(reason));
        if (lock || !error.isEmpty())
            return lock;
        *waited = true;
        Q_EMIT waitsForAnother();
        if (!m_client->waitFor(std::chrono::milliseconds(250)))
            return nullptr;
    }
}

// The document changes only when its package is in place.
bool Installation::updatePackage(QString* error)
{
    OrlPackageDoc wanted = document;
    if (wanted.files.isEmpty() || wanted.version != remoteVersion)
        wanted = fetchOfferedDocument(*m_client, build, error);
    // Without a folder the records would land wherever the launcher was started.
    const QString target = folder();
    if (!wanted.version.isEmpty() && !target.isEmpty() &&
        m_client->installPackage(build.url, wanted, target, error)) {
        document = wanted;
        return true;
    }
    return false;
}

bool Installation::updateAssets(QString* error)
{
    if (build.assetsurl.isEmpty())
        return true;
    const QString hash = fetchOfferedAssetsIdentity(*m_client, build);
    if (m_client->isQuitting())
        return false;
    if (hash.isEmpty())
        return true;
    if (hash != installedAssetsHash() && !installAssetsAs(hash, error))
        return false;
    // They may have changed on the server since the start.
    remoteAssetsHash = hash;
    return true;
}

bool Installation::installAssetsAs(const QString& hash, QString* error)
{
    const auto files = fetchOfferedAssets(*m_client, build, error);
    return files && m_client->installAssets(build.assetsurl, *files, hash, folder(), error);
}
