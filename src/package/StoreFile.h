#pragma once

#include "package/OrlPackageDoc.h"
#include "package/TurnFunction.h"

#include <QByteArray>
#include <QString>

class FileReplacement;
class VerifiedFiles;

enum class StoreResult {
    Stored,
    /// `turn` stopped the work.
    Cancelled,
    PackedHashDiffers,
    UnpackingFailed,
    UnpackedDiffers,
    WritingFailed,
};

/// Whether `path` is a file with the size and SHA-256 that `file` names. Reads it whole, in slices,
/// unless `verified` knows it. False also when `turn` stopped the work.
[[nodiscard]] bool isInstalledAt(const QString& path, const OrlFile& file, VerifiedFiles& verified,
                                 const TurnFunction& turn = {});

/// Checks a downloaded body, unpacks it, checks the result and puts it in the place of the target,
/// making the folders on the way. The file is replaced atomically and only after every check: on
/// any result but Stored the old file, if there is one, is untouched and nothing else is left
/// behind (new folders apart).
[[nodiscard]] StoreResult storeFile(const OrlFile& file, const QByteArray& body,
                                    FileReplacement& target, const TurnFunction& turn = {});
