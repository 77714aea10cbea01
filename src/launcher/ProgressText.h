#pragma once

#include <QString>

/// How much of an installation is done, 0 to 100. Bytes; `total` is above 0.
[[nodiscard]] int percentDone(qint64 bytes, qint64 total);

/// "ETA hh:mm:ss rate kB/s done/total mB"; sizes in bytes, decimal units.
[[nodiscard]] QString etaText(qint64 bytes, qint64 total, qint64 elapsedMs);
