#pragma once

#include <QString>
#include <QStringView>

/// Rules by which a path that the server names is judged. The names of the other platform are here
/// too so that both sets can be tested anywhere.
enum class PathRules {
    Posix,
    Windows,
#ifdef Q_OS_WIN
    Native = Windows
#else
    Native = Posix
#endif
};

/// Whether `relative` names something strictly below the folder that it is joined to. False for an
/// empty or absolute path, for any ".." segment (also one that would lead back inside: a folder on
/// the way may be a link), for a path of "." segments only and for an embedded NUL. By the Windows
/// rules also for a drive or stream (":"), a back slash, a device name such as "NUL" or "com1.txt",
/// the characters that Windows forbids, and a segment that ends in a dot or a blank, which Windows
/// would silently strip.
bool staysBelowFolder(const QString& relative, PathRules rules = PathRules::Native);

/// The characters that Windows allows in no name: control characters, and those of its own syntax.
bool isForbiddenOnWindows(QChar character);

/// Whether Windows would silently strip the end of the name: a dot or a blank.
bool losesItsEndOnWindows(QStringView name);

/// Whether `relative`, which stays below its folder, is one of the files in which an installation
/// is recorded there (see Markers.h), or lies below one. By the Windows rules without regard to
/// case.
bool namesMarker(const QString& relative, PathRules rules = PathRules::Native);

/// The path of `relative` in `folder`; empty when `folder` is empty or `relative` would leave it.
/// Every path that comes from the server and is read, written, made executable or started goes
/// through here. Touches no disk.
QString pathBelowFolder(const QString& folder, const QString& relative);

/// As pathBelowFolder(), for a file that a package lists: empty also for one that would take the
/// place of a record of the installation.
QString pathOfListedFile(const QString& folder, const QString& relative);
