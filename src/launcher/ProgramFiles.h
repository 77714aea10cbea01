#pragma once

#include "package/TurnFunction.h"

#include <QString>

/// Where a new launcher is installed before it is copied over the program's own folder; empty
/// without a data folder.
[[nodiscard]] QString selfUpdateFolder(const QString& dataFolder);

/// Copies the files of a newly installed launcher over the program's own folder, hidden files and
/// the installation's own records ("package.json", "assets.json", "assets.json.sha256" at the top)
/// apart. Each file is copied beside its destination and then takes its place, so that whoever ends
/// this at any moment finds every file either old or new. The `executable` (a path in `source`)
/// comes last: a launcher of the new version has all its other files. False at the first file that
/// cannot be replaced; `error` then names it, and that file and those after it are the old ones.
///
/// On Windows a running program cannot be replaced, only renamed: it is moved aside to a name that
/// ends in ".vornak-old" and a number, and back when the new one cannot take its place. Between the
/// two renames there is no file of that name; the starter (src/starter) and settleProgramFiles()
/// put it back when this was ended just there. A file that another program holds open is tried
/// again for about two seconds, with calls of `turn` meanwhile.
[[nodiscard]] bool copyProgramFiles(const QString& source, const QString& destination,
                                    const QString& executable, QString* error,
                                    const TurnFunction& turn = {});

/// Clears up in the program's folder what an earlier copyProgramFiles() from `source` left behind
/// (an empty `source` names none): puts back files that are still aside with nothing in their
/// place, and deletes other files aside and half-made copies. What another launcher still runs from
/// is left for the next start.
void settleProgramFiles(const QString& source, const QString& destination);
