#pragma once

#include "package/TurnFunction.h"

#include <QByteArray>
#include <QString>

/// Makes `bytes` the whole content of `path`, atomically: whoever looks, or looks again after this
/// was killed, finds the old file or the new one. On failure, also when `turn` stopped the work,
/// the old file is untouched and nothing else is left behind. The folder must exist.
///
/// On Windows a file that another program holds open cannot be replaced; it is then tried again for
/// about two seconds (see tryWhileHeld()).
[[nodiscard]] bool replaceFile(const QString& path, const QByteArray& bytes,
                               const TurnFunction& turn = {});

/// What is told of a file or folder that could not be made or replaced.
[[nodiscard]] QString unwritableText(const QString& path);
