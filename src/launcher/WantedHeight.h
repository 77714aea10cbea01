#pragma once

/// Decides how tall a window is that follows its contents until the player drags its edge, and
/// follows them again when the player drags it back to its smallest. All heights are pixels.
class WantedHeight
{
public:
    /// The height to ask for, now that the window is `current` pixels tall and its contents need
    /// `content`. `smallest` is the window's least height so far: when its contents grow, the
    /// window takes that height by itself, which is not the player's choice.
    int choose(int current, int smallest, int content);

private:
    // What was asked for last, and before that: an answer of the window system to the earlier
    // request may still be on its way, and is not the player's hand.
    int m_asked = 0;
    int m_askedBefore = 0;
    int m_chosen = 0;
};
