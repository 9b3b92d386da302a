#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// A text in lines that are no wider, broken between words; `mostLines` at most, the last of them then ends
/// with "…". Words that are wider lose their ends.
std::vector<std::string> textLines(std::string_view text, double fontSize, double width,
                                   std::size_t mostLines);

}  // namespace kelvane
