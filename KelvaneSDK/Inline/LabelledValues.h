#pragma once

// What LabelledValues.h needs to be compiled into an application, and where an engine fills results.

#include <memory>
#include <string_view>
#include <utility>

#include "KelvaneSDK/Kelvane/LabelledValues.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

inline void LabelledValues::refill(const std::shared_ptr<const void>& owner) {
    entries.clear();
    set = 0;
    if (labels == owner) return;
    labels = owner;
    own = nullptr;
}

inline void LabelledValues::append(std::string_view label, const Value& value) {
    entries.emplace_back(label, value);
}
inline void LabelledValues::append(std::string_view label, Value&& value) {
    entries.emplace_back(label, std::move(value));
}

}  // namespace KelvaneSDK
