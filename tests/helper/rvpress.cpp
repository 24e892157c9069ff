// Presses a button of a running program through the accessibility bus, as a screen reader
// or a switch user would: no X server needed, so it works for Wayland clients too.
// rvpress PID "BUTTON NAME" [SECONDS]: exits 0 once an enabled push button of that name in
// the program's tree has done its action, 1 when none did within the time (default 20 s).
// rvpress --list PID: prints "role<TAB>name" for every shown object of the program's tree.
#include "RVAtspiAccessibility.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>
#include <functional>
#include <optional>

namespace {

constexpr uint kStateEnabled = 8; // ATSPI_STATE_ENABLED
constexpr uint kStateShowing = 25; // ATSPI_STATE_SHOWING

struct Node
{
    QString service, path;
};

QDBusMessage call(QDBusConnection& bus, const Node& node, const char* interface, const char* method,
                  const QVariantList& arguments = {})
{
    QDBusMessage message = QDBusMessage::createMethodCall(node.service, node.path, QString::fromLatin1(interface),
                                                          QString::fromLatin1(method));
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, 2000);
}

QString nameOf(QDBusConnection& bus, const Node& node)
{
    const QDBusMessage reply = call(bus, node, "org.freedesktop.DBus.Properties", "Get",
                                    {QStringLiteral("org.a11y.atspi.Accessible"), QStringLiteral("Name")});
    return reply.arguments().isEmpty() ? QString() : reply.arguments().first().value<QDBusVariant>().variant().toString();
}

bool hasStates(QDBusConnection& bus, const Node& node, std::initializer_list<uint> states)
{
    const QDBusMessage reply = call(bus, node, "org.a11y.atspi.Accessible", "GetState");
    if (reply.arguments().isEmpty())
        return false;
    QList<uint> words;
    reply.arguments().first().value<QDBusArgument>() >> words;
    for (const uint state : states) {
        if (words.size() <= int(state / 32) || !(words[int(state / 32)] & (1u << (state % 32))))
            return false;
    }
    return true;
}

QString roleOf(QDBusConnection& bus, const Node& node)
{
    const QDBusMessage role = call(bus, node, "org.a11y.atspi.Accessible", "GetRoleName");
    return role.arguments().isEmpty() ? QString() : role.arguments().first().toString();
}

// Visits the tree depth first until visit answers true; answers that node.
std::optional<Node> walk(QDBusConnection& bus, const Node& node, const std::function<bool(const Node&)>& visit, int depth = 0)
{
    if (visit(node))
        return node;
    if (depth > 30)
        return std::nullopt;
    for (const RVAccessibleElement& child :
         RVAtspiAccessibility::elementsIn(call(bus, node, "org.a11y.atspi.Accessible", "GetChildren"))) {
        if (auto found = walk(bus, {child.busName, child.path}, visit, depth + 1))
            return found;
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc < 3)
        return 64;
    const bool listing = QByteArray(argv[1]) == "--list";
    const pid_t pid = pid_t(QByteArray(argv[listing ? 2 : 1]).toInt());
    const QString name = QString::fromUtf8(argv[2]);
    const int seconds = listing ? 10 : argc > 3 ? QByteArray(argv[3]).toInt() : 20;
    QDBusConnection bus = QDBusConnection::connectToBus(RVAtspiAccessibility::busAddress(), QStringLiteral("rvpress"));
    RVAtspiAccessibility accessibility;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < seconds * 1000) {
        const auto app = accessibility.applicationElement(pid);
        if (app && listing) {
            walk(bus, {app->busName, app->path}, [&](const Node& node) {
                const QString role = roleOf(bus, node);
                if (!role.isEmpty() && hasStates(bus, node, {kStateShowing}))
                    std::printf("%s\t%s\n", qPrintable(role), qPrintable(nameOf(bus, node)));
                return false;
            });
            return 0;
        }
        const auto button = app && bus.isConnected() ? walk(bus, {app->busName, app->path}, [&](const Node& node) {
            return roleOf(bus, node) == u"push button" && nameOf(bus, node) == name &&
                   hasStates(bus, node, {kStateEnabled, kStateShowing});
        }) : std::nullopt;
        if (button) {
            const QDBusMessage done = call(bus, *button, "org.a11y.atspi.Action", "DoAction", {0});
            if (!done.arguments().isEmpty() && done.arguments().first().toBool()) {
                std::printf("pressed %s\n", argv[2]);
                return 0;
            }
        }
        QThread::msleep(100);
    }
    std::fprintf(stderr, "rvpress: no enabled button \"%s\" in %d\n", argv[2], int(pid));
    return 1;
}
