#pragma once

#include "launcher/LauncherWindow.h"

/// Counts a flow operation for as long as it is on the stack. Nested event loops deliver clicks to
/// a flow that is already under way; they must find it so.
class LauncherWindow::FlowGuard
{
public:
    explicit FlowGuard(LauncherWindow& window)
        : m_depth(window.flowDepth)
    {
        ++m_depth;
    }
    ~FlowGuard() { --m_depth; }
    Q_DISABLE_COPY_MOVE(FlowGuard)

private:
    int& m_depth;
};
