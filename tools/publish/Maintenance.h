#pragma once

#include "publish/Addresses.h"

#include <QString>
#include <QStringList>

#include <optional>

class Progress;

/// Which version to make current, of what.
struct SwitchRequest
{
    QString content;
    /// Nothing: the only package that there is.
    std::optional<Product> product;
    /// Nothing: all platforms, or the only one that has the version.
    std::optional<Platform> platform;
    QString version;
    /// The channel whose players get the version; empty for those in none.
    QString channel = {};
};

/// Points the metadata at a version that was published before and is still there, in one step.
/// Other things in the metadata stay, and so does the version's place in the order of publication.
/// Nothing changes when the version's documents or packed files are not all there with their sizes,
/// or when it has a file where the present one has a folder, or the reverse. Returns the faults.
[[nodiscard]] QStringList switchVersion(const SwitchRequest& request);

/// What to take away again.
struct RemoveRequest
{
    QString content;
    Product product;
    /// Nothing: the product with all builds.
    std::optional<Platform> platform;
    bool dryRun = false;
};

/// What was taken away: "1.0 windows-x86_64" and the like, as the folders are called.
struct RemoveReport
{
    QStringList removedBuilds;
};

/// Takes the builds of one platform away, in all versions, or the whole product: from the metadata
/// of everybody and of each channel, which are replaced in one step each, and then their documents.
/// Versions of which no build is left are forgotten, and so is the product when nothing is left of
/// it. Assets of builds that launchers may take instead get a new identity. Packed files stay for
/// prune(), since others may have them and launchers may be reading them. Interrupted, it leaves
/// what the same request takes away next time. With `dryRun` nothing is written, nor any right to
/// write needed. Warns of what changes for launchers. Returns the faults; it is one when there is
/// nothing to take away.
[[nodiscard]] QStringList removeBuilds(const RemoveRequest& request, Progress& progress,
                                       RemoveReport& report);

/// What pruning removed.
struct PruneReport
{
    QStringList keptVersions;
    QStringList removedVersions;
    int removedFiles = 0;
    qint64 removedBytes = 0;
};

/// Removes the versions of every product but the current ones and the `keep` latest besides, and
/// then the packed files that no version left names. When a document of a current version cannot be
/// read, nothing is removed; when it is one of another that stays, packed files stay, too, that no
/// removed version names. With `dryRun` nothing is removed either, nor any right to
/// write needed, and the report tells what would be. Returns the faults.
[[nodiscard]] QStringList prune(const QString& content, int keep, bool dryRun, Progress& progress,
                                PruneReport& report);
