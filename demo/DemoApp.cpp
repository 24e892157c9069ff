// Velmora Demo: the small product that `make demo` installs. It shows that it runs.
#include <QApplication>
#include <QLabel>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QLabel window(QStringLiteral("<h2>Velmora Demo</h2><p>The demo product is running.</p>"));
    window.setWindowTitle(QStringLiteral("Velmora Demo"));
    window.setMargin(40);
    window.show();
    return application.exec();
}
