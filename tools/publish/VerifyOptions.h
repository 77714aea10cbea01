#pragma once

#include "package/Minisign.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QString>

#include <optional>

namespace publish {

/// What to verify, and how thoroughly.
struct VerifyOptions
{
    /// Packed files and pictures need only be there and have the right sizes. Documents are read.
    bool quick = false;
    /// What is not current, too.
    bool all = false;
    /// Only this version; empty for what is current.
    QString version = {};
    /// The channel that is read from, for the commands in faults.
    QString channel = {};
    /// Narrow `version` to one product or platform.
    std::optional<Product> product = {};
    std::optional<Platform> platform = {};
    /// Those of launchers that take signed metadata only; without any, none is asked for.
    QList<minisign::PublicKey> keys = {};
};

} // namespace publish
