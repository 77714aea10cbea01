#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

class ContentFolder;
struct Platform;
struct Product;

/// How two versions of the same build differ: paths below the package folder, in the order of the
/// lists that were compared.
struct FileChanges
{
    QStringList added;
    QStringList changed;
    QStringList removed;
    qsizetype unchanged = 0;
};

/// What a player downloads who has a certain version, without the documents.
struct UpdateCost
{
    /// Empty for a player who has none.
    QString version;
    qsizetype files = 0;
    qint64 bytes = 0;
};

/// A connection's rate that people can compare their own with.
inline constexpr double referenceMbits = 100;

/// How long so many bytes take at that rate, the pauses between files left out.
[[nodiscard]] constexpr double referenceSeconds(qint64 bytes)
{
    constexpr double bytesInMbit = 125'000;
    return static_cast<double>(bytes) / bytesInMbit / referenceMbits;
}

/// The files and assets that the documents in a build's folder name; empty when they cannot be
/// read.
[[nodiscard]] QList<OrlFile> publishedFiles(const ContentFolder& tree, const QString& folder);

[[nodiscard]] FileChanges compareFiles(const QList<OrlFile>& before, const QList<OrlFile>& after);

/// Launchers download every file that does not lie under its path with its content already, even if
/// another path has the same.
[[nodiscard]] UpdateCost updateCost(const QString& version, const QList<OrlFile>& before,
                                    const QList<OrlFile>& after);

/// The costs of `files`, which are those of `version`, for a new player and for a player with each
/// of the other versions whose build for the platform is there, in the given order.
[[nodiscard]] QList<UpdateCost> updateCosts(const ContentFolder& tree, const Product& product,
                                            const Platform& platform, const QStringList& history,
                                            const QString& version, const QList<OrlFile>& files);

} // namespace publish
