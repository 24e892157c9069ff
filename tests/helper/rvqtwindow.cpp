// A Qt window for accessibility tests, placed as Contents/MacOS/<exe> of a generated bundle:
// two text fields, so that focus can move inside it. Prints "ready" once shown,
// "accessible" once its accessibility bridge is on, and "active" or "inactive" as it gains
// and loses the focus.
#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>

#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Accessible helper"));
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(new QLineEdit(QStringLiteral("first"), &window));
    layout->addWidget(new QLineEdit(QStringLiteral("second"), &window));
    window.show();
    QTimer::singleShot(0, [] {
        std::puts("ready");
        std::fflush(stdout);
    });
    // The bridge comes on after the accessibility bus has been asked whether it is wanted.
    QTimer bridgeWatch;
    QObject::connect(&bridgeWatch, &QTimer::timeout, [&bridgeWatch] {
        if (!QAccessible::isActive())
            return;
        bridgeWatch.stop();
        std::puts("accessible");
        std::fflush(stdout);
    });
    bridgeWatch.start(10);
    QObject::connect(&app, &QGuiApplication::applicationStateChanged, [](Qt::ApplicationState state) {
        std::puts(state == Qt::ApplicationActive ? "active" : "inactive");
        std::fflush(stdout);
    });
    return app.exec();
}
