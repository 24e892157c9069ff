#pragma once

#include <string>
#include <vector>

// Where the one file unpacks its product: a fresh folder of mode 0700 on a file system
// that lets programs run.
namespace RVPrivateFolder {

// The places to try, in order: $XDG_RUNTIME_DIR, /tmp, then a folder of our own in the
// user's cache folder ($XDG_CACHE_HOME, else ~/.cache).
std::vector<std::string> candidates();

// A new folder "velmora-XXXXXX" holding an "AppTranslocation" folder, in the first
// candidate where one can be made and a program in it may be run (tried on a file there:
// a file system mounted noexec says no). Empty when there is none.
std::string make(const std::vector<std::string>& places);

// Removes folder and everything in it, never following a link.
void remove(const std::string& folder);

} // namespace RVPrivateFolder
