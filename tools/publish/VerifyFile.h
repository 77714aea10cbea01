#pragma once

#include "package/OrlPackageDoc.h"
#include "publish/JobRunner.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

class ContentSource;
class Progress;
class VerifyRun;

/// Whether the text is a SHA-256 as documents write it.
[[nodiscard]] bool isHashText(const QString& text);

/// What mends a fault.
enum class Mending {
    /// Publishing the version again.
    Publish,
    /// The same, when the packed files are read again: size and presence show no fault.
    PublishReread,
    /// The version can never be installed; only a new one can.
    NewVersion,
};

/// A packed file that a document names.
struct WantedFile
{
    OrlFile file;
    QString address;
    /// Begins the fault's line.
    QString where;
    /// Publishes it again.
    QString command;
};

struct FileFault
{
    /// Empty when nothing is wrong.
    QString text;
    Mending mending = Mending::Publish;
};

/// Reads one packed file and says what is wrong with it, measured by its entry.
[[nodiscard]] FileFault packedFileFault(ContentSource& source, const WantedFile& wanted);

/// Looks at every file without reading it; what is wrong with each, none for those that are there
/// with their sizes.
[[nodiscard]] QList<FileFault> presenceFaults(VerifyRun& run, const QList<WantedFile>& wanted,
                                              Progress& progress);

/// Reads every file, several at once where the source can; faults as of presenceFaults(). Memory:
/// one packed and unpacked file for each thread, within the limits.
[[nodiscard]] QList<FileFault> contentFaults(ContentSource& source, const QList<WantedFile>& wanted,
                                             JobLimits limits, Progress& progress);

/// Bytes that the entry names; documents may say anything, but this is never negative.
[[nodiscard]] qint64 packedSize(const WantedFile& wanted);
[[nodiscard]] qint64 unpackedSize(const WantedFile& wanted);

} // namespace publish
