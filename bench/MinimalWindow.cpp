// The reference for the start-up benchmark: a Qt Widgets program that shows one window.
#include <QApplication>
#include <QWidget>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Minimal Window"));
    window.resize(580, 380);
    window.show();
    return application.exec();
}
