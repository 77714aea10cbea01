#pragma once

#include <QString>
#include <QStringList>

class QFileInfo;

namespace publish {

/// What an entry of a folder is, with links followed to their ends.
struct EntryFacts
{
    enum class Kind {
        File,
        Folder,
        /// A pipe, a device and the like.
        Other,
    };

    /// The path without any link in it; empty when the entry leads nowhere.
    QString finalPath;
    Kind kind = Kind::Other;
    bool isReadable = false;
    /// Of a file, in bytes.
    qint64 size = 0;
};

[[nodiscard]] EntryFacts entryFacts(const QFileInfo& entry);

/// What a folder holds, in no order, without "." and "..".
struct FolderNames
{
    QStringList names;
    /// Names that are not UTF-8; old archives leave them. Each byte that does not fit stands as
    /// "\xNN". Windows has no such names.
    QStringList undecodable;
};

/// Empty for a folder that cannot be read. Not left to Qt, which passes over names that are not
/// UTF-8 without a word, and since 6.8 over all that the system lists after one.
[[nodiscard]] FolderNames namesIn(const QString& folder);

} // namespace publish
