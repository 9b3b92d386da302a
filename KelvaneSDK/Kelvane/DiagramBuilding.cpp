#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/Functions/ElementArithmetic.h"
#include "KelvaneSDK/Kelvane/EngineState.h"
#include "KelvaneSDK/Kelvane/Evaluation.h"
#include "KelvaneSDK/Kelvane/KeyOrder.h"

namespace KelvaneSDK {

namespace {

/// The records of a list by the node that they are about, each node's in document order. Quick where the
/// records stand in the order in which their nodes are asked for.
template <class Record>
class RecordsByNode {
public:
    explicit RecordsByNode(const std::vector<Record>& records) {
        byId.reserve(records.size());
        const auto idOf = [&](std::size_t place) { return records[place].id; };
        for (const auto place : orderBy(records.size(), idOf)) byId.push_back(&records[place]);
    }

    std::span<const Record* const> of(std::int64_t id) {
        const auto isBelow = [id](const Record* record) { return record->id < id; };
        const bool isNext =
            (next == byId.size() || !isBelow(byId[next])) && (next == 0 || isBelow(byId[next - 1]));
        if (!isNext) {
            const auto first = std::partition_point(byId.begin(), byId.end(), isBelow);
            next = static_cast<std::size_t>(first - byId.begin());
        }
        const std::size_t begin = next;
        while (next < byId.size() && byId[next]->id == id) ++next;
        return std::span(byId).subspan(begin, next - begin);
    }

private:
    std::vector<const Record*> byId;
    std::size_t next = 0;
};

}  // namespace

/// Nodes by their ids; of several with one id the first that was added.
class NodesById {
public:
    void add(std::span<const std::unique_ptr<Node>> nodes) {
        std::vector<Entry> added;
        added.reserve(nodes.size());
        for (const auto place :
             orderBy(nodes.size(), [&](std::size_t i) { return nodes[i]->id.value_or(0); })) {
            if (nodes[place]->id) added.push_back({*nodes[place]->id, nodes[place].get()});
        }
        std::vector<Entry> merged(byId.size() + added.size());
        std::merge(byId.begin(), byId.end(), added.begin(), added.end(), merged.begin(),
                   [](const Entry& a, const Entry& b) { return a.id < b.id; });
        byId = std::move(merged);
    }

    Node* find(std::int64_t id) const {
        if (byId.empty()) return nullptr;
        // Where the ids are numbers without gaps, the place is known.
        const auto guess = static_cast<std::uint64_t>(id) - static_cast<std::uint64_t>(byId.front().id);
        if (guess < byId.size() && byId[guess].id == id && (guess == 0 || byId[guess - 1].id != id)) {
            return byId[guess].node;
        }
        const auto found = std::partition_point(byId.begin(), byId.end(),
                                                [id](const Entry& entry) { return entry.id < id; });
        return found != byId.end() && found->id == id ? found->node : nullptr;
    }

private:
    struct Entry {
        std::int64_t id;
        Node* node;
    };
    std::vector<Entry> byId;
};

/// Builds the nodes of one document into an engine.
class DiagramBuilder {
public:
    DiagramBuilder(EngineState& target, const DiagramInfo& document) : engine(target), info(document) {}

    /// Makes room for a document beside the present diagram: its nodes take the ids above the document's.
    void renumberAboveDocument();
    /// The nodes created, in document order, or absent when a node type is unknown.
    std::optional<std::vector<Node*>> build(bool withSubdiagrams);
    void checkContainment() const;
    void checkConnections() const;

private:
    bool createNodes();
    Node* createNode(const NodeInfo& record);
    void connect();
    void buildContainers();
    /// A container with its nodes, still without the containers nested in it.
    std::unique_ptr<Container> buildContainer(const ContainerInfo& record) const;
    std::unique_ptr<Container> buildContainerTree(const ContainerInfo& root) const;
    void buildSubdiagrams(bool fromDocument);
    void linkStreamsAndOutputs();
    Node* find(std::int64_t id) const { return nodesById.find(id); }

    template <class Visit>
    void forEachNode(Visit visit) const {
        for (const auto& list : engine.nodeLists) {
            for (const auto& node : list) visit(*node);
        }
    }

