#include "publish/PackStore.h"

#include "package/Failure.h"
#include "package/OrlPackageDoc.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/DiskSteps.h"
#include "publish/FileWriting.h"
#include "publish/InputHashes.h"
#include "publish/PackIndex.h"
#include "publish/Progress.h"
#include "publish/WrittenNotes.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace publish {

namespace {

QString indexName()
{
    return QStringLiteral("packed.index");
}

} // namespace

PackStore::PackStore(ContentFolder& tree, const PackSettings& settings, Progress& progress)
    : m_tree(tree)
    , m_settings(settings)
    , m_progress(progress)
{}

bool PackStore::pack(const QList<InputFile>& files, const QStringList& hashes, QString* error)
{
    loadKnown(Index::ReadAndMend);
    QList<qsizetype> toPack;
    if (!findReusable(hashes, toPack, error))
        return false;
    m_progress.begin(QStringLiteral("Packing"), totalSize(toPack, files), toPack.size());
    std::vector<Job> jobs;
    for (const qsizetype index : largestFirst(toPack, files)) {
        jobs.push_back({encoderMemory(files.at(index).size, m_settings.level),
                        [this, &file = files.at(index), &hash = hashes.at(index)](
                            QString* jobError) { return packOne(file, hash, jobError); }});
    }
    const bool ok = runJobs(jobs, m_settings.limits, error);
    m_progress.end();
    return ok;
}

// Of each content the first file: those that were packed before; the others go to `toPack`.
QList<qsizetype> PackStore::sortOut(const QStringList& hashes, QList<qsizetype>& toPack) const
{
    QSet<QString> seen;
    QList<qsizetype> known;
    for (qsizetype i = 0; i < hashes.size(); ++i) {
        if (seen.contains(hashes.at(i)))
            continue;
        seen.insert(hashes.at(i));
        (m_known.contains(hashes.at(i)) ? known : toPack).append(i);
    }
    return known;
}

// Contents whose packed file is there and whole need no packing. A damaged one is packed anew and
// so mended. What was packed and never known to be safe may be damaged by a failure of power, so it
// is read; the rest is read only on request.
bool PackStore::findReusable(const QStringList& hashes, QList<qsizetype>& toPack, QString* error)
{
    const QList<qsizetype> known = sortOut(hashes, toPack);
    qint64 bytes = 0;
    QList<qsizetype> toRead;
    std::vector<Job> jobs;
    for (const qsizetype index : known) {
        const PackedFile file = m_known.value(hashes.at(index));
        if (!m_settings.reread && m_safe.contains(file.packedhash)) {
            if (isThere(file))
                ++m_reusedCount;
            else
                toPack.append(index);
            continue;
        }
        toRead.append(index);
        bytes += file.packedsize;
        jobs.push_back({readingMemory, [this, file, index, &toPack](QString*) {
                            const bool intact = isIntact(file);
                            m_progress.advance(file.packedsize, 1);
                            const std::lock_guard lock(m_mutex);
                            if (intact) {
                                ++m_reusedCount;
                                if (!m_safe.contains(file.packedhash))
                                    m_unsafe.append(file);
                            } else
                                toPack.append(index);
                            return true;
                        }});
    }
    m_progress.begin(QStringLiteral("Checking what was packed before"), bytes, toRead.size());
    const bool ok = runJobs(jobs, m_settings.limits, error);
    m_progress.end();
    std::sort(toPack.begin(), toPack.end());
    return ok;
}

void PackStore::plan(const QList<InputFile>& files, const QStringList& hashes)
{
    loadKnown(Index::Read);
    QSet<QString> seen;
    for (qsizetype i = 0; i < files.size(); ++i) {
        const QString& hash = hashes.at(i);
        if (seen.contains(hash))
            continue;
        seen.insert(hash);
        if (isThere(m_known.value(hash))) {
            ++m_reusedCount;
            continue;
        }
        m_known.remove(hash);
        ++m_packedCount;
        m_addedBytes += files.at(i).size;
    }
}

bool PackStore::isThere(const PackedFile& file) const
{
    if (file.packedhash.isEmpty())
        return false;
    const QFileInfo packed(m_tree.path(addresses::packedFile(file.packedhash)));
    return packed.isFile() && packed.size() == file.packedsize;
}

bool PackStore::isIntact(const PackedFile& file) const
{
    return hashOfFile(m_tree.path(addresses::packedFile(file.packedhash)), file.packedsize) ==
           file.packedhash;
}

bool PackStore::packOne(const InputFile& file, const QString& hash, QString* error)
{
    const QString work = m_tree.workPath();
    const auto packed = packInto(work, file, hash, error);
    if (!packed) {
        // A full disk must not stay full.
        QFile::remove(work);
        return false;
    }
    m_progress.advance(0, 1);
    return m_tree.moveIntoPlace(work, addresses::packedFile(packed->packedhash), error) &&
           record(*packed, error);
}

