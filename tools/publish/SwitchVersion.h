#pragma once

#include "publish/MetadataSigner.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace publish {

/// Which version to make current, of what.
struct SwitchRequest
{
    QString content;
    /// Nothing: the only package that there is.
    std::optional<Product> product;
    /// Nothing: all platforms, or the only one that has the version.
    std::optional<Platform> platform;
    QString version;
    /// The channel whose players get the version; empty for those in none.
    QString channel = {};
    Signing signing = {};
    /// Only writes what has to be signed (see PendingMetadata.h), where there is no signer.
    bool stage = false;
};

/// Points the metadata at a version that was published before and is still there, in one step.
/// Other things in the metadata stay, and so does the version's place in the order of publication.
/// Nothing changes when the version's documents or packed files are not all there with their sizes,
/// or when it has a file where the present one has a folder, or the reverse. Where the metadata is
/// signed and there is no signer, the document becomes current that waits for it, if it is signed
/// and names the version. Returns the faults.
[[nodiscard]] QStringList switchVersion(const SwitchRequest& request);

} // namespace publish
