#include "package/Failure.h"
#include "package/FileCheck.h"
#include "package/IncomingFile.h"
#include "package/PackageClient.h"
#include "package/ReplaceFile.h"
#include "package/SafePath.h"
#include "package/Sizes.h"
#include "package/WriteSteps.h"

#include <QDir>

#include <algorithm>
#include <chrono>
#include <memory>

namespace {

QString joinedPath(const QString& folder, const OrlFile& file)
{
    return QDir(folder).filePath(file.localfile);
}

// The failure's text for the caller.
QString storeFailureText(StoreResult result, const IncomingFile& incoming)
{
    const OrlFile& file = incoming.file();
    switch (result) {
    case StoreResult::PackedHashDiffers:
    case StoreResult::UnpackedDiffers:
        return QLatin1StringView("Download failed: ") + file.localfile;
    case StoreResult::UnpackingFailed:
        return QLatin1StringView("Failed to decompress file downloaded from ") + file.url;
    case StoreResult::WritingFailed:
        return unwritableText(incoming.path());
    case StoreResult::Stored:
    case StoreResult::Cancelled:
        break;
    }
    return {};
}

// Which of the hashes is wrong tells a broken server or proxy from a wrong manifest; the texts that
// players see do not.
void logStoreFailure(StoreResult result, const IncomingFile& incoming,
                     const WriteResult& folderMade)
{
    const OrlFile& file = incoming.file();
    if (result == StoreResult::PackedHashDiffers)
        qWarning("packed hash mismatch for %s (%lld bytes)", qUtf8Printable(file.localfile),
                 static_cast<long long>(incoming.bodySize()));
    else if (result == StoreResult::UnpackedDiffers)
        qWarning("unpacked hash mismatch for %s (%lld of %lld bytes)",
                 qUtf8Printable(file.localfile), static_cast<long long>(incoming.unpackedSize()),
                 static_cast<long long>(file.unpackedsize));
    else if (result == StoreResult::UnpackingFailed)
        qWarning("Cannot unpack %s from %s", qUtf8Printable(file.localfile),
                 qUtf8Printable(file.url));
    else if (result == StoreResult::WritingFailed)
        // In a folder that could not be made, all that a file knows is that there is none.
        logUnwritten(incoming.path(), folderMade ? incoming.writing() : folderMade);
}

// The network has no complaint then: the server has an empty file there.
QString emptyBodyText(const QUrl& address)
{
    qWarning("Download failed: %s the file is empty", qUtf8Printable(address.toString()));
    return QStringLiteral("Download failed");
}

QString refusedPathText(const QString& folder, const OrlFile& file)
{
    const QString path = joinedPath(folder, file);
    logUnwritten(path, WriteResult::failed(QStringLiteral("the path is refused")));
    return unwritableText(path);
}

} // namespace

/// Where a run's files come from and go to.
struct PackageClient::RunPlaces
{
    /// Makes the folder.
    RunPlaces(const QUrl& url, QString target)
        : base(url.adjusted(QUrl::RemoveFilename))
        , folder(std::move(target))
        , folderMade(makeFolder(folder))
    {}

    QUrl base;
    QString folder;
    WriteResult folderMade;
};

/// An asynchronous run over a list of files, shared by the callbacks that carry it on.
struct PackageClient::AsyncRun
{
    RunPlaces places;
    QList<OrlFile> files;
    int index = 0;
    qint64 bytes = 0;
    qint64 total = 1;
    DoneCallback done;
    std::unique_ptr<IncomingFile> incoming;
};

bool PackageClient::isFileInstalled(const OrlFile& file, const QString& folder)
{
    // A copy, since slots that run meanwhile may replace what the caller holds.
    const OrlFile wanted = file;
    const QString path = pathOfListedFile(folder, file.localfile);
    // Files that need no reading take their time too when there are many.
    return m_pacer.turnIfDue() && !path.isEmpty() &&
           isInstalledAt(path, wanted, m_verified, [this] { return m_pacer.turnIfDue(); });
}

bool PackageClient::hasMissingFiles(const OrlPackageDoc& package, const QString& folder)
{
    // Copies, since slots that run meanwhile may replace what the caller holds.
    const QList<OrlFile> files = package.files;
    const QString place = folder;
    return !std::all_of(files.begin(), files.end(), [this, &place](const OrlFile& file) {
        return isFileInstalled(file, place);
    });
}

bool PackageClient::installFiles(const QUrl& url, const QList<OrlFile>& files,
                                 const QString& folder, QString* error)
{
    const RunPlaces places(url, folder);
    FileReplacement::removeLeftover(unfinishedPathIn(folder),
                                    [this] { return m_pacer.turnIfDue(); });
    RunPosition position;
    position.count = static_cast<int>(files.size());
    QList<bool> needed;
    needed.reserve(files.size());
    qint64 sum = 0;
    for (const OrlFile& file : files) {
        needed.append(!isFileInstalled(file, folder));
        if (needed.last())
            sum = addSizes(sum, qMax<qint64>(file.packedsize, 0));
    }
    position.total = qMax<qint64>(sum, 1);

    for (qsizetype i = 0; i < files.size(); ++i) {
        position.number = static_cast<int>(i) + 1;
        if (needed.at(i) && !installOne(files.at(i), places, position, error))
            return false;
        Q_EMIT progress(position.bytes, position.total, position.number, position.count);
    }
    m_verified.settle();
    // A quit since the last turn would be noticed only after the records have been written.
    return m_pacer.waitFor(std::chrono::milliseconds(0)) || !failWhenQuitting(error);
}

