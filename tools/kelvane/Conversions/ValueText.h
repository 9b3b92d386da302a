#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "KelvaneSDK/Value.h"

// Values as texts of files: numbers as the shortest decimals that read back exactly, and JSON as it stands in
// recordings.

namespace kelvane {

/// "1.5", "12", "1e-05"; NaN and infinities are empty.
std::string numberText(double x);

/// The value of a type whose name a recording's line would give under its key.
std::optional<KelvaneSDK::ValueType> typeNamed(std::string_view name);
/// The key of a value's type in a recording's line: "floatValue".
std::string keyOf(KelvaneSDK::ValueType type);

/// The value as it stands in a recording's line.
std::string jsonOf(const KelvaneSDK::Value& value);
/// Appends the line of a recording; an absent value is null.
void appendLine(std::string& text, double timestamp, std::string_view name, KelvaneSDK::ValueType type,
                const KelvaneSDK::Value* value);

/// What a text says.
struct ReadValue {
    enum class Outcome { isRead, isNone, isWrong } outcome = Outcome::isWrong;
    std::optional<KelvaneSDK::Value> value = {};
};
/// A value's text: numbers, true and false, texts as they are, everything else as JSON. No text, NaN and the
/// like are none.
ReadValue readValue(KelvaneSDK::ValueType type, std::string_view text);

/// A whole text as a number, blanks around it and a plus sign allowed.
std::optional<double> numberOf(std::string_view text);
/// Empty, "NaN", "NA", "null", "none" in any letters.
bool saysNone(std::string_view text);
std::string_view withoutBlanks(std::string_view text);
std::string inSmallLetters(std::string_view text);

}  // namespace kelvane
