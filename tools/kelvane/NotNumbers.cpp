#include "NotNumbers.h"

#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

std::vector<const Node*> beginningsOfNaN(const Kelvane& engine, const RunTally& tally) {
    std::vector<const Node*> nodes;
    for (const auto category : allNodeCategories) {
        for (const auto& node : engine.nodeList(category)) {
            if (tally.of(*node).beganNotNumber) nodes.push_back(node.get());
        }
    }
    return nodes;
}

std::string notNumberText(const NodePlaces& places, const RunTally& tally, const Node& node) {
    const auto& own = tally.of(node);
    return places.nameOf(node) + ": " + std::to_string(own.notNumbers) + " of its " +
           counted(own.emissions, "value") + (own.notNumbers == 1 ? " is" : " are") +
           " not a number, since t = " + getValueString(*own.firstNotNumber) +
           "; it began here, from inputs that were numbers";
}

}  // namespace kelvane
