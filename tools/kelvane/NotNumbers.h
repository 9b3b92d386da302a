#pragma once

#include <string>
#include <vector>

#include "KelvaneSDK/KelvaneSDK.h"
#include "NodeNames.h"

// Where "not a number" came from, as a tally has seen it.

namespace kelvane {

/// The nodes that gave it although no input of theirs had it.
std::vector<const KelvaneSDK::Node*> beginningsOfNaN(const KelvaneSDK::Kelvane& engine,
                                                     const KelvaneSDK::RunTally& tally);
/// `walk.kelvane:3:1: "arc" (Inverse cosine): 3 of its 10 values are not a number, since t = 1.1; ...`
std::string notNumberText(const NodePlaces& places, const KelvaneSDK::RunTally& tally,
                          const KelvaneSDK::Node& node);

}  // namespace kelvane
