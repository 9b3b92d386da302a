#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KelvaneSDK {

/// A part of a text.
struct TextSpan {
    std::size_t begin = 0, end = 0;

    std::string_view in(std::string_view text) const { return text.substr(begin, end - begin); }
};

/// A part of a text that is replaced.
struct Replacement {
    TextSpan span;
    std::string text;
};

/// The text with the replacements made, which do not overlap. Those at one place are made in their order.
std::string replaced(std::string_view text, std::vector<Replacement> replacements);

/// An item of a list as it shall be: an old one, which stays as it stands, or a new one.
struct SplicedItem {
    std::optional<std::size_t> old;
    /// Of a new item.
    std::string text = {};
};

/// What stands in a list around its items.
struct ListStyle {
    std::string open, separator, close;
};

/// Adds the replacements that turn the items of a list, with what separates them, into others. Old items that
/// stay come in their old order. `inner` is what stands between the brackets; a list that gets its first
/// items or loses its last takes the style's blanks, or none.
void spliceList(std::vector<Replacement>& replacements, TextSpan inner, const std::vector<TextSpan>& items,
                const std::vector<SplicedItem>& wanted, const ListStyle& style);

}  // namespace KelvaneSDK
