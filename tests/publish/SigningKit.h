#pragma once

#include "publish/MetadataSigner.h"
#include "publish/PublishKit.h"
#include "publish/SecretKey.h"

namespace publish {

/// Makes a pair of keys whose passphrase costs little to try; the public one.
[[nodiscard]] std::optional<minisign::PublicKey>
makeKey(const QString& path, const QByteArray& passphrase, QString* error = nullptr);

/// Opens it again with the passphrase.
[[nodiscard]] std::shared_ptr<const SecretKey>
openKey(const QString& path, const QByteArray& passphrase, QString* error = nullptr);

/// A new key, below the fixture's folder, that signs.
[[nodiscard]] Signing newSigning(const PublishFixture& fixture, const QString& name);

/// Why a launcher with the keys would not take the document that is current in the channel.
[[nodiscard]] QString launchersFault(const PublishFixture& fixture,
                                     const QList<minisign::PublicKey>& keys,
                                     const QString& channel = {});

} // namespace publish
