#pragma once

#include <QString>
#include <QUrl>

/// Whether an address is one of the web ("http" or "https"): the only kind that a text of the
/// server may have opened outside the launcher.
[[nodiscard]] bool isWebAddress(const QUrl& address);

/// The part of a path from "/launcher/" on: what a launcher takes from its own server, wherever a
/// document says that it lies. Empty when the path has no such part.
[[nodiscard]] QString launcherPart(const QString& path);

/// Whether an address would be read as a file of another machine: one of the scheme "file", or of
/// none, with a host other than "localhost" or with a path that begins with two slashes or back
/// slashes. Windows connects to that machine and proves the player's identity to it, which no
/// server's text may bring about.
[[nodiscard]] bool leadsToAnotherMachine(const QUrl& address);
