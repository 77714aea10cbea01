#include "publish/SignedContent.h"

#include "package/Failure.h"
#include "package/Hashes.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/PendingMetadata.h"
#include "publish/WrittenNotes.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace publish {

namespace {

const QString keysFile = QStringLiteral("/.publisher/signing-keys");

qint64 serialAt(const ContentFolder& tree, const QString& address)
{
    return readSignedTerms(tree.read(address)).serial;
}

// A channel may wait for its first document.
qint64 highestPending(const ContentFolder& tree)
{
    qint64 highest = serialAt(tree, pending::address(QString()));
    for (const QString& channel : tree.subfolders(pending::folder()))
        highest = std::max(highest, serialAt(tree, pending::address(channel)));
    return highest;
}

// Only when it is new.
bool noteKey(ContentFolder& tree, const minisign::PublicKey& key, QString* error)
{
    QList<minisign::PublicKey> keys = signedcontent::notedKeys(tree);
    if (keys.contains(key))
        return true;
    keys.append(key);
    QByteArray text;
    for (const minisign::PublicKey& noted : std::as_const(keys))
        text += minisign::publicKeyText(noted) + '\n';
    return tree.replace(keysFile, text, error);
}

} // namespace

bool signedcontent::isSigned(const ContentFolder& tree)
{
    return highestCurrent(tree) > 0;
}

qint64 signedcontent::highestCurrent(const ContentFolder& tree)
{
    qint64 highest = 0;
    for (const QString& channel : QStringList(QString()) + channels::all(tree))
        highest = std::max(highest, serialAt(tree, channels::metadata(channel)));
    return highest;
}

std::optional<qint64> signedcontent::nextSerial(const ContentFolder& tree, QString* error)
{
    const qint64 highest = std::max(highestCurrent(tree), highestPending(tree));
    const qint64 next = std::max(highest + 1, QDateTime::currentSecsSinceEpoch());
    if (next > SignedTerms::largestSerial) {
        fail(error, QStringLiteral("%1: no serial number is left above %2")
                        .arg(tree.root())
                        .arg(SignedTerms::largestSerial));
        return std::nullopt;
    }
    return next;
}

QString signedcontent::signatureAddress(const QString& channel, const QByteArray& document)
{
    return channels::signatures(channel) + hashBytes(document) + QLatin1StringView(".minisig");
}

QList<minisign::PublicKey> signedcontent::notedKeys(const ContentFolder& tree)
{
    QList<minisign::PublicKey> keys;
    for (const QByteArray& line : tree.read(keysFile).split('\n')) {
        if (const auto key = minisign::readPublicKey(line))
            keys.append(*key);
    }
    return keys;
}

std::optional<minisign::PublicKey> signedcontent::signingKey(const QByteArray& document,
                                                             const QByteArray& signature,
                                                             const QList<minisign::PublicKey>& keys,
                                                             QString* error)
{
    const QString fault = minisign::signatureFault(document, signature, keys);
    if (!fault.isEmpty()) {
        fail(error, QStringLiteral("the metadata was not signed: %1").arg(fault));
        return std::nullopt;
    }
    return *std::find_if(keys.begin(), keys.end(), [&](const minisign::PublicKey& key) {
        return minisign::signatureFault(document, signature, {key}).isEmpty();
    });
}

bool signedcontent::keepSignature(ContentFolder& tree, const QString& channel,
                                  const QByteArray& document, const QByteArray& signature,
                                  const minisign::PublicKey& key, QString* error)
{
    // A document that is signed and does not become current is no fault of the one that is.
    WrittenNotes notes(tree);
    notes.note(channels::metadata(channel), document);
    return noteKey(tree, key, error) && notes.save(tree, error) &&
           tree.replace(signatureAddress(channel, document), signature, error) && tree.sync(error);
}

QString signedcontent::changedFault(const ContentFolder& tree,
                                    const QList<minisign::PublicKey>& keys)
{
    const WrittenNotes notes(tree);
    for (const QString& channel : QStringList(QString()) + channels::all(tree)) {
        const QString address = channels::metadata(channel);
        const QString fault = notes.isDamage(address, tree.read(address))
                                  ? signatureFault(tree, channel, notedKeys(tree) + keys)
                                  : QString();
        if (!fault.isEmpty())
            return QStringLiteral("%1: was changed since it was signed: %2; restore it from a "
                                  "backup, or end the signing by --unsigned if it is right")
                .arg(tree.path(address), fault);
    }
    return {};
}

bool signedcontent::forgetSigned(ContentFolder& tree, const QString& channel, QString* error)
{
    WrittenNotes notes(tree);
    notes.forget(channels::metadata(channel));
    return notes.save(tree, error);
}

QString signedcontent::signatureFault(const ContentFolder& tree, const QString& channel,
                                      const QList<minisign::PublicKey>& keys)
{
    const QByteArray document = tree.read(channels::metadata(channel));
    const QByteArray signature = tree.read(signatureAddress(channel, document));
    return signature.isEmpty() ? QStringLiteral("there is no signature of it")
                               : minisign::signatureFault(document, signature, keys);
}

QList<signedcontent::State> signedcontent::states(const ContentFolder& tree)
{
    QList<State> found;
    if (!isSigned(tree))
        return found;
    const QList<minisign::PublicKey> keys = notedKeys(tree);
    for (const QString& channel : QStringList(QString()) + channels::all(tree))
        found.append({channel, readSignedTerms(tree.read(channels::metadata(channel))),
                      signatureFault(tree, channel, keys)});
    return found;
}

QStringList signedcontent::removeOutdatedSignatures(const ContentFolder& tree, const QDateTime& now)
{
    constexpr qint64 daysKept = 30;
    const QDateTime end = now.addDays(-daysKept);
    QStringList left;
    for (const QString& channel : QStringList(QString()) + channels::all(tree)) {
        const QStringList needed{signatureAddress(channel, tree.read(channels::metadata(channel))),
                                 signatureAddress(channel, tree.read(pending::address(channel)))};
        const QDir folder(tree.path(channels::signatures(channel)));
        for (const QFileInfo& file :
             folder.entryInfoList({QStringLiteral("*.minisig")}, QDir::Files)) {
            if (file.lastModified() < end &&
                !needed.contains(channels::signatures(channel) + file.fileName()) &&
                !QFile::remove(file.filePath()))
                left.append(file.filePath());
        }
    }
    return left;
}

} // namespace publish