bool PackageClient::installOne(const OrlFile& file, const RunPlaces& places, RunPosition& position,
                               QString* error)
{
    const QString path = pathOfListedFile(places.folder, file.localfile);
    if (path.isEmpty())
        return fail(error, refusedPathText(places.folder, file));
    IncomingFile incoming(file, path, unfinishedPathIn(places.folder));
    QString downloadError;
    m_incoming = &incoming;
    const QUrl address = places.base.resolved(QUrl(file.url));
    downloadWithProgress(address, position.bytes, position.total, position.number, position.count,
                         &downloadError);
    if (!incoming.cannotBeWritten() && (m_pacer.isQuitting() || !incoming.isAccepted()))
        return fail(error,
                    downloadError.isEmpty() ? emptyBodyText(finalAddress(address)) : downloadError);
    const StoreResult result = incoming.finish([this] { return m_pacer.turnIfDue(); });
    if (result == StoreResult::Cancelled) {
        failWhenQuitting(error);
        return false;
    }
    if (result != StoreResult::Stored) {
        logStoreFailure(result, incoming, places.folderMade);
        return fail(error, storeFailureText(result, incoming));
    }
    m_verified.addWritten(path, file.unpackedhash);
    position.bytes = addSizes(position.bytes, incoming.accountedSize());
    return m_pacer.turnIfDue() || !failWhenQuitting(error);
}

void PackageClient::startAsync(const QUrl& url, const QList<OrlFile>& files, const QString& folder,
                               DoneCallback done)
{
    FileReplacement::removeLeftover(unfinishedPathIn(folder));
    qint64 sum = 0;
    for (const OrlFile& file : files) {
        const QString path = pathOfListedFile(folder, file.localfile);
        if (path.isEmpty() || !isInstalledAt(path, file, m_verified))
            sum = addSizes(sum, qMax<qint64>(file.packedsize, 0));
    }
    installFilesAsync(url, files, folder, 0, 0, qMax<qint64>(sum, 1), std::move(done));
}

void PackageClient::installFilesAsync(const QUrl& url, const QList<OrlFile>& files,
                                      const QString& folder, int fileIndex, qint64 bytes,
                                      qint64 totalBytes, DoneCallback done)
{
    continueAsync(std::make_shared<AsyncRun>(AsyncRun{
        RunPlaces(url, folder), files, fileIndex, bytes, totalBytes, std::move(done), nullptr}));
}

// Installed files are passed over in a loop: a list may hold very many of them.
void PackageClient::continueAsync(const std::shared_ptr<AsyncRun>& run)
{
    const int count = static_cast<int>(run->files.size());
    for (; run->index < count; ++run->index) {
        const OrlFile& file = run->files.at(run->index);
        const int number = run->index + 1;
        const QString path = pathOfListedFile(run->places.folder, file.localfile);
        if (path.isEmpty()) {
            endAsync(*run, false, refusedPathText(run->places.folder, file));
            return;
        }
        if (isInstalledAt(path, file, m_verified)) {
            Q_EMIT progress(run->bytes, run->total, number, count);
            continue;
        }
        m_bytesBefore = run->bytes;
        m_totalBytes = run->total;
        m_fileIndex = number;
        m_fileCount = count;
        m_forwardProgress = true;
        run->incoming =
            std::make_unique<IncomingFile>(file, path, unfinishedPathIn(run->places.folder));
        m_incoming = run->incoming.get();
        downloadAsync(
            run->places.base.resolved(QUrl(file.url)),
            [this, run](const QByteArray&, const QString& message) { storeAsync(run, message); });
        return;
    }
    endAsync(*run, true, QString());
}

void PackageClient::storeAsync(const std::shared_ptr<AsyncRun>& run, const QString& message)
{
    IncomingFile& incoming = *run->incoming;
    if (!message.isEmpty() || !(incoming.isAccepted() || incoming.cannotBeWritten())) {
        const QUrl address = run->places.base.resolved(QUrl(incoming.file().url));
        endAsync(*run, false, message.isEmpty() ? emptyBodyText(finalAddress(address)) : message);
        return;
    }
    const StoreResult result = incoming.finish();
    if (result != StoreResult::Stored) {
        logStoreFailure(result, incoming, run->places.folderMade);
        endAsync(*run, false, storeFailureText(result, incoming));
        return;
    }
    run->bytes = addSizes(run->bytes, incoming.accountedSize());
    const int number = run->index + 1;
    Q_EMIT progress(run->bytes, run->total, number, static_cast<int>(run->files.size()));
    ++run->index;
    continueAsync(run);
}

void PackageClient::endAsync(AsyncRun& run, bool ok, const QString& message)
{
    m_forwardProgress = false;
    // An unfinished file is gone before anybody is told.
    run.incoming.reset();
    if (run.done)
        run.done(ok, message);
}
