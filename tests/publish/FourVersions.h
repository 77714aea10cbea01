#pragma once

#include "publish/PublishKit.h"

namespace publish {

/// A content with the versions "1" to "4" of the package "Quelra", of which "4" is current.
class FourVersions : public PublishFixture
{
public:
    /// The faults of publishing them.
    [[nodiscard]] QStringList fill();

    /// A program, a file that only this version has, and one that it shares with each neighbour.
    [[nodiscard]] static Files filesOf(int version);

    [[nodiscard]] QStringList publishLauncher(const QString& version);
    /// Everything that is current, read as a launcher would.
    [[nodiscard]] QStringList verify();
    /// The version of the package that is current.
    [[nodiscard]] QString currentVersion() const;
};

} // namespace publish
