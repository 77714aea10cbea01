#include "publish/MetadataWriter.h"

#include "package/Failure.h"
#include "package/Hashes.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/PendingMetadata.h"
#include "publish/SignedContent.h"
#include "publish/WrittenNotes.h"

#include <QDateTime>
#include <QFile>

namespace publish {

namespace {

QString expiryText(int days)
{
    return QDateTime::currentDateTimeUtc().addDays(days).toString(Qt::ISODate);
}

// What is damaged must not be signed as if it were what was published.
bool stateHashes(const ContentFolder& tree, MetadataDocument& document, QString* error)
{
    const WrittenNotes notes(tree);
    return document.setHashes([&](const QString& address) {
        QFile file(tree.path(address));
        const bool isRead = file.open(QIODevice::ReadOnly);
        const QString hash = isRead ? hashDevice(&file) : QString();
        const QString noted = notes.hash(address);
        if (isRead && file.error() == QFileDevice::NoError && (noted.isEmpty() || noted == hash))
            return hash;
        fail(error, QStringLiteral("%1: %2, so the metadata that names it cannot be signed; "
                                   "publishing its version again mends it")
                        .arg(tree.path(address),
                             isRead ? QStringLiteral("is not what was published")
                                    : QStringLiteral("cannot be read: ") + file.errorString()));
        return QString();
    });
}

// What was pruned while nobody was there to sign.
void forgetMissing(const ContentFolder& tree, MetadataDocument& document)
{
    for (const Product& product : document.products()) {
        QStringList versions = document.history(product);
        const qsizetype missing = versions.removeIf(
            [&](const QString& version) { return !tree.exists(product.versionFolder(version)); });
        if (missing > 0)
            document.setHistory(product, versions);
    }
}

} // namespace

QString writingFault(const ContentFolder& tree, const Signing& signing)
{
    if (signing.endSigning)
        return {};
    const QString changed = signedcontent::changedFault(tree, signing.keys);
    if (!changed.isEmpty() || signing.signer || !signedcontent::isSigned(tree))
        return changed;
    return QStringLiteral("%1: what is current here is signed; give --sign-with KEY, or name a "
                          "program that signs in VORNAK_SIGN_METADATA; --unsigned ends the signing")
        .arg(tree.root());
}

bool canWaitForSignature(const ContentFolder& tree, const Signing& signing)
{
    return !signing.signer && !signing.endSigning && signedcontent::isSigned(tree) &&
           signedcontent::changedFault(tree, signing.keys).isEmpty();
}

bool MetadataWriter::write(const QString& channel, const MetadataDocument& document, QString* error)
{
    if (m_when == When::Later)
        return writeForLater(channel, document, error);
    const QString fault = writingFault(m_tree, m_signing);
    if (!fault.isEmpty())
        return fail(error, fault);
    return m_signing.signer ? writeSigned(channel, document, false, error)
                            : writePlain(channel, document, error);
}

bool MetadataWriter::renew(const QString& channel, QString* error)
{
    const QString fault = writingFault(m_tree, m_signing);
    if (!fault.isEmpty())
        return fail(error, fault);
    const auto document = channels::read(m_tree, channel, error);
    return document && (m_signing.endSigning ? writePlain(channel, *document, error)
                                             : writeSigned(channel, *document, true, error));
}

bool MetadataWriter::writePlain(const QString& channel, const MetadataDocument& document,
                                QString* error)
{
    MetadataDocument plain = document;
    if (m_signing.endSigning) {
        plain.removeTerms();
        if (!signedcontent::forgetSigned(m_tree, channel, error))
            return false;
    }
    const QString address = channels::metadata(channel);
    const QByteArray bytes = plain.bytes();
    return bytes == m_tree.read(address) || m_tree.replace(address, bytes, error);
}

bool MetadataWriter::writeSigned(const QString& channel, MetadataDocument document, bool anew,
                                 QString* error)
{
    forgetMissing(m_tree, document);
    if (!stateHashes(m_tree, document, error))
        return false;
    if (!anew && m_signing.expiresInDays == 0 && isCurrent(channel, document))
        return true;
    if (!setTerms(channel, document, error))
        return false;
    const QByteArray bytes = document.bytes();
    return provideSignature(channel, bytes, error) &&
           m_tree.replace(channels::metadata(channel), bytes, error);
}

bool MetadataWriter::writeForLater(const QString& channel, MetadataDocument document,
                                   QString* error)
{
    const QString changed = signedcontent::changedFault(m_tree, m_signing.keys);
    if (!changed.isEmpty())
        return fail(error, changed);
    forgetMissing(m_tree, document);
    return stateHashes(m_tree, document, error) && setTerms(channel, document, error) &&
           m_tree.replace(pending::address(channel), document.bytes(), error);
}

bool MetadataWriter::setTerms(const QString& channel, MetadataDocument& document,
                              QString* error) const
{
    const auto serial = signedcontent::nextSerial(m_tree, error);
    if (!serial)
        return false;
    SignedTerms terms{*serial, {}, channel};
    if (m_signing.expiresInDays > 0)
        terms.expires = expiryText(m_signing.expiresInDays);
    document.setTerms(terms);
    return true;
}

// Whether launchers have this document already, whatever its serial and its time.
bool MetadataWriter::isCurrent(const QString& channel, MetadataDocument document) const
{
    const QByteArray current = m_tree.read(channels::metadata(channel));
    SignedTerms terms = readSignedTerms(current);
    terms.channel = channel;
    document.setTerms(terms);
    return document.bytes() == current &&
           signedcontent::signatureFault(m_tree, channel, knownKeys()).isEmpty();
}

bool MetadataWriter::provideSignature(const QString& channel, const QByteArray& document,
                                      QString* error)
{
    const auto signature = m_signing.signer->sign(document, m_tree, error);
    if (!signature)
        return false;
    const auto own = m_signing.signer->publicKey();
    const QList<minisign::PublicKey> keys = own ? QList{*own} : knownKeys();
    const auto key = signedcontent::signingKey(document, *signature, keys, error);
    if (!key && !own && error)
        *error += QLatin1StringView("; --key PUB makes a key known");
    return key && signedcontent::keepSignature(m_tree, channel, document, *signature, *key, error);
}

QList<minisign::PublicKey> MetadataWriter::knownKeys() const
{
    QList<minisign::PublicKey> keys = signedcontent::notedKeys(m_tree) + m_signing.keys;
    if (m_signing.signer) {
        if (const auto own = m_signing.signer->publicKey())
            keys.append(*own);
    }
    return keys;
}

} // namespace publish
