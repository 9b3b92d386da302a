#include "ValueOrigin.h"

#include <algorithm>

#include "Messages.h"
#include "NodeNames.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

class Origin {
public:
    explicit Origin(const Diagram& diagram) : places(diagram), feeders(*diagram.engine) {}

    std::vector<std::string> of(const Node& output) {
        for (const auto* feeder : feeders.of(*output.inputValues()[0])) {
            lines.push_back(inQuotes(output.label()) + " comes from " + places.nameOf(*feeder));
            addInputs(*feeder, 1);
        }
        return lines;
    }

private:
    static constexpr std::size_t deepest = 2;

    void addInputs(const Node& node, std::size_t depth) {
        for (const auto* slot : node.inputValues()) {
            lines.push_back(std::string(2 * depth, ' ') + textOf(*slot));
            if (depth == deepest) continue;
            for (const auto* feeder : feeders.of(*slot)) addInputs(*feeder, depth + 1);
        }
    }

    std::string textOf(const TimestampedVariable& slot) const {
        std::string line = inputText(slot);
        const auto from = feeders.of(slot);
        for (const auto* feeder : from) line += ", from " + places.nameOf(*feeder);
        return from.empty() ? line + ", is not connected" : line;
    }

    const NodePlaces places;
    const Feeders feeders;
    std::vector<std::string> lines;
};

}  // namespace

std::string inputText(const TimestampedVariable& slot) {
    const auto* const value = slot.payload();
    std::string text = printable(slot.label != nullptr ? slot.label : std::to_string(slot.index));
    text += value == nullptr ? " has no value" : " = " + printable(getValueString(*value));
    if (value != nullptr && !slot.isConstant()) text += ", of t = " + getValueString(slot.timestamp());
    return text + (slot.updated() ? ", waits" : "");
}

std::vector<std::string> originOf(const Diagram& diagram, const std::string& label) {
    const auto& engine = *diagram.engine;
    const auto isCalledSo = [&](const auto& node) { return node->label() == label; };
    const auto outputs = engine.nodeList(NodeCategory::VariableOutput);
    const auto output = std::find_if(outputs.begin(), outputs.end(), isCalledSo);
    if (output != outputs.end()) return Origin(diagram).of(**output);
    const auto streams = engine.nodeList(NodeCategory::InputStream);
    if (std::any_of(streams.begin(), streams.end(), isCalledSo))
        return {inQuotes(label) + " is an input stream: its values are the recording's"};
    const auto known = labels(engine, NodeCategory::VariableOutput);
    return {withHint("the diagram has no variable output or input stream " + inQuotes(label),
                     nearestNameHint(label, known))};
}

}  // namespace kelvane
