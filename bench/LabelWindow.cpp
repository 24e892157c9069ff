// A second reference for the start-up benchmark: the minimal window with one line of text,
// which is what loading fonts and shaping text alone costs.
#include <QApplication>
#include <QLabel>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QLabel window(QStringLiteral("Velmora Demo 1.0"));
    window.setWindowTitle(QStringLiteral("Label Window"));
    window.resize(580, 380);
    window.show();
    return application.exec();
}
