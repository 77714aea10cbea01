#pragma once

#include <QLabel>

/// A label whose text is one link. For the keyboard it is one stop, at which Return opens the link;
/// a QLabel has two, at the first of which nothing can be done.
class LinkLabel : public QLabel
{
    Q_OBJECT

public:
    using QLabel::QLabel;

protected:
    void focusInEvent(QFocusEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
};
