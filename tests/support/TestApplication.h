#pragma once

#include <QCoreApplication>

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
