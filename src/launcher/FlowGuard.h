#pragma once

#include "launcher/LauncherWindow.h"
#include "package/PackageClient.h"

/// Counts a flow operation for as long as it is on the stack. Nested event loops deliver clicks to
/// a flow that is already under way; they must find it so. The last such click is served when the
/// outermost operation has ended.
class LauncherWindow::FlowGuard
{
public:
    explicit FlowGuard(LauncherWindow& window)
        : m_window(window)
    {
        ++m_window.flowDepth;
    }
    ~FlowGuard()
    {
        if (--m_window.flowDepth == 0 && m_window.takeWaitingClick() &&
            !m_window.packageClient->isQuitting())
            QMetaObject::invokeMethod(&m_window, &LauncherWindow::onMainButtonClicked,
                                      Qt::QueuedConnection);
    }
    Q_DISABLE_COPY_MOVE(FlowGuard)

private:
    LauncherWindow& m_window;
};
