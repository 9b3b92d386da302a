#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DocumentEditing/TextSplicing.h"

namespace KelvaneSDK {

/// A member of a JSON object: its name, in quotes, and its value.
struct JsonMember {
    TextSpan name, value;
    /// The name that is meant, without quotes and escapes.
    std::string key;
};

// Where values stand in a text that is known to be JSON. Spans are without the blanks around them.

TextSpan rootSpan(std::string_view text);
std::vector<TextSpan> elementSpans(std::string_view text, TextSpan array);
std::vector<JsonMember> memberSpans(std::string_view text, TextSpan object);

/// What stands between the brackets of an array or object.
inline TextSpan innerSpan(TextSpan container) { return {container.begin + 1, container.end - 1}; }

}  // namespace KelvaneSDK
