#include "publish/VerifyFile.h"

#include "package/OrlPackageDoc.h"
#include "package/Unpack.h"
#include "publish/Limits.h"
#include "publish/Verification.h"

#include <QtEndian>

#include <algorithm>
#include <bit>

namespace {

constexpr qsizetype headerSize = 13;

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
    if (body.size() < headerSize)
        return QStringLiteral("the packed file ends in its header");
    const auto dictionary = qFromLittleEndian<quint32>(body.constData() + 1);
    if (!std::has_single_bit(dictionary))
        return QStringLiteral("the dictionary of %1 bytes is no power of two").arg(dictionary);
    const auto declared = qFromLittleEndian<quint64>(body.constData() + 5);
    if (declared != static_cast<quint64>(file.unpackedsize))
        return QStringLiteral("the packed file declares another size than its entry");
    return {};
}

} // namespace

bool isHashText(const QString& text)
{
    return text.size() == 64 && std::all_of(text.begin(), text.end(), [](QChar character) {
               return (character >= u'0' && character <= u'9') ||
                      (character >= u'a' && character <= u'f');
           });
}

QString packedFileFault(ContentSource& source, const QString& address, const OrlFile& file)
{
    const QString entry = entryFault(file);
    if (!entry.isEmpty())
        return entry;
    QString error;
    const QByteArray body = source.fetch(address, &error);
    if (body.isEmpty())
        return QStringLiteral("%1 cannot be read: %2")
            .arg(address, error.isEmpty() ? QStringLiteral("it is empty") : error);
    if (body.size() != file.packedsize)
        return QStringLiteral("%1 has %2 bytes instead of %3")
            .arg(address)
            .arg(body.size())
            .arg(file.packedsize);
    if (hashBytes(body) != file.packedhash)
        return QStringLiteral("%1 has another hash than its entry").arg(address);
    const QString header = headerFault(body, file);
    if (!header.isEmpty())
        return header;
    QByteArray unpacked;
    if (!unpackLzma(body, unpacked, nullptr))
        return QStringLiteral("%1 cannot be unpacked").arg(address);
    if (unpacked.size() != file.unpackedsize)
        return QStringLiteral("it unpacks to %1 bytes instead of %2")
            .arg(unpacked.size())
            .arg(file.unpackedsize);
    if (hashBytes(unpacked) != file.unpackedhash)
        return QStringLiteral("it unpacks to another content than its entry names");
    return {};
}
