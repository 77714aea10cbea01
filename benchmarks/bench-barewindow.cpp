// What Qt itself needs to show a window of the launcher's size and style: the same widget style,
// palette and window style sheet (with its background picture), and one line of text, so that
// fonts are found and loaded. With the argument "empty" none of that but the widget style.

#include "launcher/DuskPalette.h"
#include "launcher/StyleSheet.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QStyleFactory>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    if (QStyle* style = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(style);
    QMainWindow window;
    window.setFixedSize(800, 600);
    if (QCoreApplication::arguments().contains(QStringLiteral("empty"))) {
        window.setCentralWidget(new QWidget(&window));
    } else {
        QApplication::setPalette(duskPalette());
        window.setStyleSheet(loadStyleSheet("window.qss"));
        window.setCentralWidget(new QLabel(QStringLiteral("Vornak"), &window));
    }
    window.show();
    return QApplication::exec();
}
