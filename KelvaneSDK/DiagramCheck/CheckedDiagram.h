#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "KelvaneSDK/DiagramData.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "KelvaneSDK/Node.h"
#include "KelvaneSDK/NodeClass.h"

namespace KelvaneSDK {

/// The index of a node record in its document.
using NodeIndex = std::uint32_t;
/// An input of a node, numbered through all nodes.
using Port = std::uint32_t;

/// A node record and the node made of it.
struct CheckedNode {
    const NodeInfo* record = nullptr;
    /// The last "Description", or the type; points into the document.
    std::string_view label;
    /// Where it stands in the text form; line 0 where the document is none.
    TextPlace place = {0, 0};
    /// Null when the document names no known class.
    std::unique_ptr<Node> node;
    NodeCategory category{};
    /// Of a function.
    const Declaration* declaration = nullptr;
    /// A connection from the node, or to an unknown input of it, could not be made.
    bool lacksReader = false, lacksFeeder = false;

    bool is(NodeCategory wanted) const { return node != nullptr && category == wanted; }
    bool isFunction() const { return is(NodeCategory::Function); }
    std::span<TimestampedVariable* const> inputs() const {
        return node != nullptr ? node->inputValues() : std::span<TimestampedVariable* const>();
    }
    std::optional<ValueClass> outputClass() const;
    /// `input 1 ("b")`.
    std::string inputName(std::size_t input) const;
    /// `node 7 ("Add", "sum")`, the label left out where it says nothing beyond the type; in the text form,
    /// where ids are not seen, `"sum" at 3:1` or `Add at 3:7`.
    std::string name() const;
};

struct Wire {
    NodeIndex from, to;
    std::uint32_t input;
    /// The index of its connection record.
    std::uint32_t connection;
    /// The receiver replaced the slot that the wire ends in, so that what it brings is never read.
    bool lost = false;
};

/// A document's nodes, made and connected in the steps of the engine, but for the steps that would stop it.
class CheckedDiagram {
public:
    /// `places` are those of the nodes, where the document is in the text form.
    explicit CheckedDiagram(const DiagramInfo& document, std::span<const TextPlace> places = {});

    NodeIndex size() const { return static_cast<NodeIndex>(nodes.size()); }
    CheckedNode& operator[](NodeIndex index) { return nodes[index]; }
    const CheckedNode& operator[](NodeIndex index) const { return nodes[index]; }

    /// Once the nodes are made: looks them up by id as the engine does, and numbers their inputs.
    void index();
    /// The node that the engine finds under an id: the first one, constants before input streams before
    /// functions before variable outputs.
    std::optional<NodeIndex> find(std::int64_t id) const;
    Port firstPort(NodeIndex node) const { return portStart[node]; }
    Port portCount() const { return portStart.back(); }

    void addWire(const Wire& wire) { wires.push_back(wire); }
    /// A connection to the input could not be made; what it would have brought is unknown.
    void markUnfed(NodeIndex node, std::size_t input);
    bool isMarkedUnfed(Port port) const { return unfed[port]; }
    /// Once the connections are made: sorts the wires by their ends.
    void indexWires();
    const std::vector<Wire>& allWires() const { return wires; }
    /// The wires that end in a port, lost ones left out; those that leave a node, lost ones included.
    std::span<const std::uint32_t> wiresInto(Port port) const { return byPort.row(port); }
    std::span<const std::uint32_t> wiresFrom(NodeIndex node) const { return byNode.row(node); }
    Port portOf(const Wire& wire) const { return firstPort(wire.to) + wire.input; }
    /// Nothing feeds the input, nor was meant to.
    bool isFree(NodeIndex node, std::size_t input) const {
        const Port port = firstPort(node) + static_cast<Port>(input);
        return wiresInto(port).empty() && !unfed[port] && !nodes[node].lacksFeeder;
    }

    bool hasFreeInput(NodeIndex node) const {
        for (std::size_t i = 0; i < nodes[node].inputs().size(); ++i) {
            if (isFree(node, i)) return true;
        }
        return false;
    }

    const DiagramInfo& info;

private:
    class Rows {
    public:
        template <class RowOf>
        void build(std::size_t rowCount, std::size_t itemCount, RowOf rowOf);
        std::span<const std::uint32_t> row(std::size_t index) const {
            return std::span(items).subspan(starts[index], starts[index + 1] - starts[index]);
        }

    private:
        std::vector<std::uint32_t> starts, items;
    };

    std::vector<CheckedNode> nodes;
    std::unordered_map<std::int64_t, NodeIndex> byId;
    std::vector<Port> portStart;
    std::vector<bool> unfed;
    std::vector<Wire> wires;
    Rows byPort, byNode;
};

}  // namespace KelvaneSDK
