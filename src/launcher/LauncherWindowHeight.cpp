#include "launcher/LauncherWindow.h"

#include <QEvent>
#include <QLayout>

#include <algorithm>

namespace {

// From the inside out: a layout takes the smallest size of what is in it only when it is activated.
// Left to the event loop, each level would take a turn of its own, with the window painted in
// between.
void activateLayouts(const QWidget& widget)
{
    for (QObject* child : widget.children()) {
        const auto* inner = qobject_cast<QWidget*>(child);
        if (inner && !inner->isWindow() && !inner->isHidden())
            activateLayouts(*inner);
    }
    if (widget.layout())
        widget.layout()->activate();
}

} // namespace

bool LauncherWindow::event(QEvent* event)
{
    const bool handled = QMainWindow::event(event);
    if (event->type() == QEvent::LayoutRequest)
        fitHeight();
    return handled;
}

// A window grows with its contents but does not shrink with them; too tall a window would show the
// name on the background under the panels.
void LauncherWindow::fitHeight()
{
    if (!isVisible() || isMaximized() || isFullScreen())
        return;
    const int before = height();
    const int smallest = minimumHeight();
    activateLayouts(*this);
    const int content = std::min(sizeHint().height(), maximumHeight());
    resize(width(), windowHeight.wanted(before, smallest, content));
}
