#pragma once

#include "RVFourCharCode.h"

#include <cstdint>
#include <functional>

// Events about other applications, delivered on the main thread's event loop as (event
// class, kind) pairs: 'appl' 5 launched, 6 ended, 7 another application came to the front;
// 'menu' 2000 menu bar shown, 2001 hidden (the active window left or entered full screen).
class RVApplicationEvents
{
public:
    static constexpr RVOSType kClassApplication = 0x6170706C; // 'appl'
    static constexpr RVOSType kClassMenu = 0x6D656E75;        // 'menu'
    static constexpr std::uint32_t kLaunched = 5;
    static constexpr std::uint32_t kTerminated = 6;
    static constexpr std::uint32_t kFrontSwitched = 7;
    static constexpr std::uint32_t kMenuBarShown = 2000;
    static constexpr std::uint32_t kMenuBarHidden = 2001;

    // Answers a status, as handlers do; the deliverer does not look at it.
    using Handler = std::function<int(RVOSType eventClass, std::uint32_t kind)>;

    virtual ~RVApplicationEvents() = default;
    // Starts delivering launches, ends and front switches; false when they cannot be watched.
    virtual bool watchApplications(Handler handler) = 0;
    // Starts delivering menu bar shown and hidden events; false when they cannot be watched.
    virtual bool watchMenuBar(Handler handler) = 0;
};
