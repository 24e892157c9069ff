#include "BusyProgressAccessible.h"

#include <QAccessibleWidget>
#include <QProgressBar>

namespace {

bool withoutRange(const QProgressBar* bar)
{
    return bar->minimum() == bar->maximum();
}

class Interface : public QAccessibleWidget
{
public:
    explicit Interface(QProgressBar* bar) : QAccessibleWidget(bar, QAccessible::ProgressBar) {}

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.busy = widget()->isVisible();
        return state;
    }
};

QAccessibleInterface* interfaceFor(const QString& className, QObject* object)
{
    // A bar with a range keeps Qt's interface, which tells its value.
    auto* bar = className == u"QProgressBar" ? qobject_cast<QProgressBar*>(object) : nullptr;
    return bar && withoutRange(bar) ? new Interface(bar) : nullptr;
}

} // namespace

void BusyProgressAccessible::install()
{
    static const bool installed = [] {
        QAccessible::installFactory(interfaceFor);
        return true;
    }();
    Q_UNUSED(installed);
}

void BusyProgressAccessible::notifyBusyChanged(QProgressBar* bar)
{
    QAccessible::State changed;
    changed.busy = true;
    QAccessibleStateChangeEvent event(bar, changed);
    QAccessible::updateAccessibility(&event);
}
