#include "publish/ContentSource.h"

#include "publish/Addresses.h"

namespace publish {

// What launchers ask for by itself lies below their base address, even where that has a path; what
// documents name is resolved against it.
QUrl ContentSource::requested(const QString& base, const QString& address)
{
    const bool isOwn = address == addresses::metadata || address == addresses::hints ||
                       address.startsWith(addresses::images) ||
                       address.startsWith(addresses::signatures);
    return QUrl(isOwn ? base + address : address, QUrl::TolerantMode);
}

} // namespace publish
