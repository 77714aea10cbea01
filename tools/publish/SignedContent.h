#pragma once

#include "package/Minisign.h"
#include "package/SignedTerms.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace publish {

class ContentFolder;

/// What a content folder has of signed metadata. It counts as signed when any of its documents has
/// a serial.
namespace signedcontent {

[[nodiscard]] bool isSigned(const ContentFolder& tree);

/// Of what launchers get; 0 when nothing is signed.
[[nodiscard]] qint64 highestCurrent(const ContentFolder& tree);

/// A serial for the next document: higher than those of all that are there, or wait for their
/// signature, and not below the seconds since 1970, so that a folder that is made anew goes on
/// where launchers are. Nothing with a text when there is none left.
[[nodiscard]] std::optional<qint64> nextSerial(const ContentFolder& tree, QString* error);

/// Where launchers in the channel look for the signature of a document with these bytes.
[[nodiscard]] QString signatureAddress(const QString& channel, const QByteArray& document);

/// The keys whose signatures the folder has had.
[[nodiscard]] QList<minisign::PublicKey> notedKeys(const ContentFolder& tree);

/// The one of the keys that made the signature of the document; nothing with a text when none did.
[[nodiscard]] std::optional<minisign::PublicKey> signingKey(const QByteArray& document,
                                                            const QByteArray& signature,
                                                            const QList<minisign::PublicKey>& keys,
                                                            QString* error);

/// Why what is current cannot be what was signed last; empty when it can, and when it never was
/// signed. Whoever signs it again would give his name for what a stranger has written.
[[nodiscard]] QString changedFault(const ContentFolder& tree,
                                   const QList<minisign::PublicKey>& keys);

/// From now on the channel's metadata is not expected to be signed.
[[nodiscard]] bool forgetSigned(ContentFolder& tree, const QString& channel, QString* error);

/// Notes the key and the document, and puts its signature of the document where launchers look for
/// it; all are on the disk afterwards.
[[nodiscard]] bool keepSignature(ContentFolder& tree, const QString& channel,
                                 const QByteArray& document, const QByteArray& signature,
                                 const minisign::PublicKey& key, QString* error);

/// Why the document that is current in the channel has no signature of one of the keys; empty when
/// it has.
[[nodiscard]] QString signatureFault(const ContentFolder& tree, const QString& channel,
                                     const QList<minisign::PublicKey>& keys);

/// How the document of a channel is signed; of no channel where the name is empty.
struct State
{
    QString channel;
    SignedTerms terms;
    /// What is wrong with the signature, by the keys that were noted; empty when nothing is.
    QString fault;
};

/// Those of all documents that are current; none when nothing is signed.
[[nodiscard]] QList<State> states(const ContentFolder& tree);

/// Removes the signatures that are older than 30 days and belong to no document that is current or
/// waits: caches may serve a document for a while after it was replaced, and launchers then ask for
/// its signature. Returns the files that are still there.
QStringList removeOutdatedSignatures(const ContentFolder& tree, const QDateTime& now);

} // namespace signedcontent

} // namespace publish
