#include "ValueOrigin.h"

#include <algorithm>
#include <map>

#include "Diagram.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

class Origin {
public:
    Origin(const Kelvane& engine, double batchTimestamp) : timestamp(batchTimestamp) {
        for (const auto category : allNodeCategories) {
            for (const auto& node : engine.nodeList(category)) {
                for (const auto* slot : node->connectedInputValues()) feeders[slot].push_back(node.get());
            }
        }
    }

    std::vector<std::string> of(const Node& output) {
        for (const auto* feeder : feedersOf(*output.inputValues()[0])) {
            lines.push_back(inQuotes(output.label()) + " comes from " + printable(feeder->nameInMessages()));
            addInputs(*feeder, 1);
        }
        return lines;
    }

private:
    static constexpr std::size_t deepest = 2;

    std::vector<const Node*> feedersOf(const TimestampedVariable& slot) const {
        const auto found = feeders.find(&slot);
        return found == feeders.end() ? std::vector<const Node*>() : found->second;
    }

    void addInputs(const Node& node, std::size_t depth) {
        for (const auto* slot : node.inputValues()) {
            lines.push_back(std::string(2 * depth, ' ') + textOf(*slot));
            if (depth == deepest) continue;
            for (const auto* feeder : feedersOf(*slot)) addInputs(*feeder, depth + 1);
        }
    }

    /// `b = 0.84, new, from node 6 ("Subtract")`
    std::string textOf(const TimestampedVariable& slot) const {
        std::string line = printable(slot.label == nullptr ? std::to_string(slot.index) : slot.label);
        if (const auto* value = slot.payload()) {
            line += " = " + (value->type() == ValueType::String ? inQuotes(getValueString(*value))
                                                                : printable(getValueString(*value)));
            if (!slot.isConstant())
                line += slot.timestamp() == timestamp ? ", new" : ", of " + getValueString(slot.timestamp());
            if (slot.updated()) line += ", waits for the other inputs";
        } else {
            line += " has no value";
        }
        const auto from = feedersOf(slot);
        for (const auto* feeder : from) line += ", from " + printable(feeder->nameInMessages());
        return from.empty() ? line + ", is not connected" : line;
    }

    const double timestamp;
    std::map<const TimestampedVariable*, std::vector<const Node*>> feeders;
    std::vector<std::string> lines;
};

}  // namespace

std::vector<std::string> originOf(const Kelvane& engine, const std::string& label, double timestamp) {
    const auto isCalledSo = [&](const auto& node) { return node->label() == label; };
    const auto outputs = engine.nodeList(NodeCategory::VariableOutput);
    const auto output = std::find_if(outputs.begin(), outputs.end(), isCalledSo);
    if (output != outputs.end()) return Origin(engine, timestamp).of(**output);
    const auto streams = engine.nodeList(NodeCategory::InputStream);
    if (std::any_of(streams.begin(), streams.end(), isCalledSo))
        return {inQuotes(label) + " is an input stream: its values are the recording's"};
    const auto known = labels(engine, NodeCategory::VariableOutput);
    return {withHint("the diagram has no variable output or input stream " + inQuotes(label),
                     nearestNameHint(label, known))};
}

}  // namespace kelvane
