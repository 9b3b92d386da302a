#pragma once

#include <optional>
#include <string_view>

#include "KelvaneSDK/FileProcessing/TextPlace.h"

namespace KelvaneSDK {

/// Is called where values stand in a JSON text.
class JsonVisitor {
public:
    virtual ~JsonVisitor() = default;
    /// A value begins.
    virtual void begin(std::size_t, bool /*isContainer*/) {}
    /// A container ends.
    virtual void end() {}
    /// The name of a member, as it is written.
    virtual void name(std::string_view) {}
};

/// Walks through a JSON text, strictly and without recursion, up to the first fault, which it returns.
std::optional<JsonFault> scanJson(std::string_view text, std::size_t maximumDepth, JsonVisitor& visitor);

}  // namespace KelvaneSDK
