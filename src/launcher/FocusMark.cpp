#include "launcher/FocusMark.h"

#include <QFocusEvent>
#include <QLabel>
#include <QPalette>
#include <QTextEdit>

namespace {

bool isByKeyboard(Qt::FocusReason reason)
{
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason;
}

} // namespace

FocusMark::FocusMark(QWidget* window)
    : QFocusFrame(window)
{
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, QColor(0x90, 0x90, 0x90));
    setPalette(colours);
    hide();
    for (auto* widget : window->findChildren<QWidget*>()) {
        if (qobject_cast<QTextEdit*>(widget) || qobject_cast<QLabel*>(widget))
            widget->installEventFilter(this);
    }
}

bool FocusMark::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        // When another window gets the focus, the place in this one stays.
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        const bool enters = event->type() == QEvent::FocusIn;
        if (enters && isByKeyboard(reason))
            mark(qobject_cast<QWidget*>(watched));
        else if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            mark(nullptr);
    }
    return QFocusFrame::eventFilter(watched, event);
}

void FocusMark::mark(QWidget* focused)
{
    QWidget* before = widget();
    setWidget(focused);
    // The frame stops watching what it leaves.
    if (before)
        before->installEventFilter(this);
}
