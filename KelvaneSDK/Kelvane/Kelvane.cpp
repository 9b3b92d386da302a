#include "KelvaneSDK/Kelvane/Kelvane.h"

#include <utility>

#include "KelvaneSDK/Kelvane/BackgroundRuns.h"
#include "KelvaneSDK/Kelvane/EngineState.h"
#include "KelvaneSDK/Kelvane/Evaluation.h"
#include "KelvaneSDK/Nodes/NodeState.h"

namespace KelvaneSDK {

// The library's registry is not owned: it outlives every engine.
EngineState::EngineState()
    : registry(std::shared_ptr<const NodeRegistry>(), &NodeRegistry::library()),
      backgroundRuns(std::make_shared<BackgroundRuns>()) {
    subdiagrams.push_back({"[0]", {}});
}

EngineState::~EngineState() = default;

Kelvane::Kelvane(std::weak_ptr<VariableOutputUpdatesReceiver> variableOutputUpdatesReceiver,
                 std::shared_ptr<MainQueue> mainQueue)
    : engine(std::make_unique<EngineState>()) {
    engine->updatesReceiver = std::move(variableOutputUpdatesReceiver);
    engine->mainQueue = mainQueue ? std::move(mainQueue) : DrainedMainQueue::standard();
}

Kelvane::~Kelvane() { engine->backgroundRuns->waitAndClose(); }

void Kelvane::setDiagnosticSink(DiagnosticSink sink) { engine->diagnosticSink = std::move(sink); }
void Kelvane::setStopBehavior(StopBehavior behavior) { engine->stopBehavior = behavior; }
const std::optional<StopReason>& Kelvane::failure() const { return engine->failed; }
void Kelvane::setLimits(const EvaluationLimits& limits) { engine->state.budget.setLimits(limits); }

void Kelvane::observe(EvaluationObserver* observer) {
    engine->state.observer = observer;
    // What is compiled for an observer reports to one.
    ++engine->state.changes;
}

const NodeRegistry& Kelvane::nodeTypes() const { return *engine->registry; }
std::span<const std::unique_ptr<Node>> Kelvane::nodeList(NodeCategory category) const {
    return engine->listOf(category);
}
std::span<Node* const> Kelvane::getFunctionNodes() const { return engine->nodes.functions; }
const std::optional<std::vector<Node*>>& Kelvane::getAddedNodes() const { return engine->addedNodes; }
std::span<Subdiagram> Kelvane::getSubdiagrams() { return engine->subdiagrams; }
std::int64_t Kelvane::getFramesSkipped() const { return engine->framesSkipped; }

void Kelvane::registerNodes(const NodeFamily& family) {
    engine->perform([&] {
        auto extended = std::make_shared<NodeRegistry>(*engine->registry);
        extended->add(family);
        engine->registry = std::move(extended);
    });
}

Node* EngineState::addNode(NodeCategory category, std::unique_ptr<Node> node) {
    Node* const added = node.get();
    NodeState::of(*added).join(state);
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
void EngineState::orderAsInDocument() {
    ++state.changes;
    nodes.functions.clear();
    nodes.functions.reserve(listOf(NodeCategory::Function).size());
    for (const auto& node : listOf(NodeCategory::Function)) nodes.functions.push_back(node.get());
}

void EngineState::discardDiagram() {
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
    const bool hadFailed = engine->failed.has_value();
    engine->failed.reset();
    engine->perform([&] {
        for (const auto& list : engine->nodeLists) {
            for (const auto& node : list) node->reset();
        }
        if (hadFailed) engine->orderAsInDocument();
    });
}

std::vector<std::string> Kelvane::getInputStreams() const {
    std::vector<std::string> labels;
    const bool isWhole = engine->perform([&] {
        for (const auto* stream : engine->nodes.streams) labels.emplace_back(stream->label());
    });
    return isWhole ? std::move(labels) : decltype(labels)();
}

std::vector<VariableOutputDescription> Kelvane::getVariableOutputs() const {
    std::vector<VariableOutputDescription> outputs;
    const bool isWhole = engine->perform([&] {
        for (const auto* output : engine->nodes.outputs)
            outputs.push_back({std::string(output->label()), std::string(output->typeString)});
    });
    return isWhole ? std::move(outputs) : decltype(outputs)();
}

std::vector<std::string> Kelvane::getManualLines() const {
    std::vector<std::string> lines;
    const bool isWhole = engine->perform([&] { lines = engine->manualLines; });
    return isWhole ? std::move(lines) : decltype(lines)();
}

std::vector<ConstantDescription> Kelvane::getConstants() const {
    std::vector<ConstantDescription> constants;
    const bool isWhole = engine->perform([&] {
        for (const auto* node : engine->nodes.constants) {
            const auto value = node->output().value();
            if (!value) node->stop("the constant has no value");
            constants.push_back({std::string(node->label()), *value});
        }
    });
    return isWhole ? std::move(constants) : decltype(constants)();
}

void Kelvane::setConstant(std::string_view label, const Value& newValue) {
    engine->perform([&] {
        for (const auto* node : engine->nodes.constants) {
            if (node->label() != label) continue;
            auto& output = node->output();
            if (!output.hasValue()) node->stop("the constant has no value");
            if (output.payload()->type() == newValue.type()) output.setValue(newValue);
        }
    });
}

void Kelvane::setVariableOutputHidden(std::string_view label, bool hidden) {
    engine->perform([&] {
        for (auto* output : engine->nodes.outputs) {
            if (output->label() == label) output->setHidden(hidden);
        }
    });
}

void Kelvane::setInputStreamForwarding(std::string_view label, bool forwarding) {
    engine->perform([&] {
        for (auto* stream : engine->nodes.streams) {
            if (stream->label() == label) stream->setForwarding(forwarding);
        }
    });
}

}  // namespace KelvaneSDK
