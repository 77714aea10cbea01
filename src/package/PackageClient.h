#pragma once

#include "package/EventLoopPacer.h"
#include "package/LauncherMetadata.h"
#include "package/Minisign.h"
#include "package/OrlPackageDoc.h"
#include "package/TransferLimits.h"
#include "package/TurnFunction.h"
#include "package/VerifiedFiles.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class IncomingFile;
class QNetworkAccessManager;
class QNetworkReply;

/// Fetches documents and packed files from the content server and installs packages and asset sets
/// into folders. What to install, and when, is the caller's affair; so is everything that a player
/// sees. Lives on the GUI thread, where `main` owns it.
///
/// Blocking operations run nested event loops while they wait and give the event loop a turn
/// between slices of long work, so that a window stays alive above them. When the program ends
/// meanwhile, they abort the transfer, report a failure and write nothing more. Asynchronous ones
/// return at once and call `done` exactly once (never when it holds no target).
///
/// An error text, where one is asked for, is set on failure and left alone on success. Paths that
/// come from the server are checked by pathBelowFolder(); one that would leave its folder is never
/// read or written.
class PackageClient : public QObject
{
    Q_OBJECT

public:
    /// Success flag and error text (empty on success).
    using DoneCallback = std::function<void(bool, const QString&)>;
    /// Body and error text (empty on success). The body of a failed transfer is not to be trusted.
    using DownloadCallback = std::function<void(const QByteArray&, const QString&)>;

    explicit PackageClient(QObject* parent = nullptr);
    ~PackageClient() override;

    /// Sets the content server's base address; trailing "/" are stripped.
    void setBaseUrl(const QString& baseUrl);
    [[nodiscard]] QString baseUrl() const { return m_baseUrl; }

    /// Sets the launcher's data folder, where parseLauncherMetadata() saves its copy.
    void setDataFolder(const QString& dataFolder);
    [[nodiscard]] QString dataFolder() const { return m_dataFolder; }

    /// Public keys in minisign's text form. With any, whether it can be read or not, the launcher
    /// metadata is taken only with a signature of one of them; see takesSignedOnly().
    void setPublisherKeys(const QStringList& keys);
    /// Whether documents below the metadata are to be fetched with the hash that it states.
    [[nodiscard]] bool takesSignedOnly() const { return m_takesSignedOnly; }

    /// Whether the last blocking operation was cut short because the program is ending.
    [[nodiscard]] bool isQuitting() const { return m_pacer.isQuitting(); }

    /// Keeps the window alive during a caller's own long work: the event loop turns once when it is
    /// due. False when the program is ending.
    [[nodiscard]] bool turnIfDue() { return m_pacer.turnIfDue(); }

    /// Waits with the window alive. False when the program is ending.
    [[nodiscard]] bool waitFor(std::chrono::milliseconds time) { return m_pacer.waitFor(time); }

    // Documents. All of these block; a failed download reads as empty and sets
    // "Download failed: " and the network error.

    /// SHA-256 that a body must have, 64 lower-case hexadecimal digits; nothing when any will do.
    /// Another body reads as empty and leaves the error alone; the log says why.
    using RequiredHash = std::optional<QString>;

    /// Body of an address; empty on failure, which includes a body of more than `largest` bytes.
    QByteArray fetchBytes(const QUrl& url, QString* error = nullptr,
                          qint64 largest = transferlimits::manifest, const RequiredHash& hash = {});
    /// Body as UTF-8 without white space at its ends.
    QString fetchText(const QUrl& url, QString* error = nullptr, const RequiredHash& hash = {});
    OrlPackageDoc fetchPackageDoc(const QUrl& url, QString* error = nullptr,
                                  const RequiredHash& hash = {});
    QList<OrlFile> fetchAssetList(const QUrl& url, QString* error = nullptr);
    /// The document at the base address + "/launcher/quelrametadata.json". With publishers' keys it
    /// is empty, and the log says why, unless "/launcher/signatures/" + its SHA-256 + ".minisig" is
    /// a signature of it by one of them and its terms are met (see SignedTerms.h). What is accepted
    /// is noted in the data folder (see AcceptedSerials.h).
    LauncherMetadata fetchLauncherMetadata(QString* error = nullptr);
    /// Reads the document and, when it is one, saves the bytes as they are as
    /// "launchermetadata.json" in the data folder (atomically; failure to save is ignored).
    LauncherMetadata parseLauncherMetadata(const QByteArray& data, QString* error = nullptr);
    /// The plain texts of a hints document, a blank line between them.
    QString fetchHintTexts(const QUrl& url, QString* error = nullptr);

    /// The platform whose builds are selected; fixed, since the client exists for it only.
    [[nodiscard]] static QString currentOs();
    [[nodiscard]] static QString currentArchitecture();

