#pragma once

#include "package/OrlPackageDoc.h"
#include "package/TurnFunction.h"

#include <QString>

class VerifiedFiles;

/// Whether `path` is a file with the size and SHA-256 that `file` names. Reads it whole, in slices,
/// unless `verified` knows it. False also when `turn` stopped the work.
[[nodiscard]] bool isInstalledAt(const QString& path, const OrlFile& file, VerifiedFiles& verified,
                                 const TurnFunction& turn = {});
