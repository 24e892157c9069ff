#pragma once

#include "RVApplicationEvents.h"
#include "RVProcessTable.h"

#include <QObject>

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

class QTimer;
class RVX11ActiveWindowWatcher;

// Application events on the main thread's event loop. Launches and ends come from a pass
// over /proc every quarter second (the kernel's process-event connector needs privileges);
// front switches and full-screen changes from the window manager's active window.
class RVLinuxApplicationEvents : public QObject, public RVApplicationEvents
{
    Q_OBJECT
public:
    explicit RVLinuxApplicationEvents(std::shared_ptr<RVProcessTable> table, QString procRoot = QStringLiteral("/proc"));
    ~RVLinuxApplicationEvents() override;

    bool watchApplications(Handler handler) override;
    bool watchMenuBar(Handler handler) override;

    // One pass over the process table (the timer's work; tests call it to be exact).
    void comparePass();

private:
    // Runs on the application's thread; false when there is no application object.
    bool onMainThread(const std::function<void()>& work);
    void startWatchingWindows();
    void deliver(const Handler& handler, RVOSType eventClass, std::uint32_t kind);
    // The executable and arguments of pid: they change when it execs.
    QByteArray whatRuns(pid_t pid) const;

    std::shared_ptr<RVProcessTable> m_table;
    const QString m_procRoot;
    std::mutex m_mutex; // the handlers, set from any thread
    Handler m_applications;
    Handler m_menuBar;
    // Main thread only:
    QTimer* m_timer = nullptr;
    RVX11ActiveWindowWatcher* m_windows = nullptr;
    bool m_baseline = false;
    std::map<pid_t, RVSerialNumber> m_applicationsRunning;
    // Processes that are no application, by what they run: one that execs may become one,
    // however late.
    std::map<pid_t, QByteArray> m_others;
};