    EngineState& engine;
    const DiagramInfo& info;
    std::vector<Node*> created;
    NodesById nodesById;
};

template <class Work>
void EngineState::performReading(const Work& work) {
    if (perform(work)) return;
    // What a failed operation leaves is not worth keeping, but its reason is.
    const auto reason = std::move(failed);
    discardDiagram();
    failed = reason;
}

bool Kelvane::read(std::string_view text, bool replace) {
    bool isBuilt = false;
    engine->performReading([&] {
        DecodeFailure failure;
        const auto data = readDiagram(text, *engine->registry, &failure);
        if (data) {
            isBuilt = engine->build(data->info, replace);
            return;
        }
        if (failure.reason == outOfMemoryReason) printDiagnostic(outOfMemoryLine);
        printDiagnostic("ERROR: failed to decode kelvane data!");
    });
    return isBuilt;
}

LoadResult Kelvane::load(std::string_view text, bool replace, Severity refuseFrom) {
    LoadResult result;
    engine->performReading([&] {
        auto document = decodeAndCheck(text, *engine->registry);
        result.findings = std::move(document.findings);
        const bool isRefused =
            std::any_of(result.findings.begin(), result.findings.end(), [&](const Finding& finding) {
                // read() would fail over these halfway, with the present diagram gone.
                const bool endsBuilding = finding.code == "unknown-class" || finding.code == "unknown-type";
                return endsBuilding || finding.severity >= refuseFrom;
            });
        if (document.data && !isRefused) result.isBuilt = engine->build(document.data->info, replace);
    });
    return result;
}

bool EngineState::build(const DiagramInfo& info, bool replace) {
    DiagramBuilder builder(*this, info);
    if (replace) {
        discardDiagram();
    } else {
        builder.renumberAboveDocument();
    }
    ++state.changes;
    auto created = builder.build(replace);
    if (!created) {
        printDiagnostic("ERROR: failed to process diagram info");
        return false;
    }
    if (replace) {
        builder.checkContainment();
    } else {
        addedNodes = std::move(created);
    }
    builder.checkConnections();
    orderAsInDocument();
    return true;
}

void DiagramBuilder::renumberAboveDocument() {
    std::int64_t largest = 0;
    if (!info.nodes.empty()) {
        largest = std::max_element(info.nodes.begin(), info.nodes.end(), [](const auto& a, const auto& b) {
                      return a.id < b.id;
                  })->id;
    }
    if (!checkedSum(largest, 1)) stopProgram("the ids of the document leave no room above them");
    forEachNode([&](Node& node) {
        const auto next = checkedSum(largest, 1);
        if (!next) node.stop("the ids of the document leave no room for the present nodes");
        node.id = largest = *next;
    });
}

std::optional<std::vector<Node*>> DiagramBuilder::build(bool withSubdiagrams) {
    const bool complete = createNodes();
    if (!complete) {
        linkStreamsAndOutputs();
        return std::nullopt;
    }
    // In the order in which nodes are walked.
    for (const auto& list : engine.nodeLists) nodesById.add(list);
    connect();
    buildContainers();
    buildSubdiagrams(withSubdiagrams);
    engine.manualLines = info.manualLines.value_or(std::vector<std::string>());
    linkStreamsAndOutputs();
    return std::move(created);
}

bool DiagramBuilder::createNodes() {
    RecordsByNode positions(info.positions);
    RecordsByNode properties(info.properties);
    created.reserve(info.nodes.size());
    for (const auto& record : info.nodes) {
        Node* const node = createNode(record);
        if (node == nullptr) return false;
        created.push_back(node);
        node->id = record.id;
        if (record.outputType) {
            node->setOutputType(*record.outputType);
            node->resolveOutputType();
        }
        for (const auto* property : properties.of(record.id)) {
            node->setProperty(property->propertyString, property->valueString);
        }
        for (const auto* position : positions.of(record.id)) node->position = {position->x, position->y};
    }
    return true;
}

Node* DiagramBuilder::createNode(const NodeInfo& record) {
    const auto category = categoryNamed(record.classString);
    if (!category) {
        printDiagnostic("ERROR: classString " + record.classString + " not found!");
        return nullptr;
    }
    const auto* nodeClass = engine.registry->find(*category, record.typeString);
    if (nodeClass == nullptr) {
        printDiagnostic("ERROR: typeString " + record.typeString + " for classString " + record.classString +
                        " not found!");
        return nullptr;
    }
    return engine.addNode(*category, nodeClass->make());
}

void DiagramBuilder::connect() {
    for (const auto& [outputNodeId, inputNodeId, inputIndex] : info.connections) {
        Node* const from = find(outputNodeId);
        Node* const to = find(inputNodeId);
        while (from == nullptr || to == nullptr) {
            // Retried without limit: a document must not name an unknown id.
            printDiagnostic("ERROR: wrong id(s) for connection with outputNodeId " +
                            std::to_string(outputNodeId) + " and inputNodeId " + std::to_string(inputNodeId) +
                            "!");
        }
        const auto inputs = to->inputValues();
        if (inputIndex < 0 || static_cast<std::uint64_t>(inputIndex) >= inputs.size()) {
            to->stop("a connection names input " + std::to_string(inputIndex) + "; the node has " +
                     std::to_string(inputs.size()) + " input(s)");
        }
        from->connectOutput(*inputs[static_cast<std::size_t>(inputIndex)]);
    }
}

void DiagramBuilder::buildContainers() {
    if (!info.containers) return;
    for (const auto& record : *info.containers) {
        auto container = buildContainerTree(record);
        container->updatePorts();
        engine.containers.push_back(std::move(container));
    }
}

std::unique_ptr<Container> DiagramBuilder::buildContainerTree(const ContainerInfo& root) const {
    struct Frame {
        const ContainerInfo* record;
        std::unique_ptr<Container> container;
    };
    std::vector<Frame> open;
    open.push_back({&root, buildContainer(root)});
    for (;;) {
        const auto& [record, container] = open.back();
        if (record->containers && container->containers.size() < record->containers->size()) {
            const ContainerInfo& nested = (*record->containers)[container->containers.size()];
            open.push_back({&nested, buildContainer(nested)});
            continue;
        }
        auto complete = std::move(open.back().container);
        open.pop_back();
        if (open.empty()) return complete;
        open.back().container->containers.push_back(std::move(complete));
    }
}

std::unique_ptr<Container> DiagramBuilder::buildContainer(const ContainerInfo& record) const {
    auto container = std::make_unique<Container>();
    for (const auto id : record.nodeIds) {
        if (Node* const node = find(id)) {
            container->nodes.push_back(node);
        } else {
            printDiagnostic("ERROR: wrong id " + std::to_string(id) + " for container!");
        }
    }
    container->setDescriptionString(record.description);
    container->position = {record.x, record.y};
    if (record.color) container->color = bodyColorNamed(*record.color);
    return container;
}

void DiagramBuilder::buildSubdiagrams(bool fromDocument) {
    if (fromDocument && info.subdiagrams) {
        for (const auto& record : *info.subdiagrams) {
            Subdiagram subdiagram{record.description, {}};
            for (const auto id : record.nodeIds) {
                if (Node* const node = find(id)) {
                    subdiagram.nodes.push_back(node);
                } else {
                    printDiagnostic("ERROR: unknown nodeId " + std::to_string(id));
                }
            }
            engine.subdiagrams.push_back(std::move(subdiagram));
        }
    }
    if (!engine.subdiagrams.empty()) return;
    Subdiagram everything{"[0]", {}};
    everything.nodes.reserve(created.size());
    forEachNode([&](Node& node) { everything.nodes.push_back(&node); });
    engine.subdiagrams.push_back(std::move(everything));
}

void DiagramBuilder::linkStreamsAndOutputs() {
    struct Bearers {
        VariableOutputNode* first;
        std::size_t count;
    };
    std::unordered_map<std::string_view, Bearers> byLabel;
    for (auto* output : engine.nodes.outputs) {
        output->numLinks = 0;
        ++byLabel.try_emplace(output->label(), Bearers{output, 0}).first->second.count;
    }
    for (auto* stream : engine.nodes.streams) {
        const auto found =
            stream->descriptionString() ? byLabel.find(*stream->descriptionString()) : byLabel.end();
        stream->linked = found != byLabel.end();
        if (stream->linked) ++found->second.first->numLinks;
    }
    for (auto* output : engine.nodes.outputs) output->duplications = byLabel.at(output->label()).count > 1;
}

void DiagramBuilder::checkContainment() const {
    // New nodes have no place yet.
    constexpr std::uint32_t isContained = 0;
    for (const auto& subdiagram : engine.subdiagrams) {
        for (auto* node : subdiagram.nodes) node->place = isContained;
    }
    bool complete = true;
    forEachNode([&](Node& node) {
        if (std::exchange(node.place, Node::noPlace) == isContained) return;
        printDiagnostic("ERROR: node " + std::to_string(node.id.value_or(0)) +
                        " not contained in subdiagram!!");
        complete = false;
    });
    if (!complete) printDiagnostic("ERROR: nodes detected that are not contained in subdiagram!");
}

void DiagramBuilder::checkConnections() const {
    for (const auto& node : engine.listOf(NodeCategory::Function)) {
        const auto inputs = node->inputValues();
        const bool hasFreeInput =
            std::any_of(inputs.begin(), inputs.end(), [](const auto* slot) { return slot->connectable; });
        if (hasFreeInput || node->connectedInputValues().empty()) {
            printDiagnostic("WARNING: unconnected functions!");
        }
    }
}

}  // namespace KelvaneSDK
