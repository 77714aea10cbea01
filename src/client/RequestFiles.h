#pragma once

#include <QString>

/// The files through which the running client asks something of the launcher. Only their existence
/// counts; whoever serves a request takes it by deleting the file.
struct RequestFiles
{
    /// The launcher runs its update flow again when the client has ended.
    QString restart;
    /// The launcher shows its window while the client runs.
    QString show;
    /// The client's own; the launcher only removes a stale one.
    QString ssoSwitch;

    /// The three paths, directly in the launcher's data folder.
    [[nodiscard]] static RequestFiles in(const QString& dataFolder);

    /// Deletes all three, so that no request of an earlier run is served.
    void removeAll() const;
};

/// Deletes the file; true when there was one, which means that the request stands.
bool takeRequest(const QString& path);
