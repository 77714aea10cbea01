#include "package/Failure.h"
#include "package/Markers.h"
#include "package/PackageClient.h"
#include "package/ReplaceFile.h"
#include "package/SafePath.h"
#include "package/WriteSteps.h"

#include <QDir>
#include <QFile>

namespace {

QString installationFailedText(const QString& folder)
{
    return QStringLiteral("The installation of %1 failed.").arg(folder);
}

QString inFolder(const QString& folder, QLatin1StringView name)
{
    return QDir(folder).filePath(name);
}

// Makes the folder too. Without one the marker would land wherever the launcher was started.
WriteResult recordIn(const QString& folder, QLatin1StringView marker, const QString& text)
{
    const QString path = inFolder(folder, marker);
    WriteResult result = makeFolder(folder);
    if (result)
        result = writeMarker(path, text);
    logUnwritten(path, result);
    return result;
}

// Without this marker an interrupted installation merely looks like one that never began, so a
// failed write stops nothing.
void beginPackage(const OrlPackageDoc& package, const QString& folder)
{
    [[maybe_unused]] const WriteResult written =
        recordIn(folder, markers::partialVersion, package.version);
}

WriteResult replaceDocument(const OrlPackageDoc& package, const QString& folder,
                            const TurnFunction& turn)
{
    if (folder.isEmpty())
        return WriteResult::failed(std::errc::no_such_file_or_directory);
    const QByteArray bytes = serializePackageDoc(package, turn);
    if (bytes.isEmpty())
        return WriteResult::stopped();
    FileReplacement replacement(inFolder(folder, markers::packageDocument),
                                unfinishedPathIn(folder));
    const WriteResult written = replacement.write(bytes);
    return written ? replacement.commit(turn) : written;
}

bool recordAssets(const QString& hash, const QString& folder, QString* error)
{
    return recordIn(folder, markers::assetsIdentity, hash) ||
           fail(error, installationFailedText(folder));
}

} // namespace

void PackageClient::makeExecutable(const QString& path)
{
    QFile file(path);
    if (file.exists())
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner | QFileDevice::ExeGroup |
                            QFileDevice::ExeOther);
}

bool PackageClient::finalizePackage(const OrlPackageDoc& package, const QString& folder,
                                    QString* error)
{
    return finalizePackage(package, folder, error, {});
}

bool PackageClient::finalizePackage(const OrlPackageDoc& package, const QString& folder,
                                    QString* error, const TurnFunction& turn)
{
    const QString executable = pathBelowFolder(folder, package.executable);
    if (!executable.isEmpty())
        makeExecutable(executable);
    // The version marker comes last: a reader that sees it finds everything else in place.
    const WriteResult document = replaceDocument(package, folder, turn);
    logUnwritten(inFolder(folder, markers::packageDocument), document);
    if (!document)
        return !failWhenQuitting(error) && fail(error, unwritableText(folder));
    if (!recordIn(folder, markers::packageVersion, package.version))
        return fail(error, installationFailedText(folder));
    QFile::remove(inFolder(folder, markers::partialVersion));
    return true;
}

bool PackageClient::installPackage(const QUrl& url, const OrlPackageDoc& package,
                                   const QString& folder, QString* error)
{
    if (failWhenQuitting(error))
        return false;
    // Copies, since slots that run meanwhile may replace what the caller holds.
    const struct
    {
        QUrl url;
        OrlPackageDoc package;
        QString folder;
    } held{url, package, folder};
    beginPackage(held.package, held.folder);
    return installFiles(held.url, held.package.files, held.folder, error) &&
           finalizePackage(held.package, held.folder, error,
                           [this] { return m_pacer.turnIfDue(); });
}

bool PackageClient::installAssets(const QUrl& url, const QList<OrlFile>& files, const QString& hash,
                                  const QString& folder, QString* error)
{
    if (failWhenQuitting(error))
        return false;
    // Copies, as for a package.
    const struct
    {
        QUrl url;
        QList<OrlFile> files;
        QString hash;
        QString folder;
    } held{url, files, hash, folder};
    return installFiles(held.url, held.files, held.folder, error) &&
           recordAssets(held.hash, held.folder, error);
}

void PackageClient::installPackageAsync(const QUrl& url, const OrlPackageDoc& package,
                                        const QString& folder, DoneCallback done)
{
    beginPackage(package, folder);
    startAsync(url, package.files, folder,
               [this, package, folder, done = std::move(done)](bool ok, const QString& message) {
                   QString error = message;
                   const bool finished = ok && finalizePackage(package, folder, &error);
                   if (done)
                       done(finished, finished ? QString() : error);
               });
}

void PackageClient::installAssetsAsync(const QUrl& url, const QList<OrlFile>& files,
                                       const QString& hash, const QString& folder,
                                       DoneCallback done)
{
    startAsync(url, files, folder,
               [hash, folder, done = std::move(done)](bool ok, const QString& message) {
                   QString error = message;
                   const bool finished = ok && recordAssets(hash, folder, &error);
                   if (done)
                       done(finished, finished ? QString() : error);
               });
}
