#include "KelvaneSDK/Kelvane/Kelvane.h"

#include <algorithm>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/BackgroundRuns.h"

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
    auto extended = std::make_shared<NodeRegistry>(*registry);
    extended->add(family);
    registry = std::move(extended);
}

Node* Kelvane::addNode(NodeCategory category, std::unique_ptr<Node> node) {
    if (category == NodeCategory::InputStream) {
        auto* stream = dynamic_cast<InputStreamNode*>(node.get());
        if (stream == nullptr)
            node->stop("a class of the category \"Input stream\" must be an InputStreamNode");
        inputStreams.push_back(stream);
    } else if (category == NodeCategory::VariableOutput) {
        auto* output = dynamic_cast<VariableOutputNode*>(node.get());
        if (output == nullptr)
            node->stop("a class of the category \"Variable output\" must be a VariableOutputNode");
        variableOutputs.push_back(output);
    }
    node->keepTo(budget);
    return listOf(category).emplace_back(std::move(node)).get();
}

void Kelvane::discardDiagram() {
    containers.clear();
    manualLines.clear();
    subdiagrams.clear();
    addedNodes.reset();
    functionNodes.clear();
    inputStreams.clear();
    variableOutputs.clear();
    for (auto& list : nodeLists) list.clear();
}

void Kelvane::reset() {
    for (const auto& list : nodeLists) {
        for (const auto& node : list) node->reset();
    }
}

std::vector<std::string> Kelvane::getInputStreams() const {
    std::vector<std::string> labels;
    for (const auto* stream : inputStreams) labels.push_back(stream->label());
    return labels;
}

std::vector<VariableOutputDescription> Kelvane::getVariableOutputs() const {
    std::vector<VariableOutputDescription> descriptions;
    for (const auto* output : variableOutputs) descriptions.push_back({output->label(), output->typeString});
    return descriptions;
}

std::vector<std::string> Kelvane::getManualLines() const { return manualLines; }

std::vector<ConstantDescription> Kelvane::getConstants() const {
    std::vector<ConstantDescription> descriptions;
    for (const auto& node : nodeList(NodeCategory::Constant)) {
        const auto value = node->output().value();
        if (!value) node->stop("the constant has no value");
        descriptions.push_back({node->label(), *value});
    }
    return descriptions;
}

void Kelvane::setConstant(std::string_view label, const Value& newValue) {
    for (const auto& node : nodeList(NodeCategory::Constant)) {
        if (node->label() != label) continue;
        auto& output = node->output();
        if (!output.hasValue()) node->stop("the constant has no value");
        if (output.payload()->type() == newValue.type()) output.setValue(newValue);
    }
}

void Kelvane::setVariableOutputHidden(std::string_view label, bool hidden) {
    for (auto* output : variableOutputs) {
        if (output->label() == label) output->hidden = hidden;
    }
}

void Kelvane::setInputStreamForwarding(std::string_view label, bool forwarding) {
    for (auto* stream : inputStreams) {
        if (stream->label() == label) stream->forwarding = forwarding;
    }
}

}  // namespace KelvaneSDK
