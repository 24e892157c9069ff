#pragma once

#include <optional>

// The desktop's colour-scheme preference, from the settings portal
// (org.freedesktop.appearance color-scheme). True for dark, false for light or no preference;
// empty when no portal answers.
std::optional<bool> desktopPrefersDark();
