#pragma once

#include <string>
#include <string_view>

namespace kelvane {

/// A text as XML and HTML show it, in elements and in attributes with double quotes: `<` and the like are
/// escaped, and so are control characters, which both forbid, and bytes that are no UTF-8.
std::string markupText(std::string_view text);

/// A length or coordinate of a picture, with two decimals at most: "12.5".
std::string pictureNumber(double number);

/// How wide a text of one line is in the pictures' font, in the units of its size.
double textWidth(std::string_view text, double fontSize);

/// The text with its end replaced by "…" where it is wider.
std::string fittingText(std::string_view text, double fontSize, double mostWidth);

}  // namespace kelvane
