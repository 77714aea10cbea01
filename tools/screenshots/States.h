#pragma once

#include <QList>
#include <QString>

#include <functional>

class LauncherWindow;

/// One look of the window: its file name and what brings a new window there. The data folder is
/// that of a player with nothing installed.
struct WindowState
{
    QString name;
    /// What the player's machine holds when the launcher starts.
    std::function<void(const QString& dataFolder)> prepare;
    /// Content server for this state; empty for the one that works.
    QString baseUrl;
    bool licenceAccepted = true;
    std::function<void(LauncherWindow& window)> act;
};

/// Writes the content that the states load into `folder`, for any web server to serve.
void writeContent(const QString& folder);

[[nodiscard]] QList<WindowState> windowStates();
