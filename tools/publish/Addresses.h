#pragma once

#include <QString>

/// Where things lie on the server. Every address is plain ASCII without '%', '#' and '?', because
/// the launcher decodes and parses again what it moves to its own base address.

namespace publish::addresses {

inline constexpr QLatin1StringView metadata("/launcher/quelrametadata.json");
inline constexpr QLatin1StringView hints("/hints.json");
inline constexpr QLatin1StringView images("/images/");
inline constexpr QLatin1StringView packedFiles("/launcher/files/");
inline constexpr QLatin1StringView packages("/launcher/packages/");
inline constexpr QLatin1StringView ownBuilds("/launcher/self/");
inline constexpr QLatin1StringView signatures("/launcher/signatures/");

// Files in the folder of a version's build.
inline constexpr QLatin1StringView packageDocument("package.json");
inline constexpr QLatin1StringView versionText("version.txt");
inline constexpr QLatin1StringView assetList("assets.json");
inline constexpr QLatin1StringView assetsIdentity("assets.txt");

/// A text as one segment of an address: as it stands when it is a plain name, else with other
/// characters replaced and a part of its hash behind "~", so that two texts never share a segment.
[[nodiscard]] QString segment(const QString& text);

/// The packed file with the given hash. The folder between keeps single folders small.
[[nodiscard]] QString packedFile(const QString& packedhash);

/// `address` as a document in the folder `from` (which ends in "/") names it.
[[nodiscard]] QString relativeTo(const QString& address, const QString& from);

/// The part of an address, absolute or not, from "/launcher/" on, as the launcher takes it from the
/// server; empty when the address has none.
[[nodiscard]] QString onServer(const QString& address);

/// The folder of the file at the address, ending in "/"; empty for an empty address.
[[nodiscard]] QString folderOf(const QString& address);

/// What stands before "/launcher/" in an absolute address; empty when nothing does.
[[nodiscard]] QString prefixOf(const QString& address);

/// Why `url` cannot stand before the addresses of the documents; empty when it can.
[[nodiscard]] QString publicUrlFault(const QString& url);

} // namespace publish::addresses
