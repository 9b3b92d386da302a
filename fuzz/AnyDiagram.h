#pragma once

#include <string>
#include <vector>

#include "Choices.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace KelvaneFuzz {

/// A document over the whole registry, in any order: inputs are mostly fed by values of their type, some are
/// fed twice or not at all, and labels are shared. With `wild` there are also wires between anything.
KelvaneSDK::DiagramInfo anyDiagram(Choices& choices, bool wild);

/// A value of a type, extreme ones among them.
KelvaneSDK::Value anyValue(Choices& choices, KelvaneSDK::ValueType type);

/// Batches for the engine's streams; few of them carry a value of a wrong type.
std::vector<KelvaneSDK::KelvaneInput> anyBatches(Choices& choices, const KelvaneSDK::Kelvane& engine);

/// Gives some constants other values.
void setAnyConstants(Choices& choices, KelvaneSDK::Kelvane& engine);

/// What an evaluation may use up; the time only ends what would never end.
inline constexpr KelvaneSDK::EvaluationLimits limits{2000, 0.02};
/// Whether a stop was for the time, which no two runs share.
inline bool wasOutOfTime(const std::string& reason) {
    return reason.find("longer than the limit") != std::string::npos;
}

/// The results as text: equal for equal bits, and for any two NaNs.
std::string textOf(const KelvaneSDK::KelvaneOutput& output);

}  // namespace KelvaneFuzz
