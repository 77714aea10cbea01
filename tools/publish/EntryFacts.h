#pragma once

#include <QString>
#include <QStringList>

class QFileInfo;

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

/// The names in the folder that are not UTF-8, which Qt passes over without a word; old archives
/// leave such names. Each byte that does not fit stands as "\xNN". Windows has no such names.
[[nodiscard]] QStringList undecodableNames(const QString& folder);
