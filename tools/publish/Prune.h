#pragma once

#include "publish/MetadataSigner.h"

#include <QString>
#include <QStringList>

namespace publish {

class Progress;

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
/// write needed, and the report tells what would be. Signatures go when they
/// are older than 30 days and belong to no document that is there. Metadata that is signed goes on
/// naming what was removed, with a warning, unless there is a signer. Returns the faults.
[[nodiscard]] QStringList pruneVersions(const QString& content, int keep, bool dryRun,
                                        Progress& progress, PruneReport& report,
                                        const Signing& signing = {});

} // namespace publish
