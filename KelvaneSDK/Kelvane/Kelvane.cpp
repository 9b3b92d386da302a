#include "KelvaneSDK/Kelvane/Kelvane.h"

#include <algorithm>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Kelvane/BackgroundRuns.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

// One entry for each element, in order; none when memory runs out.
template <class Entry, class Elements, class Describe>
std::vector<Entry> listed(const Elements& elements, const Describe& describe) {
    auto entries = withinMemoryOrError([&] {
        std::vector<Entry> described;
        for (const auto& element : elements) described.push_back(describe(element));
        return described;
    });
    return entries ? std::move(*entries) : std::vector<Entry>();
}

}  // namespace

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
    withinMemoryOrError([&] {
        auto extended = std::make_shared<NodeRegistry>(*registry);
        extended->add(family);
        registry = std::move(extended);
        return true;
    });
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

// Settling starts anew. Needs no memory where the nodes were in order before.
void Kelvane::orderAsInDocument() {
    functionNodes.clear();
    for (const auto& node : nodeList(NodeCategory::Function)) functionNodes.push_back(node.get());
}

void Kelvane::discardDiagram() {
    outOfMemory = false;
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
    const auto done = withinMemoryOrError([&] {
        for (const auto& list : nodeLists) {
            for (const auto& node : list) node->reset();
        }
        return true;
    });
    if (outOfMemory) orderAsInDocument();
    outOfMemory = !done;
}

std::vector<std::string> Kelvane::getInputStreams() const {
    return listed<std::string>(inputStreams, [](const auto& stream) { return stream->label(); });
}

std::vector<VariableOutputDescription> Kelvane::getVariableOutputs() const {
    return listed<VariableOutputDescription>(variableOutputs, [](const auto& output) {
        return VariableOutputDescription{output->label(), output->typeString};
    });
}

std::vector<std::string> Kelvane::getManualLines() const {
    return listed<std::string>(manualLines, [](const auto& line) { return line; });
}

std::vector<ConstantDescription> Kelvane::getConstants() const {
    return listed<ConstantDescription>(nodeList(NodeCategory::Constant), [](const auto& node) {
        const auto value = node->output().value();
        if (!value) node->stop("the constant has no value");
        return ConstantDescription{node->label(), *value};
    });
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