    /// Where an address that a document names is really fetched. A relative one is resolved against
    /// `base`. While a base address is set, an absolute one whose path holds "/launcher/" moves to
    /// the base address with its path from there on (query and fragment are dropped), and one
    /// ending in "/hints.json" to the base address + "/hints.json"; others stay.
    [[nodiscard]] QUrl resolveUrl(const QUrl& base, const QString& text) const;

    // Installation.

    /// Whether the file on disk has the size and hash of `file`. Reads the whole file, unless this
    /// client has read or written it before and it has not changed since.
    [[nodiscard]] bool isFileInstalled(const OrlFile& file, const QString& folder);

    /// Whether a file of the package, taken in list order, is not installed; stops at the first.
    [[nodiscard]] bool hasMissingFiles(const OrlPackageDoc& package, const QString& folder);

    /// Brings every file of the package into `folder` and records it there. `url` is the package
    /// document's address. On disk afterwards: on success all files, "package.json",
    /// "package.json.version" and no "partial.package.json.version"; on failure the files that were
    /// finished, each whole, "partial.package.json.version", and the old other markers.
    bool installPackage(const QUrl& url, const OrlPackageDoc& package, const QString& folder,
                        QString* error = nullptr);

    /// Brings every asset into `folder` and writes `hash`, the identity of the asset set, to
    /// "assets.json.sha256"; on failure that marker stays as it was.
    bool installAssets(const QUrl& url, const QList<OrlFile>& files, const QString& hash,
                       const QString& folder, QString* error = nullptr);

    void installPackageAsync(const QUrl& url, const OrlPackageDoc& package, const QString& folder,
                             DoneCallback done);
    void installAssetsAsync(const QUrl& url, const QList<OrlFile>& files, const QString& hash,
                            const QString& folder, DoneCallback done);

    /// The end of a package installation: makes the executable runnable, writes "package.json"
    /// (atomically) and "package.json.version", removes "partial.package.json.version".
    bool finalizePackage(const OrlPackageDoc& package, const QString& folder,
                         QString* error = nullptr);

    /// Adds the execute permission for owner, group and others; nothing when there is no such file.
    static void makeExecutable(const QString& path);

Q_SIGNALS:
    /// Bytes done and to do in this run, and the file's number (from 1) among the files of the
    /// list. `bytes` may pass `totalBytes`, which is at least 1 and counts only what needs
    /// downloading.
    void progress(qint64 bytes, qint64 totalBytes, int fileIndex, int fileCount);

private:
    bool finalizePackage(const OrlPackageDoc& package, const QString& folder, QString* error,
                         const TurnFunction& turn);
    bool installFiles(const QUrl& url, const QList<OrlFile>& files, const QString& folder,
                      QString* error);
    void installFilesAsync(const QUrl& url, const QList<OrlFile>& files, const QString& folder,
                           int fileIndex, qint64 bytes, qint64 totalBytes, DoneCallback done);

    QByteArray download(const QUrl& url, qint64 largest, QString* error,
                        const RequiredHash& hash = {});
    QByteArray downloadWithProgress(const QUrl& url, qint64 bytesBefore, qint64 totalBytes,
                                    int fileIndex, int fileCount, QString* error);
    void downloadAsync(const QUrl& url, DownloadCallback done);

    struct AsyncRun;
    struct RunPlaces;
    /// Where a blocking run stands: what its progress signals carry.
    struct RunPosition
    {
        qint64 bytes = 0;
        qint64 total = 1;
        int number = 0;
        int count = 0;
    };

    [[nodiscard]] QUrl finalAddress(const QUrl& url) const;
    [[nodiscard]] QUrl metadataAddress() const;
    [[nodiscard]] bool isTrusted(const QByteArray& metadata, QString* error);
    QNetworkReply* startRequest(const QUrl& address, qint64 largest);
    QByteArray receiveBody(QNetworkReply* reply, const QUrl& address, qint64 largest,
                           IncomingFile* incoming, QString* error);
    bool failWhenQuitting(QString* error);
    bool installOne(const OrlFile& file, const RunPlaces& places, RunPosition& position,
                    QString* error);
    void continueAsync(const std::shared_ptr<AsyncRun>& run);
    void storeAsync(const std::shared_ptr<AsyncRun>& run, const QString& message);
    void endAsync(AsyncRun& run, bool ok, const QString& message);
    void startAsync(const QUrl& url, const QList<OrlFile>& files, const QString& folder,
                    DoneCallback done);

    QNetworkAccessManager* m_network;
    QString m_baseUrl;
    QString m_dataFolder;
    QList<minisign::PublicKey> m_publisherKeys;
    bool m_takesSignedOnly = false;
    // What the asynchronous download reads at each of its progress events.
    bool m_forwardProgress = false;
    qint64 m_bytesBefore = 0;
    qint64 m_totalBytes = 0;
    int m_fileIndex = 0;
    int m_fileCount = 0;
    // Where the body of the next download of a file goes as it arrives; the download takes it.
    IncomingFile* m_incoming = nullptr;
    EventLoopPacer m_pacer;
    VerifiedFiles m_verified;
};
