#pragma once

#include <QByteArray>
#include <QString>

struct LauncherBuild;

namespace publish {

class Progress;
class VerifyRun;
struct VerifyOptions;
struct VerifyReport;

/// Reports the metadata's serial and time. If the options have keys, looks whether a launcher that
/// was built with them may use the document: its signature, serial, time and channel. Warns when
/// its time is over soon.
void verifySignature(VerifyRun& run, const QByteArray& metadata, const VerifyOptions& options,
                     Progress& progress, VerifyReport& report);

/// Adds a fault for each address of a current build whose hash the metadata does not state.
void verifyHashesAreStated(VerifyRun& run, const LauncherBuild& build, const QString& where);

} // namespace publish
