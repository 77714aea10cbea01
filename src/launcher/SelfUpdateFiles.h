#pragma once

#include "package/FileLock.h"
#include "package/OrlPackageDoc.h"
#include "package/TurnFunction.h"

#include <QString>

#include <memory>

/// Where a new launcher is installed before it is copied over the program's own folder; empty
/// without a data folder.
[[nodiscard]] QString selfUpdateFolder(const QString& dataFolder);

/// Keeps other launchers from writing to that folder and from copying out of it, until the lock
/// goes. Null when another one is at work, and with an `error` when no lock can be made at all. On
/// disk from then on: a file of the folder's name with the added ending ".lock".
[[nodiscard]] std::unique_ptr<FileLock> lockSelfUpdate(const QString& folder,
                                                       QString* error = nullptr);

/// The package without the files that copyProgramFiles() leaves out. Whether a launcher is in place
/// already is asked of these only: the others never get there, and would be missed for ever.
[[nodiscard]] OrlPackageDoc copiedPart(const OrlPackageDoc& launcher);

/// Copies the files of a newly installed launcher over the program's own folder, except hidden
/// files and the installation's own records ("package.json", "assets.json", "assets.json.sha256" at
/// the top). Each file is copied beside its destination and then takes its place: when this is
/// ended at any moment, every file is either old or new. The `executable` (a path in `source`)
/// comes last: a launcher of the new version has all its other files. False at the first file that
/// cannot be replaced; `error` then names it, the log says why, and that file and those after it
/// are the old ones.
///
/// On Windows a running program cannot be replaced, only renamed: it is moved aside to a name that
/// ends in ".vornak-old" and a number, and back when the new one cannot take its place. Between the
/// two renames there is no file of that name; the starter (src/starter) and settleProgramFiles()
/// put it back when this was ended just there. A file that another program holds open is tried
/// again for about two seconds, with calls of `turn` meanwhile.
[[nodiscard]] bool copyProgramFiles(const QString& source, const QString& destination,
                                    const QString& executable, QString* error,
                                    const TurnFunction& turn = {});

/// Clears the program's folder of what an earlier copyProgramFiles() from `source` left behind
/// (an empty `source` names none; nothing is done while another launcher has the lock): puts back
/// files that are still aside with nothing in their place, and deletes other files aside and
/// half-made copies. What another launcher still runs from is left for the next start.
void settleProgramFiles(const QString& source, const QString& destination);
