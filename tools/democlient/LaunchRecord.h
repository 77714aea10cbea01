#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

/// What the client was started with: the launcher's variables (those that are set, also when empty)
/// by name, the working directory and the program's own path.
[[nodiscard]] QList<QPair<QString, QString>> launchFacts();

/// The facts as JSON, one member a line, so that a script can read it either way.
[[nodiscard]] QByteArray launchRecord();

/// Appends the record to the file; false when it cannot be written.
[[nodiscard]] bool appendLaunchRecord(const QString& path);
