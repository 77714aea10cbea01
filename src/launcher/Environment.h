#pragma once

#include <QString>

/// Base address of the content server: VORNAK_CDN_URL when it is set and not empty, else the
/// built-in one. Not checked or normalised.
[[nodiscard]] QString cdnBaseUrl();

/// Path of the file that tells the client where the launcher is. Its folder is created.
[[nodiscard]] QString launcherPathFile();

/// Where packages, request files and the saved metadata lie. Created when missing. Needs the
/// application's and its organisation's names.
[[nodiscard]] QString dataFolder();

/// With VORNAK_AUTOPLAY at "1", starts the locally built client that the JSON file named by
/// VORNAK_DEV_JSON describes and waits for its end, without an event loop. True when it ran and did
/// not crash, whatever its exit code: the launcher has nothing more to do.
[[nodiscard]] bool tryDevAutoplay();
