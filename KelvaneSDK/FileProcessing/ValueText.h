#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

/// The characters that slots delete from a text before they read numbers and truths in it.
inline constexpr std::string_view brackets = "()[]{} ";

/// A text without the characters in `unwanted`.
std::string withoutCharacters(std::string_view text, std::string_view unwanted);

/// The pieces of a text between commas; one empty piece for the empty text.
std::vector<std::string_view> splitAtCommas(std::string_view text);

/// Every piece of a text between commas as a double, in order; absent when one is not a number. The empty
/// text has no numbers.
std::optional<std::vector<double>> numbersBetweenCommas(std::string_view text);

/// The slots' forms, without outer brackets: "(0.0, 1.0),(0.5, 2.0)" for samples, "1.0,2.5" for doubles.
std::string joinedSamples(std::span<const Sample> samples);
std::string joinedDoubles(std::span<const double> doubles);

}  // namespace KelvaneSDK
