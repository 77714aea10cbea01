#pragma once

#include "package/WriteResult.h"

#include <QByteArrayView>
#include <QString>

class QFileDevice;

/// Makes the folder and those above it, where they are missing.
WriteResult makeFolder(const QString& path);

/// Writes all of the bytes to the file, which is open without a buffer.
WriteResult writeAll(QFileDevice& file, QByteArrayView bytes);
