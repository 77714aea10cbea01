#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// One file to deliver.
struct InputFile
{
    /// Where it lies now.
    QString path;
    /// Where it goes below the package folder, "/" between folders.
    QString localfile;
    qint64 size = 0;

    bool operator==(const InputFile&) const = default;
};

/// What a folder holds: its files in ascending order of their UTF-8 names, and a line for each
/// thing that cannot be delivered.
struct InputFolder
{
    QList<InputFile> files;
    QStringList faults;
};

/// Reads a folder whole, hidden files included. Links are followed as long as they stay inside.
/// Faults are a folder that cannot be read, links that leave it, lead nowhere or in a circle, what
/// is neither file nor folder, names that are not UTF-8, unreadable files, and files too large to
/// be unpacked. Empty folders vanish: the documents know files only.
[[nodiscard]] InputFolder readInputFolder(const QString& folder);

/// Whether the path is the folder's or one below it; both absolute and clean. The root of a file
/// system or drive counts as a folder.
[[nodiscard]] bool liesIn(const QString& path, const QString& folder);

/// A line for each name that Windows cannot hold below a package folder called `directory`, that
/// differs from another in case only, or that the launcher keeps for itself.
[[nodiscard]] QStringList nameFaults(const QList<InputFile>& files, const QString& directory);

/// The name or path in the form in which Windows compares it: two of one form are one file there.
[[nodiscard]] QString comparedName(const QString& name);

/// As nameFaults(), for paths alone.
[[nodiscard]] QStringList pathFaults(const QStringList& paths, const QString& directory);

/// Why `version` cannot be a version text; empty when it can.
[[nodiscard]] QString versionFault(const QString& version);

/// Why `directory` cannot be the name of a package's folder; empty when it can.
[[nodiscard]] QString directoryFault(const QString& directory);
