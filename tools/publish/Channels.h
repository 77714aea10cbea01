#pragma once

#include "publish/MetadataDocument.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace publish {

class ContentFolder;

/// A channel is a second choice of what is current: metadata of its own, and hints of its own, in a
/// folder of the channel's name. Launchers read it when their base address ends in that name.
/// Versions, their documents and packed files are the same for all.
///
/// The empty name stands for what players have who are in no channel. The metadata of that name
/// also knows every version that was published, whatever channel it was for.
namespace channels {

/// Why `name` cannot be the name of a channel; empty when it can.
[[nodiscard]] QString nameFault(const QString& name);

[[nodiscard]] QString metadata(const QString& channel);
/// Folder of the signatures of the metadata, ending in "/".
[[nodiscard]] QString signatures(const QString& channel);
[[nodiscard]] QString hints(const QString& channel);
/// Folder of the hints' pictures, ending in "/".
[[nodiscard]] QString images(const QString& channel);

/// How the channel's document names its hints, "" or `publicUrl` standing before those without a
/// channel.
[[nodiscard]] QString hintsInMetadata(const QString& publicUrl, const QString& channel);

/// The channels that the content has, in ascending order; never the empty name.
[[nodiscard]] QStringList all(const ContentFolder& tree);

/// The channel's document. One that is not there yet begins as a copy of what is current without a
/// channel. Nothing with a text when a document cannot be read.
[[nodiscard]] std::optional<MetadataDocument> read(const ContentFolder& tree,
                                                   const QString& channel, QString* error);

/// The document of a channel; of no channel where the name is empty.
struct NamedDocument
{
    QString channel;
    MetadataDocument document;
};

/// Whether anything was published; false with a text otherwise.
[[nodiscard]] bool isPublished(const ContentFolder& tree, QString* error);

/// The documents that name what is current: first the one without a channel, then those of the
/// channels in ascending order. Nothing with a text when one of them cannot be read.
[[nodiscard]] std::optional<QList<NamedDocument>> readAll(const ContentFolder& tree,
                                                          QString* error);

} // namespace channels

} // namespace publish
