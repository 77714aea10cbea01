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

} // namespace publish
