#pragma once

#include "package/LauncherMetadata.h"
#include "package/OrlPackageDoc.h"

#include <QString>

class PackageClient;

/// Replaces the running launcher by the one that the server offers: installs it into the
/// "self-update" folder (see SelfUpdateFiles.h), copies it over the program's own folder and starts
/// it. Both operations block and keep the event loop turning.
class SelfUpdate
{
public:
    /// `client` outlives the object.
    explicit SelfUpdate(PackageClient& client)
        : m_client(client)
    {}

    /// Whether the configuration offers a launcher that this one is to be replaced by: of another
    /// version, and with files that are not in the program's folder yet. Never in a "dev" build.
    /// Touches no file.
    [[nodiscard]] bool isOffered(const LauncherMetadata& configuration);

    /// Puts the offered launcher in place and starts it; this program has to end then. False, with
    /// an `error` where there is a reason to tell, when it cannot be had or started, when another
    /// launcher does the same at the moment, or when the program is ending. On disk afterwards:
    /// what copyProgramFiles() leaves, and the installed launcher in the "self-update" folder.
    [[nodiscard]] bool replaceAndStart(QString* error);

private:
    [[nodiscard]] bool replace(const QString& programFolder, QString* error);

    PackageClient& m_client;
    LauncherBuild m_build;
    OrlPackageDoc m_launcher;
};
