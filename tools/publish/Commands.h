#pragma once

#include <QStringList>

/// The program's commands. Each takes the arguments from its own name on and returns the exit code.
namespace publish::commands {

int package(const QStringList& arguments);
int launcher(const QStringList& arguments);
int sign(const QStringList& arguments);
int key(const QStringList& arguments);
int hints(const QStringList& arguments);
int list(const QStringList& arguments);
int switchTo(const QStringList& arguments);
int verify(const QStringList& arguments);
int remove(const QStringList& arguments);
int prune(const QStringList& arguments);

} // namespace publish::commands
