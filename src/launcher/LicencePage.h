#pragma once

#include <QWidget>

class QPushButton;
class QTextEdit;

/// The page with the licence agreement and the button that accepts it.
class LicencePage : public QWidget
{
public:
    /// Pixels, on a screen that has room for them.
    static constexpr int licenceHeight = 330;

    /// `licence` is Markdown.
    LicencePage(const QString& licence, QWidget* parent);

    // The page's own, for the window to react to.
    QTextEdit* eulaEdit;
    QPushButton* acceptButton;
};
