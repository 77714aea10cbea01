#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

/// Shows what the client was given and has a button for each thing that a client can do to its
/// launcher.
class DemoWindow : public QWidget
{
    Q_OBJECT

public:
    DemoWindow();

private:
    [[nodiscard]] QWidget* buildFacts();
    [[nodiscard]] QLayout* buildButtons();
    void askForRestart();
    void askForLauncher();

    QLabel* m_status;
};