std::optional<PackedFile> PackStore::packInto(const QString& work, const InputFile& file,
                                              const QString& hash, QString* error)
{
    const auto failure = [&file, error](const QString& reason) {
        fail(error, file.localfile + QLatin1StringView(": ") + reason);
        return std::nullopt;
    };
    QFile input(file.path);
    QFile output(work);
    if (!input.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return failure(QStringLiteral("the file cannot be read"));
    if (!output.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return failure(QStringLiteral("%1 cannot be written: %2").arg(work, output.errorString()));
    QString reason;
    auto packed = packDevice(input, file.size, output, m_settings.level, &reason,
                             [this](qint64 bytes) { m_progress.advance(bytes, 0); });
    if (!packed)
        return failure(reason);
    if (packed->unpackedhash != hash)
        return failure(QStringLiteral("the file changed while it was published"));
    if (!canSyncFileSystem && !flushToDisk(output))
        return failure(qt_error_string());
    return packed;
}

bool PackStore::record(const PackedFile& file, QString* error)
{
    const std::lock_guard lock(m_mutex);
    m_known.insert(file.unpackedhash, file);
    m_unsafe.append(file);
    ++m_packedCount;
    m_addedBytes += file.packedsize;
    QFile index(m_tree.ownFile(indexName()));
    const QByteArray line = indexLine(file, false);
    const bool written =
        index.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered) &&
        writeAll(index, line);
    return written || fail(error, QStringLiteral("%1: cannot be written: %2")
                                      .arg(index.fileName(), index.errorString()));
}

void PackStore::noteSafe()
{
    QByteArray lines;
    for (const PackedFile& file : std::as_const(m_unsafe))
        lines.append(indexLine(file, true));
    QFile index(m_tree.ownFile(indexName()));
    if (index.open(QIODevice::WriteOnly | QIODevice::Append))
        index.write(lines);
    m_unsafe.clear();
}

PackedFile PackStore::packed(const QString& unpackedhash) const
{
    return m_known.value(unpackedhash);
}

void PackStore::learn(const PackedFile& file)
{
    // The first one known stays: the documents out there name it.
    if (file.unpackedhash.size() == 64 && file.packedhash.size() == 64 &&
        !m_known.contains(file.unpackedhash))
        m_known.insert(file.unpackedhash, file);
}

// From the documents of the versions, which are the truth, and from the index, which also knows
// what a publisher packed that did not come to its end.
void PackStore::loadKnown(Index mode)
{
    m_known.clear();
    m_safe.clear();
    learnFromDocuments();
    learnFromIndex(mode);
}

void PackStore::learnFromDocuments()
{
    const WrittenNotes notes(m_tree);
    for (const QLatin1StringView folder : {addresses::packages, addresses::ownBuilds}) {
        QStringList documents;
        QDirIterator found(m_tree.path(folder), {addresses::packageDocument, addresses::assetList},
                           QDir::Files, QDirIterator::Subdirectories);
        while (found.hasNext())
            documents.append(found.next());
        documents.sort();
        for (const QString& path : documents) {
            const QString address = path.sliced(m_tree.root().size());
            const QByteArray bytes = m_tree.read(address);
            if (notes.isDamage(address, bytes))
                continue;
            for (const OrlFile& file : parseAssetList(bytes, nullptr))
                learn({file.unpackedhash, file.unpackedsize, file.packedhash, file.packedsize});
        }
    }
}

void PackStore::learnFromIndex(Index mode)
{
    QFile index(m_tree.ownFile(indexName()));
    if (!index.open(mode == Index::Read ? QIODevice::ReadOnly : QIODevice::ReadWrite))
        return;
    while (!index.atEnd()) {
        const qint64 start = index.pos();
        const QByteArray line = index.readLine();
        if (!line.endsWith('\n')) {
            if (mode == Index::ReadAndMend)
                index.resize(start);
        } else if (const auto indexed = readIndexLine(line)) {
            learn(indexed->file);
            if (indexed->isSafe)
                m_safe.insert(indexed->file.packedhash);
        }
    }
}

void PackStore::forgetMissing()
{
    loadKnown(Index::ReadAndMend);
    QByteArray lines;
    QStringList hashes = m_known.keys();
    hashes.sort();
    for (const QString& hash : hashes) {
        const PackedFile file = m_known.value(hash);
        if (m_tree.exists(addresses::packedFile(file.packedhash)))
            lines.append(indexLine(file, m_safe.contains(file.packedhash)));
    }
    const QString work = m_tree.workPath();
    QString reason;
    if (!writeFile(work, lines, false, &reason) ||
        !m_tree.moveIntoPlace(work, QStringLiteral("/.publisher/") + indexName(), &reason))
        m_progress.warn(
            QStringLiteral("the index of packed files could not be renewed: %1").arg(reason));
}

} // namespace publish
