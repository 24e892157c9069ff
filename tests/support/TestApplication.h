#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <functional>

// A QCoreApplication for one test fixture (queued calls and timers need one).
class TestApplication
{
public:
    TestApplication() : m_application(m_argc, m_argv) {}

private:
    int m_argc = 1;
    char m_name[8] = "test";
    char* m_argv[1] = {m_name};
    QCoreApplication m_application;
};

// Turns the event loop (so that queued calls, timers and the idle queue run) until condition
// holds or the time is up; answers the condition.
inline bool turnLoopUntil(const std::function<bool()>& condition, int milliseconds = 5000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < milliseconds) {
        QTimer::singleShot(20, [] { QCoreApplication::exit(0); });
        QCoreApplication::exec();
    }
    return condition();
}
