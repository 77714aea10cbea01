#pragma once

#include "publish/Comparison.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

class Progress;
struct PublishRequest;

/// What publishing did.
struct PublishReport
{
    qsizetype files = 0;
    qsizetype assets = 0;
    qint64 bytes = 0;
    int packed = 0;
    int reused = 0;
    qint64 addedBytes = 0;
    /// The version was there already with the same content.
    bool unchanged = false;
    /// Documents of the version that were damaged and have been written again.
    int mended = 0;
    /// The file that has to be signed before the version can become current; empty for none.
    QString toSign;
    /// The version that was current for the platform before; empty when there was none.
    QString comparedWith;
    FileChanges changes;
    /// Of a new player, then of a player with each version that is still there, oldest publication
    /// first.
    QList<UpdateCost> costs;
};

/// Publishes a version of a package or of the launcher and makes it the current one, unless it is
/// only staged. The served tree shows the old version until the very last step and the new one
/// from then on; what was done when it is killed is found again by the next attempt. Faults, one a
/// line, are returned; none on success.
[[nodiscard]] QStringList publishVersion(const PublishRequest& request, Progress& progress,
                                         PublishReport& report);

} // namespace publish
