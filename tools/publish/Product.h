#pragma once

#include <QString>

namespace publish {

/// What the builds of one program are kept under: a package by its folder's name, or the launcher
/// itself.
struct Product
{
    bool isLauncher = false;
    QString directory;

    /// Folder of a version, ending in "/".
    [[nodiscard]] QString versionFolder(const QString& version) const;
    /// Name of the folder that players install it into.
    [[nodiscard]] QString installFolder() const;
    /// Folder that holds the versions, ending in "/".
    [[nodiscard]] QString folder() const;
    /// For messages.
    [[nodiscard]] QString label() const;
    bool operator==(const Product&) const = default;
};

} // namespace publish
