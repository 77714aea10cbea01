#pragma once

#include "package/FileStamp.h"
#include "publish/InputFolder.h"
#include "publish/JobRunner.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>

namespace publish {

class ContentFolder;
class Progress;

/// The hashes of an input's files. A file is not read again while its size, its times and its place
/// on the disk are those with which an earlier publication read it: every change of a file sets a
/// time that no program can set back.
class InputHashes
{
public:
    InputHashes(const JobLimits& limits, Progress& progress);

    /// Takes over what an earlier publication knew; the text is one of notes(). Lines that make no
    /// sense are passed over.
    void load(const QByteArray& notes);

    /// The hash of each file's content, in the order of `files`; empty with a text when one cannot
    /// be read or has not the size that was seen before. Writes nothing.
    [[nodiscard]] QStringList read(const QList<InputFile>& files, QString* error);

    /// What is known of the files that the last read() was given. Files that were changed within
    /// the two seconds before it are left out: they could change once more and look the same.
    [[nodiscard]] QByteArray notes() const;

private:
    struct Entry
    {
        FileStamp stamp;
        QString hash;
    };

    void readOne(const InputFile& file, QString& hash, Entry& entry);

    JobLimits m_limits;
    Progress& m_progress;
    QHash<QString, Entry> m_known;
    // Paths and what is known of them now, in the order of the input.
    QList<std::pair<QString, Entry>> m_read;
};

/// Where the notes on the product's input lie: one for each product and platform, so that they do
/// not grow with every input that ever was.
[[nodiscard]] QString readNotesAddress(const Product& product, const Platform& platform);

/// Writes the notes there, for the next publication. It warns when that fails: without them the
/// next publication reads everything.
void keepReadNotes(ContentFolder& tree, const Product& product, const Platform& platform,
                   const QByteArray& notes, Progress& progress);

/// The hash of the file's content; empty when it cannot be read or has not this size.
[[nodiscard]] QString hashOfFile(const QString& path, qint64 size);

} // namespace publish
