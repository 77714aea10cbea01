#pragma once

#include <QString>
#include <QStringList>

/// What a client can do that its launcher notices.
namespace clientactions {

/// Asks the launcher to update and start again when this client has ended.
bool requestRestart();

/// Asks the launcher to show its window.
bool requestShow();

/// Ends the process as a crash does.
[[noreturn]] void crash();

/// Carries out a script without a window, one action after another: "show", "restart", "crash",
/// "exit:CODE", "wait:MILLISECONDS", "waitfor:PATH" (until that file exists), "print:BYTES" (to
/// standard output). Returns the exit code; 2 for an action that it does not know.
int runScript(const QStringList& actions);

} // namespace clientactions
