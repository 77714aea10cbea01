#pragma once

#include "publish/MetadataSigner.h"

#include <QString>
#include <QStringList>

namespace publish {

/// Signs what is current, for everybody and in each channel, with the next serials: the first time
/// for content that was not signed, or anew; or ends the signing. `documents` receives how many
/// there are. Returns the faults; after one, some of the documents are as they were.
[[nodiscard]] QStringList signContent(const QString& content, const Signing& signing,
                                      qsizetype& documents);

/// Takes the signature, made on another machine, of the metadata that waits for it (see
/// PendingMetadata.h), by one of the keys or of those that have signed here before; `file` is the
/// signature's. Returns the faults.
[[nodiscard]] QStringList takeSignature(const QString& content, const QString& channel,
                                        const QString& file,
                                        const QList<minisign::PublicKey>& keys);

} // namespace publish
