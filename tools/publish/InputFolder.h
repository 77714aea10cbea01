#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

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

/// Indexes of the files with the largest first, so that none of them is left to run alone at the
/// end.
[[nodiscard]] QList<qsizetype> largestFirst(QList<qsizetype> indexes,
                                            const QList<InputFile>& files);

[[nodiscard]] qint64 totalSize(const QList<qsizetype>& indexes, const QList<InputFile>& files);

} // namespace publish
