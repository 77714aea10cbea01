#include "publish/EntryFacts.h"

#include <QFileInfo>

EntryFacts entryFacts(const QFileInfo& entry)
{
    const auto kind = entry.isDir()    ? EntryFacts::Kind::Folder
                      : entry.isFile() ? EntryFacts::Kind::File
                                       : EntryFacts::Kind::Other;
    return {entry.canonicalFilePath(), kind, entry.isReadable(), entry.size()};
}
