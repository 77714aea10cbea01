#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

struct InputFile;

/// A line for each name that Windows cannot hold below a package folder called `directory`, that
/// differs from another in case only, or that the launcher keeps for itself.
[[nodiscard]] QStringList nameFaults(const QList<InputFile>& files, const QString& directory);

/// The name or path in the form in which Windows compares it: two of one form are one file there.
[[nodiscard]] QString comparedName(const QString& name);

/// As nameFaults(), for paths alone.
[[nodiscard]] QStringList pathFaults(const QStringList& paths, const QString& directory);

/// Why `version` cannot be a version text; empty when it can.
[[nodiscard]] QString versionFault(const QString& version);

/// Why `directory` cannot be the name of a package's folder; empty when it can.
[[nodiscard]] QString directoryFault(const QString& directory);

} // namespace publish
