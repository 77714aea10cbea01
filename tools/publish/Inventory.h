#pragma once

#include "publish/Product.h"
#include "publish/SignedContent.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

class Progress;

/// One build of a published version.
struct ListedBuild
{
    /// "windows x86_64"; the folder's name when the metadata no longer knows the build.
    QString platform;
    bool isCurrent = false;
    /// The channels in which it is current, in ascending order.
    QStringList channels;
    /// When its document was written.
    QDateTime published;
    /// What a new player gets: files with assets, and their bytes installed and downloaded.
    qsizetype files = 0;
    qint64 unpackedBytes = 0;
    qint64 packedBytes = 0;
};

/// A version that can be switched to.
struct ListedVersion
{
    QString version;
    QList<ListedBuild> builds;
    /// Bytes of the packed files that no other version names.
    qint64 ownBytes = 0;
};

struct ListedProduct
{
    Product product;
    /// Oldest publication first.
    QList<ListedVersion> versions;
};

/// What pruning would free with that many versions kept.
struct PruneOutlook
{
    int keep = 0;
    qsizetype files = 0;
    qint64 bytes = 0;
};

/// What a content folder holds.
struct Inventory
{
    QList<ListedProduct> products;
    /// Packed files on the disk.
    qsizetype packedFiles = 0;
    qint64 packedBytes = 0;
    /// From keeping none on, to the first number that keeps every version.
    QList<PruneOutlook> pruning;
    /// How what is current is signed; empty when it is not.
    QList<signedcontent::State> signatures;
};

/// Looks at what is published; writes nothing and needs no right to. Packed files are looked for
/// but not read. A document that cannot be read is warned of, and its version is listed without
/// sizes. Returns the faults.
[[nodiscard]] QStringList takeInventory(const QString& content, Progress& progress,
                                        Inventory& inventory);

} // namespace publish
