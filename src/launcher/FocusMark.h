#pragma once

#include <QFocusFrame>

/// A frame around what the keyboard has reached in a window, where the widget itself shows nothing:
/// texts and links. Not for what was clicked on.
class FocusMark : public QFocusFrame
{
    Q_OBJECT

public:
    /// For the texts and links that are in the window by now.
    explicit FocusMark(QWidget* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void mark(QWidget* focused);
};
