#pragma once

#include <QByteArray>
#include <QString>

namespace publish {

class ContentFolder;

/// The text by which a launcher knows whether it has the current set of assets. It records the text
/// when the last file of a set is in place, and looks at no asset while the same text is served.
///
/// A player who is interrupted within an update keeps the old record over a mixture of both sets.
/// So an identity that was served before must not come back with its set: the mixture would pass
/// for whole, for ever. It is the hash of the list, which shows a list that came without its
/// identity, and a random part, which is new each time that another set becomes current.
namespace assetsidentity {

/// The identity of a list that becomes current where `served` was served till now: the same text
/// while the set stays the same, else one that nobody has ever seen.
[[nodiscard]] QString next(const QByteArray& list, const QString& served);

/// Whether the identity was made for this list. A bare hash, as earlier publishers wrote it,
/// counts.
[[nodiscard]] bool belongsTo(const QString& identity, const QByteArray& list);

/// The text that launchers read at the address of a build's identity; empty when there is none.
[[nodiscard]] QString servedAt(const ContentFolder& tree, const QString& address);

/// Finds or writes the identity of a build that is on the disk and becomes current where `served`
/// was served till now. `address` receives where it is; caches keep an address for ever, so another
/// text gets another one. It stays empty when the build has no assets. False with a text when the
/// identity cannot be written.
[[nodiscard]] bool provide(ContentFolder& tree, const QString& buildFolder, const QString& served,
                           QString& address, QString* error);

} // namespace assetsidentity

} // namespace publish
