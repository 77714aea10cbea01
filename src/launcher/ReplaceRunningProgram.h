#pragma once

#include "package/TurnFunction.h"
#include "package/WriteResult.h"

#include <QString>

/// Renames `fresh` to `destination`, replacing the file there, which may be this very program. On
/// failure both are as they were.
WriteResult replaceRunningProgram(const QString& fresh, const QString& destination,
                                  const TurnFunction& turn);
