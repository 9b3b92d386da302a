#pragma once
#include <functional>
#include <optional>
#include <string>

#include "KelvaneSDK/Diagnostics.h"
namespace KelvaneSDK {
struct StopReason {
    std::string text;
    std::optional<std::int64_t> nodeId;
};
std::optional<StopReason> reasonOfStop(const std::function<void()>& work, const DiagnosticSink& lines);
}  // namespace KelvaneSDK
