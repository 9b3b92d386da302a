#pragma once

#include <string>

namespace kelvane {

/// The rules for diagrams, which follow those of the theme.
std::string diagramStyles();

}  // namespace kelvane
