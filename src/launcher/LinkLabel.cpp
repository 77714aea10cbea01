#include "launcher/LinkLabel.h"

#include <QKeyEvent>

void LinkLabel::focusInEvent(QFocusEvent* event)
{
    QLabel::focusInEvent(event);
    // On to the link.
    QLabel::focusNextPrevChild(true);
}

bool LinkLabel::focusNextPrevChild(bool next)
{
    // QLabel's own would go back to its one link for ever.
    return QWidget::focusNextPrevChild(next); // NOLINT(bugprone-parent-virtual-call)
}

void LinkLabel::keyPressEvent(QKeyEvent* event)
{
    QLabel::keyPressEvent(event);
    // The window would take it for its main button.
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        event->accept();
}
