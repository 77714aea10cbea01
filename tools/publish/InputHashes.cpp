#include "publish/InputHashes.h"

#include "package/Unpack.h"
#include "package/VerifiedFiles.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/FileWriting.h"
#include "publish/Platform.h"
#include "publish/Product.h"
#include "publish/Progress.h"

#include <QFile>

#include <algorithm>
#include <numeric>

namespace publish {

namespace {

constexpr qsizetype fieldCount = 7;

bool isSettled(const FileStamp& stamp, qint64 readAt)
{
    return std::max(stamp.modified, stamp.changed) < readAt - VerifiedFiles::coarsestStep;
}

} // namespace

InputHashes::InputHashes(const JobLimits& limits, Progress& progress)
    : m_limits(limits)
    , m_progress(progress)
{}

void InputHashes::load(const QByteArray& notes)
{
    for (const QByteArray& line : notes.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() < fieldCount)
            continue;
        const FileStamp stamp{fields.at(1).toLongLong(), fields.at(2).toLongLong(),
                              fields.at(3).toLongLong(), fields.at(4).toULongLong(),
                              fields.at(5).toULongLong()};
        const QString hash = QString::fromLatin1(fields.first());
        // The path has the rest of the line, with whatever blanks.
        const QByteArray path = fields.sliced(fieldCount - 1).join(' ');
        if (hash.size() == hashLength)
            m_known.insert(QString::fromUtf8(path), {stamp, hash});
    }
}

QStringList InputHashes::read(const QList<InputFile>& files, QString* error)
{
    QStringList hashes(files.size());
    m_read = QList<std::pair<QString, Entry>>(files.size());
    QList<qsizetype> unknown;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const InputFile& file = files.at(i);
        m_read[i].first = file.path;
        const auto known = m_known.constFind(file.path);
        if (known != m_known.constEnd() && known->stamp.size == file.size &&
            fileStamp(file.path) == known->stamp) {
            hashes[i] = known->hash;
            m_read[i].second = *known;
        } else {
            unknown.append(i);
        }
    }
    m_progress.begin(QStringLiteral("Reading"), totalSize(unknown, files), unknown.size());
    std::vector<Job> jobs;
    QString* results = hashes.data();
    std::pair<QString, Entry>* entries = m_read.data();
    for (const qsizetype index : largestFirst(unknown, files)) {
        jobs.push_back({readingMemory, [this, &file = files.at(index), slot = results + index,
                                        entry = &entries[index].second](QString* jobError) {
                            readOne(file, *slot, *entry);
                            if (slot->isEmpty() && jobError)
                                *jobError =
                                    QStringLiteral("%1: the file changed or could not be read")
                                        .arg(file.localfile);
                            return !slot->isEmpty();
                        }});
    }
    const bool ok = runJobs(jobs, m_limits, error);
    m_progress.end();
    return ok ? hashes : QStringList();
}

void InputHashes::readOne(const InputFile& file, QString& hash, Entry& entry)
{
    const qint64 readAt = fileClock();
    const auto before = fileStamp(file.path);
    hash = hashOfFile(file.path, file.size);
    if (before && isSettled(*before, readAt) && fileStamp(file.path) == before)
        entry = {*before, hash};
    m_progress.advance(file.size, 1);
}

QByteArray InputHashes::notes() const
{
    QByteArray text;
    for (const auto& [path, entry] : m_read) {
        if (entry.hash.isEmpty() || path.contains(u'\n'))
            continue;
        text += QStringLiteral("%1 %2 %3 %4 %5 %6 ")
                    .arg(entry.hash)
                    .arg(entry.stamp.size)
                    .arg(entry.stamp.modified)
                    .arg(entry.stamp.changed)
                    .arg(entry.stamp.volume)
                    .arg(entry.stamp.identity)
                    .toLatin1() +
                path.toUtf8() + '\n';
    }
    return text;
}

QString readNotesAddress(const Product& product, const Platform& platform)
{
    const QString name = product.isLauncher ? QStringLiteral("launcher")
                                            : QStringLiteral("package-") + product.directory;
    return QStringLiteral("/.publisher/read-") +
           addresses::segment(name + u'-' + platform.folderName().chopped(1));
}

QString hashOfFile(const QString& path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    qint64 seen = 0;
    const QString hash = hashDevice(&file, [&seen](QByteArrayView slice, qint64) {
        seen += slice.size();
        return true;
    });
    return seen == size && file.error() == QFileDevice::NoError ? hash : QString();
}

void keepReadNotes(ContentFolder& tree, const Product& product, const Platform& platform,
                   const QByteArray& notes, Progress& progress)
{
    const QString work = tree.workPath();
    QString reason;
    if (!writeFile(work, notes, false, &reason) ||
        !tree.moveIntoPlace(work, readNotesAddress(product, platform), &reason))
        progress.warn(QStringLiteral("what was read could not be noted, so the next publication "
                                     "will read everything: %1")
                          .arg(reason));
}

} // namespace publish
