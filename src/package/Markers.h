#pragma once

#include "package/WriteResult.h"

#include <QLatin1String>
#include <QString>

/// Names of the small files that record what is installed in a package folder.
namespace markers {

inline constexpr QLatin1StringView partialVersion("partial.package.json.version");
inline constexpr QLatin1StringView packageDocument("package.json");
inline constexpr QLatin1StringView packageVersion("package.json.version");
inline constexpr QLatin1StringView assetsIdentity("assets.json.sha256");

} // namespace markers

/// The file's whole content as UTF-8 without white space at its ends; empty when it cannot be
/// opened.
QString readTrimmedText(const QString& path);

/// Replaces the file's content by `text` as UTF-8, without a line end. One that could not be
/// written may be empty, which reads as "not installed".
WriteResult writeMarker(const QString& path, const QString& text);
