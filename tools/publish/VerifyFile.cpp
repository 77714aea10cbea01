#include "publish/VerifyFile.h"

#include "package/AloneDecoder.h"
#include "package/Sizes.h"
#include "package/Unpack.h"
#include "publish/ContentSource.h"
#include "publish/Limits.h"
#include "publish/Progress.h"
#include "publish/VerifyRun.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <vector>

namespace publish {

namespace {

QString entryFault(const OrlFile& file)
{
    if (!isHashText(file.packedhash) || !isHashText(file.unpackedhash))
        return QStringLiteral("its hashes are not 64 lower-case hexadecimal digits");
    if (file.packedsize <= 0 || file.unpackedsize < 0)
        return QStringLiteral("its sizes make no sense");
    if (file.unpackedsize >= limits::fileSize)
        return QStringLiteral("2 GiB or more; the launcher cannot unpack it");
    return {};
}

// The form that every tool for such files reads.
QString headerFault(const QByteArray& body, const OrlFile& file)
{
    if (body.size() < AloneDecoder::headerSize)
        return QStringLiteral("the packed file ends in its header");
    const auto dictionary = qFromLittleEndian<quint32>(body.constData() + 1);
    if (!std::has_single_bit(dictionary))
        return QStringLiteral("the dictionary of %1 bytes is no power of two").arg(dictionary);
    if (AloneDecoder::statedSize(body) != static_cast<quint64>(file.unpackedsize))
        return QStringLiteral("the packed file declares another size than its entry");
    return {};
}

QString cannotBeRead(const QString& address, const QString& reason)
{
    return QStringLiteral("%1 cannot be read: %2").arg(address, reason);
}

QString wrongSize(const QString& address, qint64 size, const OrlFile& file)
{
    return QStringLiteral("%1 has %2 bytes instead of %3")
        .arg(address)
        .arg(size)
        .arg(file.packedsize);
}

// Of packed bytes that are those which the entry names.
QString contentFault(const QByteArray& body, const WantedFile& wanted)
{
    const OrlFile& file = wanted.file;
    const QString header = headerFault(body, file);
    if (!header.isEmpty())
        return header;
    QByteArray unpacked;
    if (!unpackLzma(body, unpacked, nullptr))
        return QStringLiteral("%1 cannot be unpacked").arg(wanted.address);
    if (unpacked.size() != file.unpackedsize)
        return QStringLiteral("it unpacks to %1 bytes instead of %2")
            .arg(unpacked.size())
            .arg(file.unpackedsize);
    if (hashBytes(unpacked) != file.unpackedhash)
        return QStringLiteral("it unpacks to another content than its entry names");
    return {};
}

} // namespace

bool isHashText(const QString& text)
{
    return text.size() == hashLength && std::all_of(text.begin(), text.end(), [](QChar character) {
               return (character >= u'0' && character <= u'9') ||
                      (character >= u'a' && character <= u'f');
           });
}

FileFault packedFileFault(ContentSource& source, const WantedFile& wanted)
{
    const auto& [file, address, where, command] = wanted;
    const QString entry = entryFault(file);
    if (!entry.isEmpty())
        return {entry};
    QString error;
    const QByteArray body = source.fetch(address, &error);
    if (body.isEmpty())
        return {cannotBeRead(address, error.isEmpty() ? QStringLiteral("it is empty") : error)};
    if (body.size() != file.packedsize)
        return {wrongSize(address, body.size(), file)};
    if (hashBytes(body) != file.packedhash)
        return {QStringLiteral("%1 has another hash than its entry").arg(address),
                Mending::PublishReread};
    const QString content = contentFault(body, wanted);
    return {content, Mending::NewVersion};
}

QList<FileFault> presenceFaults(VerifyRun& run, const QList<WantedFile>& wanted, Progress& progress)
{
    QStringList addresses;
    qint64 bytes = 0;
    for (const WantedFile& file : wanted) {
        addresses.append(file.address);
        bytes = addSizes(bytes, packedSize(file));
    }
    QList<FileFault> faults(wanted.size());
    progress.begin(QStringLiteral("Looking"), bytes, wanted.size());
    run.look(addresses, [&](qsizetype index, const Presence& presence) {
        const OrlFile& file = wanted.at(index).file;
        const QString& address = addresses.at(index);
        const QString entry = entryFault(file);
        if (!entry.isEmpty())
            faults[index] = {entry};
        else if (!presence.fault.isEmpty())
            faults[index] = {cannotBeRead(address, presence.fault)};
        else if (presence.size < 0)
            faults[index] = {QStringLiteral("the server does not tell the size of %1").arg(address),
                             Mending::PublishReread};
        else if (presence.size != file.packedsize)
            faults[index] = {wrongSize(address, presence.size, file)};
        progress.advance(packedSize(wanted.at(index)), 1);
    });
    progress.end();
    return faults;
}

QList<FileFault> contentFaults(ContentSource& source, const QList<WantedFile>& wanted,
                               JobLimits limits, Progress& progress)
{
    if (source.isServer())
        limits.threads = 1;
    qint64 bytes = 0;
    for (const WantedFile& file : wanted)
        bytes = addSizes(bytes, packedSize(file));
    progress.begin(QStringLiteral("Verifying"), bytes, wanted.size());
    QList<FileFault> faults(wanted.size());
    // Each job has a place of its own.
    FileFault* place = faults.data();
    std::vector<Job> jobs;
    for (const WantedFile& file : wanted) {
        const qint64 memory =
            std::min(addSizes(packedSize(file), unpackedSize(file)), limits.memory);
        jobs.push_back({memory, [&source, &file, &progress, place](QString*) {
                            *place = packedFileFault(source, file);
                            progress.advance(packedSize(file), 1);
                            return true;
                        }});
        ++place;
    }
    QString error;
    if (!runJobs(jobs, limits, &error))
        faults.first() = {QStringLiteral("verifying failed: %1").arg(error)};
    progress.end();
    return faults;
}

qint64 packedSize(const WantedFile& wanted)
{
    return std::max<qint64>(wanted.file.packedsize, 0);
}

qint64 unpackedSize(const WantedFile& wanted)
{
    return std::max<qint64>(wanted.file.unpackedsize, 0);
}

} // namespace publish
