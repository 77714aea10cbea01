#pragma once

#include <QString>

/// Copies the files of a newly installed launcher over the program's own folder, hidden files and
/// the installation's own records ("package.json", "assets.json", "assets.json.sha256" at the top)
/// apart. Each file is copied beside its destination and then takes its place, so that whoever ends
/// this at any moment finds every file either old or new. False at the first file that cannot be
/// replaced; `error` then names it.
[[nodiscard]] bool copyProgramFiles(const QString& source, const QString& destination,
                                    QString* error);
