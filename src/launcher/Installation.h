#pragma once

#include "package/LauncherMetadata.h"
#include "package/OrlPackageDoc.h"

#include <QObject>
#include <QString>

#include <memory>

class FileLock;
class PackageClient;

/// The installation of the selected package: what the server offers, what is on disk, how the two
/// differ, and bringing the one up to the other. Shows nothing; the window does, from what it asks
/// here. Downloading and writing files is PackageClient's job, whose blocking operations let slots
/// run meanwhile.
class Installation : public QObject
{
    Q_OBJECT

public:
    /// What a player can do with it.
    enum class Offer { Download, Update, Play };

    /// `client` outlives the object.
    explicit Installation(PackageClient* client, QObject* parent = nullptr);

    /// Takes the package over and chooses its build for this platform. False when it has none; the
    /// build then stays what it was.
    [[nodiscard]] bool select(const LauncherPackage& selected);

    /// Fetches version, identity of the assets and document, and checks the files. What cannot be
    /// fetched is empty, which reads as "not up to date".
    void fetchOffered();

    /// Looks again whether files are missing or damaged. Without a document nothing changes.
    void checkFiles();

    // The answers follow from what is on disk at the time, and from the last check of the files.

    [[nodiscard]] bool isUpToDate() const;
    [[nodiscard]] Offer offer() const;

    /// Folder of the package; empty when the server names one outside "packages/".
    [[nodiscard]] QString folder() const;
    /// Version recorded in the folder; empty when nothing is installed.
    [[nodiscard]] QString installedVersion() const;
    /// Identity of the installed asset set; empty when there is none.
    [[nodiscard]] QString installedAssetsHash() const;
    /// The document recorded in the folder; the default one when nothing is installed.
    [[nodiscard]] OrlPackageDoc installedDocument() const;
    [[nodiscard]] bool hasSpritePacks() const;

    /// Installs package and assets, alone among the launchers that use the data folder. False on
    /// failure, with an `error` unless the program is ending. On disk afterwards: see
    /// PackageClient::installPackage() and installAssets(); the package is in place also when only
    /// the assets fail.
    [[nodiscard]] bool update(QString* error);

    LauncherPackage package;
    LauncherBuild build;
    /// What is offered. After an update it is what is installed.
    OrlPackageDoc document;
    QString remoteVersion;
    QString remoteAssetsHash;
    /// A file of the document is missing or damaged, as far as the last check saw.
    bool filesIncomplete = false;

Q_SIGNALS:
    /// Another launcher installs at this moment. Comes again and again until it has ended.
    void waitsForAnother();
    /// The other launcher has ended, and there is something left to install.
    void goesOnAfterAnother();

private:
    [[nodiscard]] bool assetsAreCurrent() const;
    [[nodiscard]] std::unique_ptr<FileLock> lockPackages(bool* waited);
    [[nodiscard]] bool updatePackage(QString* error);
    [[nodiscard]] bool updateAssets(QString* error);
    [[nodiscard]] bool installAssetsAs(const QString& hash, QString* error);

    PackageClient* m_client;
};
