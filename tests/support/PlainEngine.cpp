#include "support/PlainEngine.h"

#include <utility>

namespace KelvaneSDK::testing_support {

void PlainEngine::takeNodes() {
    order.clear(), streams.clear(), outputs.clear();
    for (const auto& node : engine.nodeList(NodeCategory::Function)) order.push_back(node.get());
    for (const auto& node : engine.nodeList(NodeCategory::InputStream)) {
        streams.push_back(dynamic_cast<InputStreamNode*>(node.get()));
    }
    for (const auto& node : engine.nodeList(NodeCategory::VariableOutput)) {
        outputs.push_back(dynamic_cast<VariableOutputNode*>(node.get()));
    }
}

// Every slot holds a value of its own, as one that was written to by hand does, so that values are carried from node to
// node.
void PlainEngine::separateSlots() {
    for (auto* node : nodesOf(engine)) {
        for (auto* slot : node->inputValues()) slot->setTimestamp(slot->timestamp());
    }
}

KelvaneOutput PlainEngine::evaluate(const KelvaneInput& input) {
    separateSlots();
    output = {input.timestamp, {}};
    allInputs = input.updates;
    for (const auto& node : engine.nodeList(NodeCategory::Constant)) {
        for (auto* slot : node->connectedInputValues()) {
            slot->setValue(node->outputValue()->value());
            slot->setIsConstant(node->outputValue()->isConstant());
            slot->setTimestamp(node->outputValue()->timestamp());
            slot->setUpdated(true);
            slot->checked = true;
        }
    }
    pass(input.updates);
    for (auto* node : outputs) {
        if (node->hidden()) output.outputs.erase(node->label());
    }
    for (auto* node : streams) {
        if (!node->forwarding()) output.outputs.erase(node->label());
    }
    return output;
}

void PlainEngine::pass(const LabelledValues& values) {
    for (auto* node : streams) {
        const auto found = values.find(node->label());
        for (auto* slot : node->connectedInputValues()) slot->checked = true;
        if (found == values.end()) continue;
        node->setValue(found->second, output.timestamp);
        output.outputs.insert_or_assign(node->label(), *node->outputValue()->value());
    }
    const auto results = sweep();
    for (auto* node : streams) node->outputValue()->setUpdated(false);
    LabelledValues feedback;
    for (const auto& [label, value] : results) {
        output.outputs.erase(label);
        if (!value) continue;
        output.outputs.emplace(label, *value);
        if (allInputs.emplace(label, *value).second) feedback.emplace(label, *value);
    }
    if (!feedback.empty()) pass(feedback);
}

std::map<std::string, std::optional<Value>> PlainEngine::sweep() {
    bool progress = false;
    for (std::size_t i = 0; i < order.size();) {
        Node* const node = order[i];
        bool ready = true, connected = true;
        for (const auto* slot : node->inputValues()) {
            ready = ready && (slot->checked || slot->connectable);
            connected = connected && !slot->connectable;
        }
        if (!ready) {
            order.push_back(node);
            order.erase(order.begin() + static_cast<std::ptrdiff_t>(i));
            continue;
        }
        for (auto* slot : node->connectedInputValues()) slot->checked = true;
        if (node->allInputsHaveValues() && node->allInputsUpdated() && connected) {
            node->process();
            progress = true;
        }
        if (++i == order.size() && std::exchange(progress, false)) i = 0;
    }
    std::map<std::string, std::optional<Value>> results;
    for (auto* node : outputs) {
        if (!node->allInputsUpdated()) continue;
        node->process();
        results.insert_or_assign(std::string(node->label()), node->outputValue()->value());
    }
    for (const auto& node : engine.nodeList(NodeCategory::Function)) {
        for (auto* slot : node->connectedInputValues()) slot->checked = false;
    }
    return results;
}

std::vector<Node*> nodesOf(const Kelvane& engine) {
    std::vector<Node*> nodes;
    for (const auto category : allNodeCategories) {
        for (const auto& node : engine.nodeList(category)) nodes.push_back(node.get());
    }
    return nodes;
}

std::vector<std::int64_t> idsOf(std::span<Node* const> nodes) {
    std::vector<std::int64_t> ids;
    for (const auto* node : nodes) ids.push_back(*node->id);
    return ids;
}

std::string stateOf(const Kelvane& engine) {
    std::string state;
    const auto append = [&](const TimestampedVariable& slot) {
        state += (slot.hasValue() ? getValueString(*slot.payload()) : "-") + (slot.updated() ? "u" : "") + (slot.checked ? "c" : "") +
                 (slot.isConstant() ? "k" : "") + "@" + std::to_string(slot.timestamp()) + " ";
    };
    for (const auto* node : nodesOf(engine)) {
        for (const auto* slot : node->inputValues()) append(*slot);
        if (node->outputValue() != nullptr) append(*node->outputValue());
    }
    return state;
}

}  // namespace KelvaneSDK::testing_support
