#pragma once

#include <QString>

/// Where the launcher's messages are also kept, in the user's cache folder; the file before it lies
/// beside it as "launcher.1.log". Needs the application's and its organisation's names. Empty
/// when there is no such folder.
[[nodiscard]] QString logFilePath();

/// From now on writes every message of the program to the file too, with the time, after a line
/// with the launcher's version and the system's. What goes to standard error stays as it is. When a
/// file has reached its largest size it becomes the one before. If the
/// file cannot be written, the program goes on without it.
void startLogFile(const QString& path);

/// `text` without what may give a player away or let others in: the query, the fragment and the
/// user of an address, and `secret` (the code that the game is started with; none when empty).
[[nodiscard]] QString withoutSecrets(const QString& text, const QString& secret);
