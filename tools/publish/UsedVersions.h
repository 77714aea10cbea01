#pragma once

#include <QDateTime>
#include <QMap>
#include <QString>

#include <optional>

namespace publish {

class ContentFolder;
class MetadataDocument;
class Progress;

/// Which builds a content folder has held. Caches keep a build's documents for a year, so nothing
/// else may be published at their address: neither after the build was removed, nor when the
/// metadata was lost, which knows only what is there.
///
/// On the disk it is the file ".publisher/versions" in ASCII. It has a line for each build, in
/// ascending order: the address of the build's folder, a blank, and "-" while the build is there,
/// or the time in UTC at which it was removed:
///
///     /launcher/packages/Quelra/1.0/windows-x86_64/ 2026-11-22T09:14:05Z
///     /launcher/packages/Quelra/1.1/windows-x86_64/ -
///
/// A line of any other form is passed over and goes with the next save(); so does a build that was
/// removed more than a year ago.
class UsedVersions
{
public:
    /// Reads the file, and looks which builds are on the disk: those that the metadata remembers
    /// count as published, and those that went without a word as removed `now`.
    void load(const ContentFolder& tree, const MetadataDocument& metadata, const QDateTime& now);

    /// Whether the build was published and has not been removed.
    [[nodiscard]] bool isThere(const QString& buildFolder) const;
    /// When the build was removed, if that is less than a year before the `now` of load().
    [[nodiscard]] std::optional<QDateTime> removed(const QString& buildFolder) const;
    /// Until when caches may hold what was removed at that time.
    [[nodiscard]] static QDateTime heldUntil(const QDateTime& removed);

    void add(const QString& buildFolder);
    /// The same, and saves; warns when that fails, since the next publication learns the build from
    /// the metadata then.
    void keep(ContentFolder& tree, const QString& buildFolder, Progress& progress);
    /// Notes that every build below the folder goes now.
    void remove(const QString& folder, const QDateTime& now);

    /// Writes the file in one step, if it does not say so already. On failure the old one stays.
    [[nodiscard]] bool save(ContentFolder& tree, QString* error) const;

private:
    void read(const QByteArray& bytes);

    // Address of a build's folder -> when it was removed; no valid time while it is there.
    QMap<QString, QDateTime> m_builds;
};

} // namespace publish
