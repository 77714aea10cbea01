#include "democlient/DemoWindow.h"

#include "democlient/ClientActions.h"
#include "democlient/LaunchRecord.h"

#include <QApplication>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

DemoWindow::DemoWindow()
    : m_status(new QLabel(tr("This program stands in for the game.")))
{
    setWindowTitle(tr("Quelra demo client"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("<h2>Quelra demo client</h2>What the launcher handed over:")));
    layout->addWidget(buildFacts(), 1);
    layout->addLayout(buildButtons());
    layout->addWidget(m_status);
    resize(860, 560);
}

QWidget* DemoWindow::buildFacts()
{
    const auto facts = launchFacts();
    auto* table = new QTableWidget(static_cast<int>(facts.size()), 2);
    table->setHorizontalHeaderLabels({tr("Name"), tr("Value")});
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setAlternatingRowColors(true);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    int row = 0;
    for (const auto& [name, value] : facts) {
        table->setItem(row, 0, new QTableWidgetItem(name));
        table->setItem(row, 1, new QTableWidgetItem(value.isEmpty() ? tr("(empty)") : value));
        ++row;
    }
    table->resizeColumnToContents(0);
    return table;
}

QLayout* DemoWindow::buildButtons()
{
    auto* grid = new QGridLayout;
    const auto add = [this, grid](int row, int column, const QString& text, const char* name,
                                  const auto& action) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1StringView(name));
        connect(button, &QPushButton::clicked, this, action);
        grid->addWidget(button, row, column);
    };
    add(0, 0, tr("&Exit (launcher ends too)"), "exitButton", [] { QApplication::exit(0); });
    add(0, 1, tr("Exit with &code 3"), "failButton", [] { QApplication::exit(3); });
    add(0, 2, tr("C&rash"), "crashButton", [] { clientactions::crash(); });
    add(1, 0, tr("&Ask for a restart and exit"), "restartButton", [this] { askForRestart(); });
    add(1, 1, tr("Show the &launcher"), "showButton", [this] { askForLauncher(); });
    return grid;
}

void DemoWindow::askForRestart()
{
    if (clientactions::requestRestart())
        QApplication::exit(0);
    else
        m_status->setText(tr("There is no launcher to ask."));
}

void DemoWindow::askForLauncher()
{
    m_status->setText(clientactions::requestShow()
                          ? tr("Asked; the launcher looks every half second.")
                          : tr("There is no launcher to ask."));
}
