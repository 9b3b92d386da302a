#include "KelvaneSDK/Kelvane/Kelvane.h"

#include <utility>

#include "KelvaneSDK/Kelvane/BackgroundRuns.h"
#include "KelvaneSDK/Kelvane/EngineOperation.h"
#include "KelvaneSDK/Kelvane/Evaluation.h"

namespace KelvaneSDK {

Kelvane::Kelvane(std::weak_ptr<VariableOutputUpdatesReceiver> variableOutputUpdatesReceiver,
                 std::shared_ptr<MainQueue> queue)
    : updatesReceiver(std::move(variableOutputUpdatesReceiver)),
      mainQueue(queue ? std::move(queue) : DrainedMainQueue::standard()),
      // Not owned: the library's registry outlives every engine.
      registry(std::shared_ptr<const NodeRegistry>(), &NodeRegistry::library()),
      backgroundRuns(std::make_shared<BackgroundRuns>()) {
    subdiagrams.emplace_back("[0]");
}

Kelvane::~Kelvane() { backgroundRuns->waitAndClose(); }

void Kelvane::registerNodes(const NodeFamily& family) {
    perform([&] {
        auto extended = std::make_shared<NodeRegistry>(*registry);
        extended->add(family);
        registry = std::move(extended);
    });
}

Node* Kelvane::addNode(NodeCategory category, std::unique_ptr<Node> node) {
    Node* const added = node.get();
    added->join(state);
    listOf(category).push_back(std::move(node));
    switch (category) {
        case NodeCategory::Constant:
            nodes.constants.push_back(added);
            break;
        case NodeCategory::InputStream:
            nodes.streams.push_back(dynamic_cast<InputStreamNode*>(added));
            if (nodes.streams.back() != nullptr) break;
            nodes.streams.pop_back();
            added->stop("a class of the category \"Input stream\" must be an InputStreamNode");
        case NodeCategory::Function:
            break;
        case NodeCategory::VariableOutput:
            nodes.outputs.push_back(dynamic_cast<VariableOutputNode*>(added));
            if (nodes.outputs.back() != nullptr) break;
            nodes.outputs.pop_back();
            added->stop("a class of the category \"Variable output\" must be a VariableOutputNode");
    }
    return added;
}

// Settling starts anew.
void Kelvane::orderAsInDocument() {
    ++state.changes;
    nodes.functions.clear();
    nodes.functions.reserve(nodeList(NodeCategory::Function).size());
    for (const auto& node : nodeList(NodeCategory::Function)) nodes.functions.push_back(node.get());
}

void Kelvane::discardDiagram() {
    evaluation.reset();
    handleLabels.clear();
    handles.clear();
    handlesSet.clear();
    handlesSetCount = 0;
    failed.reset();
    containers.clear();
    manualLines.clear();
    subdiagrams.clear();
    addedNodes.reset();
    nodes = {};
    for (auto& list : nodeLists) list.clear();
}

void Kelvane::reset() {
    const bool hadFailed = failed.has_value();
    failed.reset();
    perform([&] {
        for (const auto& list : nodeLists) {
            for (const auto& node : list) node->reset();
        }
        if (hadFailed) orderAsInDocument();
    });
}

std::vector<std::string> Kelvane::getInputStreams() const {
    std::vector<std::string> labels;
    const bool isWhole = perform([&] {
        for (const auto* stream : nodes.streams) labels.emplace_back(stream->label());
    });
    return isWhole ? std::move(labels) : decltype(labels)();
}

std::vector<VariableOutputDescription> Kelvane::getVariableOutputs() const {
    std::vector<VariableOutputDescription> outputs;
    const bool isWhole = perform([&] {
        for (const auto* output : nodes.outputs)
            outputs.push_back({std::string(output->label()), std::string(output->typeString)});
    });
    return isWhole ? std::move(outputs) : decltype(outputs)();
}

std::vector<std::string> Kelvane::getManualLines() const {
    std::vector<std::string> lines;
    const bool isWhole = perform([&] { lines = manualLines; });
    return isWhole ? std::move(lines) : decltype(lines)();
}

std::vector<ConstantDescription> Kelvane::getConstants() const {
    std::vector<ConstantDescription> constants;
    const bool isWhole = perform([&] {
        for (const auto* node : nodes.constants) {
            const auto value = node->output().value();
            if (!value) node->stop("the constant has no value");
            constants.push_back({std::string(node->label()), *value});
        }
    });
    return isWhole ? std::move(constants) : decltype(constants)();
}

void Kelvane::setConstant(std::string_view label, const Value& newValue) {
    perform([&] {
        for (const auto* node : nodes.constants) {
            if (node->label() != label) continue;
            auto& output = node->output();
            if (!output.hasValue()) node->stop("the constant has no value");
            if (output.payload()->type() == newValue.type()) output.setValue(newValue);
        }
    });
}

void Kelvane::setVariableOutputHidden(std::string_view label, bool hidden) {
    perform([&] {
        for (auto* output : nodes.outputs) {
            if (output->label() == label) output->setHidden(hidden);
        }
    });
}

void Kelvane::setInputStreamForwarding(std::string_view label, bool forwarding) {
    perform([&] {
        for (auto* stream : nodes.streams) {
            if (stream->label() == label) stream->setForwarding(forwarding);
        }
    });
}

}  // namespace KelvaneSDK
