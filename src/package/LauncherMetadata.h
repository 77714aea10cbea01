#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QList>
#include <QString>
#include <QUrl>

/// One build of the launcher or of a package for one platform.
struct LauncherBuild
{
    QString os;
    /// One architecture, or several separated by ";".
    QString architecture;
    /// Package document of the build.
    QUrl url;
    /// Text that names the current version.
    QUrl versionurl;
    /// Asset list; may be empty.
    QUrl assetsurl;
    /// Text that identifies the current asset set; may be empty.
    QUrl assetsversionurl;
    // SHA-256 of what each of these addresses serves, 64 lower-case hexadecimal digits; empty where
    // the document does not say. They count in a launcher that takes signed content only.
    QString urlsha256 = {};
    QString versionurlsha256 = {};
    QString assetsurlsha256 = {};
    QString assetsversionurlsha256 = {};

    bool operator==(const LauncherBuild&) const = default;
};

/// Folder below the data folder that a new launcher is installed into, as the packages are into
/// theirs.
inline constexpr QLatin1StringView selfUpdateFolderName("self-update");

/// One installable package with its display data.
struct LauncherPackage
{
    QString name;
    QString variant;
    /// Folder of the package below "packages/". Untrusted: see SafePath.h.
    QString directoryname;
    /// Where the maker's logo leads. Untrusted: only http and https are used.
    QString logolinktarget;
    /// Install without a click while nothing is installed.
    bool installautomatically = false;
    QList<LauncherBuild> builds;

    /// `directoryname`, or "Quelra" where the server names none.
    [[nodiscard]] QString folderName() const;

    bool operator==(const LauncherPackage&) const = default;
};

/// The launcher metadata document. The default value stands for a missing or damaged one.
struct LauncherMetadata
{
    /// Builds of the launcher itself.
    QList<LauncherBuild> launcherBuilds;
    /// In document order; the window uses the first.
    QList<LauncherPackage> packages;
    /// Where the server says that its hints lie; the window asks the base address instead.
    QUrl hints;

    bool operator==(const LauncherMetadata&) const = default;
};

/// Reads the document's bytes; nothing is saved. Empty input gives the default value and leaves
/// `error` alone; anything but a JSON object gives the default value and sets "JSON package
/// configuration file could not be parsed, using default package.". Wrong member types read as
/// missing. `isDocument`, when given, tells whether the bytes held a JSON object at all.
LauncherMetadata readLauncherMetadata(const QByteArray& data, QString* error,
                                      bool* isDocument = nullptr);

/// The build to use on the given platform: the first whose architectures hold `architecture`, else
/// the first for `os` whatever its architecture, else null. Names compare case-sensitively. The
/// pointer leads into `builds`.
const LauncherBuild* selectBuild(const QList<LauncherBuild>& builds, const QString& os,
                                 const QString& architecture);
