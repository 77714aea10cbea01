#pragma once

#include "launcher/WantedHeight.h"

class LauncherPage;
class LicencePage;
class QMainWindow;

/// Keeps the window as tall as what it shows, and on its screen. A window grows with its contents
/// but does not shrink with them; too tall a window would show the name on the background under the
/// panels. On a low screen the hint, the logo's place and the licence give way.
class HeightFitter
{
public:
    /// All three outlive the object.
    HeightFitter(QMainWindow& window, LauncherPage& page, LicencePage& licence);

    /// Gives the window its height, in one step; does nothing while it is hidden or maximized. To
    /// be called after each change of what the window shows, and after a LayoutRequest.
    void fit();

    /// The logo's label has its full size now.
    void logoChanged();

private:
    [[nodiscard]] int roomForHeight() const;
    bool squeezeInto(int room);
    void keepOnScreen();

    QMainWindow& m_window;
    LauncherPage& m_page;
    LicencePage& m_licence;
    WantedHeight m_wantedHeight;
    // Of the logo as it is, in pixels; on a low screen its label has less.
    int m_logoHeight = 0;
};
