#include "RVLinuxApplicationEvents.h"

#include "RVProcTable.h"
#include "RVX11ActiveWindowWatcher.h"

#include <QCoreApplication>
#include <QFile>
#include <QThread>
#include <QTimer>

#include <unistd.h>

namespace {

constexpr int kPassIntervalMs = 250;

} // namespace

RVLinuxApplicationEvents::RVLinuxApplicationEvents(std::shared_ptr<RVProcessTable> table, QString procRoot)
    : m_table(std::move(table)), m_procRoot(std::move(procRoot))
{
}

RVLinuxApplicationEvents::~RVLinuxApplicationEvents() = default;

bool RVLinuxApplicationEvents::onMainThread(const std::function<void()>& work)
{
    QCoreApplication* application = QCoreApplication::instance();
    if (!application)
        return false;
    if (thread() != application->thread())
        moveToThread(application->thread());
    if (QThread::currentThread() == application->thread())
        work();
    else
        QMetaObject::invokeMethod(this, work, Qt::QueuedConnection);
    return true;
}

bool RVLinuxApplicationEvents::watchApplications(Handler handler)
{
    {
        const std::lock_guard lock(m_mutex);
        m_applications = std::move(handler);
    }
    return onMainThread([this] {
        if (!m_timer) {
            m_timer = new QTimer(this);
            connect(m_timer, &QTimer::timeout, this, &RVLinuxApplicationEvents::comparePass);
            m_timer->start(kPassIntervalMs);
            comparePass(); // the baseline: what runs now was not launched now
        }
        startWatchingWindows();
    });
}

bool RVLinuxApplicationEvents::watchMenuBar(Handler handler)
{
    {
        const std::lock_guard lock(m_mutex);
        m_menuBar = std::move(handler);
    }
    return onMainThread([this] { startWatchingWindows(); });
}

void RVLinuxApplicationEvents::startWatchingWindows()
{
    if (m_windows)
        return;
    m_windows = new RVX11ActiveWindowWatcher(this);
    connect(m_windows, &RVX11ActiveWindowWatcher::frontProcessChanged, this, [this] {
        deliver(m_applications, kClassApplication, kFrontSwitched);
    });
    connect(m_windows, &RVX11ActiveWindowWatcher::fullScreenChanged, this, [this](bool fullScreen) {
        deliver(m_menuBar, kClassMenu, fullScreen ? kMenuBarHidden : kMenuBarShown);
    });
    m_windows->start();
}

void RVLinuxApplicationEvents::deliver(const Handler& handler, RVOSType eventClass, std::uint32_t kind)
{
    Handler target;
    {
        const std::lock_guard lock(m_mutex);
        target = handler;
    }
    if (target)
        target(eventClass, kind);
}

void RVLinuxApplicationEvents::comparePass()
{
    const std::vector<pid_t> listing = RVProcTable::listPids(m_procRoot);
    const std::set<pid_t> now(listing.begin(), listing.end());
    std::vector<std::uint32_t> events;

    for (auto it = m_applicationsRunning.begin(); it != m_applicationsRunning.end();) {
        // Gone, or the pid now names another process.
        if (!now.count(it->first) || !m_table->pidOfProcess(it->second)) {
            events.push_back(kTerminated);
            it = m_applicationsRunning.erase(it);
        } else {
            ++it;
        }
    }
    std::map<pid_t, QByteArray> others;
    for (const pid_t pid : listing) {
        if (m_applicationsRunning.count(pid))
            continue;
        // An exec changes what the process runs; only then is it worth a closer look.
        QByteArray running = whatRuns(pid);
        const auto known = m_others.find(pid);
        if (known == m_others.end() || known->second != running) {
            if (const auto psn = m_table->processForPID(pid)) {
                m_applicationsRunning[pid] = *psn;
                if (m_baseline)
                    events.push_back(kLaunched);
                continue;
            }
        }
        others.emplace(pid, std::move(running));
    }
    m_others = std::move(others);
    m_baseline = true;
    for (const std::uint32_t kind : events)
        deliver(m_applications, kClassApplication, kind);
}

QByteArray RVLinuxApplicationEvents::whatRuns(pid_t pid) const
{
    const QByteArray folder = QFile::encodeName(m_procRoot) + '/' + QByteArray::number(pid);
    char target[4096];
    const ssize_t length = ::readlink((folder + "/exe").constData(), target, sizeof target);
    QByteArray running(target, length > 0 ? qsizetype(length) : 0);
    // An interpreter that execs itself with another script keeps its executable.
    QFile arguments(QString::fromLocal8Bit(folder + "/cmdline"));
    if (arguments.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        running += '\0' + arguments.read(4096);
    return running;
}
