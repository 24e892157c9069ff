#pragma once

#include <optional>
#include <string>
#include <vector>

// The names in an open folder, "." and ".." left out; empty (errno set) when it cannot be
// listed to the end.
std::optional<std::vector<std::string>> RVNamesIn(int folder);
