#pragma once

// Internal: what an engine holds.

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/ContainerNode/ContainerNode.h"
#include "KelvaneSDK/Kelvane/DiagramNodes.h"
#include "KelvaneSDK/Kelvane/Kelvane.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"
#include "KelvaneSDK/Nodes/DiagramState.h"
#include "KelvaneSDK/Operation.h"

namespace KelvaneSDK {

class BackgroundRuns;
class Evaluation;

struct EngineState {
    static EngineState& of(const Kelvane& kelvane) { return *kelvane.engine; }

    EngineState();
    ~EngineState();

    std::vector<std::unique_ptr<Node>>& listOf(NodeCategory category) {
        return nodeLists[static_cast<std::size_t>(category)];
    }
    /// Runs the work of an operation and keeps stops and memory that runs out inside. False when it failed,
    /// with the reason in `failed`.
    template <class Work>
    bool perform(const Work& work);
    template <class Work>
    void performReading(const Work& work);
    bool build(const DiagramInfo& info, bool replace);
    Node* addNode(NodeCategory category, std::unique_ptr<Node> node);
    void orderAsInDocument();
    DiagramInfo describe() const;
    void discardDiagram();

    Evaluation& plan();
    Evaluation& compile();
    std::uint32_t handleOn(std::string_view label);
    template <class NodeType>
    std::optional<std::uint32_t> handleOn(std::string_view label, const std::vector<NodeType*>& bearers);

    DiagramState state;
    DiagnosticSink diagnosticSink;
    StopBehavior stopBehavior = StopBehavior::endProgram;
    std::optional<StopReason> failed;
    std::weak_ptr<VariableOutputUpdatesReceiver> updatesReceiver;
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<const NodeRegistry> registry;
    std::array<std::vector<std::unique_ptr<Node>>, allNodeCategories.size()> nodeLists;
    // The same nodes as in the lists, with their type.
    DiagramNodes nodes;
    std::vector<std::unique_ptr<Container>> containers;
    std::vector<std::string> manualLines;
    std::vector<Subdiagram> subdiagrams;
    std::unique_ptr<Evaluation> evaluation;
    KelvaneOutput diagramOutput;
    // The labels that handles were given for.
    std::vector<std::string> handleLabels;
    std::vector<HandleEntry> handles;
    // Those that are set for the next round stand first; it has space for all.
    std::vector<std::uint32_t> handlesSet;
    std::size_t handlesSetCount = 0;
    std::uint64_t handleRound = 1;
    double previousTimestamp = 0;
    double lastProcessTime = 0;
    std::int64_t framesSkipped = 0;
    std::optional<std::vector<Node*>> addedNodes;
    std::shared_ptr<BackgroundRuns> backgroundRuns;
};

template <class Work>
bool EngineState::perform(const Work& work) {
    const Operation operation(stopBehavior, &diagnosticSink);
    try {
        if (withinMemory([&] { return work(), true; })) return true;
        failed = {outOfMemoryReason, std::nullopt};
        printDiagnostic(outOfMemoryLine);
    } catch (Operation::Stopped& stopped) {
        if (stopBehavior == StopBehavior::endProgram) throw;
        failed = std::move(stopped.reason);
    }
    return false;
}

}  // namespace KelvaneSDK
