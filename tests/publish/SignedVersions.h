#pragma once

#include "publish/FourVersions.h"
#include "publish/MetadataSigner.h"

namespace publish {

/// Four versions whose metadata is signed from here on.
class SignedVersions : public FourVersions
{
public:
    /// Makes the key; false when that fails. What is served stays unsigned until something is
    /// written.
    [[nodiscard]] bool startSigning();

    // Each gives the faults.
    [[nodiscard]] QStringList sign();
    [[nodiscard]] QStringList switchTo(const QString& version, const QString& channel = {});

    /// The document that is current in the channel.
    [[nodiscard]] QByteArray current(const QString& channel = {}) const;
    /// Its serial number.
    [[nodiscard]] qint64 serial(const QString& channel = {}) const;
    /// Why a launcher with the keys would not take it.
    [[nodiscard]] QString launchersFault(const QString& channel = {}) const;

    Signing signing;
    QList<minisign::PublicKey> keys;
};

} // namespace publish
