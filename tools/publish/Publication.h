#pragma once

#include "publish/Addresses.h"
#include "publish/Comparison.h"
#include "publish/InputFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/PackStore.h"

#include <QStringList>

class ContentFolder;
class Progress;

/// What to publish, and where to.
struct PublishRequest
{
    QString input;
    QString content;
    Product product;
    Platform platform{QStringLiteral("windows"), QStringLiteral("x86_64")};
    QString version;
    QString executable;
    QString generation;
    /// Folder of the files that are delivered as assets; empty for none. A part of the input, or a
    /// folder of its own.
    QString assets;
    /// Stands before the addresses in the metadata; empty for relative ones.
    QString publicUrl;
    PackageLabels labels;
    PackSettings packing;
    /// The channel whose players get the version; empty for those in none.
    QString channel;
    /// Only publishes the version; what is current stays.
    bool stage = false;
    /// Finds out what publishing would do, and writes nothing. Contents that were never packed then
    /// count with their full size, since only packing shows how small they become.
    bool dryRun = false;
};

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
    /// The version that was current for the platform before; empty when there was none.
    QString comparedWith;
    FileChanges changes;
    /// Of a new player, then of a player with each version that is still there, oldest publication
    /// first.
    QList<UpdateCost> costs;
};

/// Everything that speaks against the request as far as its own files tell; empty when nothing
/// does. Fills in the files, and what the user should know and does not stop the publication.
/// Nothing is written.
class PublishInput
{
public:
    [[nodiscard]] QStringList read(const PublishRequest& request);

    [[nodiscard]] const QList<InputFile>& files() const { return m_files; }
    [[nodiscard]] const QList<InputFile>& assets() const { return m_assets; }
    [[nodiscard]] const QStringList& warnings() const { return m_warnings; }

private:
    [[nodiscard]] QString assetsFolder(const PublishRequest& request);
    void readAssets(const PublishRequest& request);
    void checkNames(const PublishRequest& request);
    void checkLauncher(const PublishRequest& request);

    QList<InputFile> m_files;
    QList<InputFile> m_assets;
    QStringList m_faults;
    QStringList m_warnings;
};

/// Publishes a version of a package or of the launcher and makes it the current one, unless it is
/// only staged. The served
/// tree shows the old version until the very last step and the new one from then on; what was done
/// when it is killed is found again by the next attempt. Faults, one a line, are returned; none on
/// success.
[[nodiscard]] QStringList publish(const PublishRequest& request, Progress& progress,
                                  PublishReport& report);
