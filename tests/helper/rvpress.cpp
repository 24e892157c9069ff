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

std::optional<Node> findButton(QDBusConnection& bus, const Node& node, const QString& name, int depth)
{
    const QDBusMessage role = call(bus, node, "org.a11y.atspi.Accessible", "GetRoleName");
    if (!role.arguments().isEmpty() && role.arguments().first().toString() == u"push button" &&
        nameOf(bus, node) == name && hasStates(bus, node, {kStateEnabled, kStateShowing}))
        return node;
    if (depth > 30)
        return std::nullopt;
    std::vector<Node> nodes;
    for (const RVAccessibleElement& child :
         RVAtspiAccessibility::elementsIn(call(bus, node, "org.a11y.atspi.Accessible", "GetChildren")))
        nodes.push_back({child.busName, child.path});
    for (const Node& child : nodes) {
        if (auto found = findButton(bus, child, name, depth + 1))
            return found;
    }
    return std::nullopt;
}

void list(QDBusConnection& bus, const Node& node, int depth)
{
    const QDBusMessage role = call(bus, node, "org.a11y.atspi.Accessible", "GetRoleName");
    if (!role.arguments().isEmpty() && hasStates(bus, node, {kStateShowing}))
        std::printf("%s\t%s\n", qPrintable(role.arguments().first().toString()), qPrintable(nameOf(bus, node)));
    if (depth > 30)
        return;
    for (const RVAccessibleElement& child :
         RVAtspiAccessibility::elementsIn(call(bus, node, "org.a11y.atspi.Accessible", "GetChildren")))
        list(bus, {child.busName, child.path}, depth + 1);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc < 3)
        return 64;
    if (QByteArray(argv[1]) == "--list") {
        QDBusConnection bus = QDBusConnection::connectToBus(RVAtspiAccessibility::busAddress(), QStringLiteral("rvpress"));
        RVAtspiAccessibility accessibility;
        for (int tries = 0; tries < 100; ++tries) {
            if (const auto app = accessibility.applicationElement(pid_t(QByteArray(argv[2]).toInt()))) {
                list(bus, {app->busName, app->path}, 0);
                return 0;
            }
            QThread::msleep(100);
        }
        return 1;
    }
    const pid_t pid = pid_t(QByteArray(argv[1]).toInt());
    const QString name = QString::fromUtf8(argv[2]);
    const int seconds = argc > 3 ? QByteArray(argv[3]).toInt() : 20;
    QDBusConnection bus = QDBusConnection::connectToBus(RVAtspiAccessibility::busAddress(), QStringLiteral("rvpress"));
    RVAtspiAccessibility accessibility;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < seconds * 1000) {
        if (const auto app = accessibility.applicationElement(pid); app && bus.isConnected()) {
            if (const auto button = findButton(bus, {app->busName, app->path}, name, 0)) {
                const QDBusMessage done = call(bus, *button, "org.a11y.atspi.Action", "DoAction", {0});
                if (!done.arguments().isEmpty() && done.arguments().first().toBool()) {
                    std::printf("pressed %s\n", argv[2]);
                    return 0;
                }
            }
        }
        QThread::msleep(100);
    }
    std::fprintf(stderr, "rvpress: no enabled button \"%s\" in %d\n", argv[2], int(pid));
    return 1;
}
