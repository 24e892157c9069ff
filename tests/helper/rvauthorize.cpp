// Runs a tool through the pkexec authorization, as the installer does, and prints the
// outcome, so that tests can do it as another user without a terminal.
// rvauthorize PKEXEC TOOL [ARGUMENT...]; prints "<kind> <exited> <status> <started>".
#include "RVPkexecAuthorization.h"

#include <cstdio>

int main(int argc, char* argv[])
{
    if (argc < 3)
        return 64;
    QStringList arguments;
    for (int i = 3; i < argc; ++i)
        arguments << QString::fromUtf8(argv[i]);
    bool started = false;
    const auto outcome = RVPkexecAuthorization(QString::fromUtf8(argv[1]))
                             .executeWithPrivileges(QString::fromUtf8(argv[2]), arguments, [&] { started = true; });
    std::printf("%d %d %d %d\n", int(outcome.kind), int(outcome.exited), outcome.status, int(started));
    return 0;
}
