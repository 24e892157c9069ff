#pragma once

#include <functional>

// SIGTERM (and SIGINT, SIGHUP) as a request to quit, delivered on the thread that installs
// the handler through its event loop, never the default end in the middle of a copy.
// Needs the application object.
namespace RVTerminationSignal {
void install(std::function<void()> handler);
}
