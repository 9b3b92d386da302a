#pragma once

#include <string>

namespace kelvane {

/// Shows a file in a browser: in one of those that the environment's BROWSER names, or else in the desktop's.
/// False where there is none.
bool openInBrowser(const std::string& path);

}  // namespace kelvane
