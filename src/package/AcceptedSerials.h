#pragma once

#include "package/WriteResult.h"

#include <QString>

/// The highest serial number of signed metadata that was accepted from each address, in the file
/// "accepted-serials.json" of the data folder: a JSON object with one number for each address.
namespace acceptedserials {

[[nodiscard]] QString filePath(const QString& dataFolder);

/// 0 when none is known, or when the file cannot be read.
[[nodiscard]] qint64 highest(const QString& dataFolder, const QString& address);

/// Notes the serial when it is higher than the one that is known; else writes nothing. On disk
/// afterwards: the old file or the new one, whole.
WriteResult note(const QString& dataFolder, const QString& address, qint64 serial);

} // namespace acceptedserials
