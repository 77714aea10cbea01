#include "publish/EntryFacts.h"

#include <QFile>
#include <QFileInfo>

#include <dirent.h>
#include <memory>

namespace publish {

namespace {

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

// Characters that can be read stay as they are.
QString escaped(QByteArrayView name)
{
    QString text;
    while (!name.isEmpty()) {
        qsizetype length = 1;
        while (length < 4 && length < name.size() &&
               !QUtf8StringView(name.first(length)).isValidUtf8())
            ++length;
        const QUtf8StringView character(name.first(length));
        if (character.isValidUtf8()) {
            text += character.toString();
        } else {
            length = 1;
            text +=
                QStringLiteral("\\x%1").arg(static_cast<uchar>(name.front()), 2, 16, QChar(u'0'));
        }
        name = name.sliced(length);
    }
    return text;
}

} // namespace

EntryFacts entryFacts(const QFileInfo& entry)
{
    const auto kind = entry.isDir()    ? EntryFacts::Kind::Folder
                      : entry.isFile() ? EntryFacts::Kind::File
                                       : EntryFacts::Kind::Other;
    return {entry.canonicalFilePath(), kind, entry.isReadable(), entry.size()};
}

FolderNames namesIn(const QString& folder)
{
    FolderNames found;
    const std::unique_ptr<DIR, CloseFolder> opened(
        ::opendir(QFile::encodeName(folder).constData()));
    // Only this function has the stream, and glibc's is safe then.
    while (const dirent* entry =
               opened ? ::readdir(opened.get()) : nullptr) { // NOLINT(concurrency-mt-unsafe)
        const QByteArray name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        const QString decoded = QFile::decodeName(name);
        if (QFile::encodeName(decoded) == name)
            found.names.append(decoded);
        else
            found.undecodable.append(escaped(name));
    }
    return found;
}

} // namespace publish
