#pragma once

#include <QString>

namespace publish {

/// The platform of a build.
struct Platform
{
    QString os;
    QString architecture;

    /// Folder of the build in a version's folder, ending in "/".
    [[nodiscard]] QString folderName() const;
    /// For messages: "windows x86_64".
    [[nodiscard]] QString label() const;
    bool operator==(const Platform&) const = default;
};

} // namespace publish
