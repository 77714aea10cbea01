// A window of the launcher's size and style with nothing in it: what Qt itself needs to show one.

#include <QApplication>
#include <QMainWindow>
#include <QStyleFactory>

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    if (QStyle* style = QStyleFactory::create(QStringLiteral("Fusion")))
        QApplication::setStyle(style);
    QMainWindow window;
    window.setCentralWidget(new QWidget(&window));
    window.setFixedSize(800, 600);
    window.show();
    return QApplication::exec();
}
