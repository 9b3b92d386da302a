#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

/// One labelled value of a summary. A well-formed entry has a label and one value.
struct ValueInfo {
    std::optional<std::string> label;
    std::optional<double> floatValue;
    std::optional<std::int64_t> integerValue;
    std::optional<Vector> vectorValue;
    std::optional<Orientation> orientationValue;
    std::optional<List<double>> arrayValue;
    std::optional<Sequence> sequenceValue;
    std::optional<bool> booleanValue;
    std::optional<String> stringValue;
};

/// A summary: labelled values in the order in which their labels came up.
struct JsonInfo {
    std::vector<ValueInfo> values;

    /// Reads a summary; absent when the text is not one.
    static std::optional<JsonInfo> decode(std::string_view text);
    /// Pretty-printed, with the keys of every object in lexicographic order.
    std::string encode() const;
};

}  // namespace KelvaneSDK
