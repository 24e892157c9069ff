#pragma once

// Kept as an empty class: callers name it, nothing in it is needed on this platform.
class RVCompatibility
{
};
