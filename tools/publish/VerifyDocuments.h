#pragma once

#include "package/OrlPackageDoc.h"

#include <QList>
#include <QString>

#include <optional>

struct LauncherBuild;

namespace publish {

class VerifyRun;

/// What the faults of a build begin with, and what mends them.
struct BuildPlace
{
    QString where;
    QString command;
};

/// Reads the version text and the package document of a build, and adds what is wrong with them to
/// the faults of `run`. Nothing when there is no document to go on with.
[[nodiscard]] std::optional<OrlPackageDoc> readDocument(VerifyRun& run, const LauncherBuild& build,
                                                        const BuildPlace& place);

/// The same with the asset list and its identity; empty when the build has none.
[[nodiscard]] QList<OrlFile> readAssets(VerifyRun& run, const LauncherBuild& build,
                                        const BuildPlace& place);

} // namespace publish
