#pragma once

#include "publish/Channels.h"
#include "publish/MetadataDocument.h"
#include "publish/MetadataSigner.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace publish {

class ContentFolder;

/// Metadata that waits for its signature, which another machine makes: what the channel will have
/// once it is signed and switched to. It lies with the publisher's own files, which nobody is
/// served, and ends when anything else becomes current in the channel. What is staged meanwhile is
/// added to it, and it needs another signature then.
namespace pending {

/// The folder of all that waits, ending in "/".
[[nodiscard]] QString folder();
/// Where the channel's lies.
[[nodiscard]] QString address(const QString& channel);

/// Whether there is one that can still become current.
[[nodiscard]] bool isFresh(const ContentFolder& tree, const QString& channel);

/// What goes on being worked on: the document that waits, else the channel's own. Nothing with a
/// text when it cannot be read.
[[nodiscard]] std::optional<MetadataDocument> read(const ContentFolder& tree,
                                                   const QString& channel, QString* error);

/// All that can still become current. Nothing with a text when one of them cannot be read.
[[nodiscard]] std::optional<QList<channels::NamedDocument>> readAll(const ContentFolder& tree,
                                                                    QString* error);

/// Puts the signature of the document that waits into its place; false with a text when there is no
/// such document, or when it has not been signed by one of the keys, or of those that were noted.
[[nodiscard]] bool addSignature(ContentFolder& tree, const QString& channel,
                                const QByteArray& signature, const QList<minisign::PublicKey>& keys,
                                QString* error);

/// Makes the document current that waits. False with a text when it cannot be: it is not signed, or
/// something else became current since it was written.
[[nodiscard]] bool makeCurrent(ContentFolder& tree, const QString& channel,
                               const QList<minisign::PublicKey>& keys, QString* error);

} // namespace pending

} // namespace publish
