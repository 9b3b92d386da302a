#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "KelvaneSDK/DiagramCheck/NodeTable.h"

namespace KelvaneSDK {

/// An input of a node, numbered through all nodes.
using Port = std::uint32_t;

struct Wire {
    NodeIndex from;
    NodeIndex to;
    Port port;
    /// The index of its connection record.
    std::uint32_t connection;
    /// The receiver replaced the slot that the wire ends in, so that what it brings is never read.
    bool lost = false;
};

/// What becomes of a connection.
enum class ConnectResult : std::uint8_t {
    connected,
    lost,  ///< neither end knows its type yet; the wire ends in a slot that is no longer the receiver's
    adoptionStops,  ///< a generic slot cannot take on the other end's type
    slotVanishes,   ///< a node that feeds itself replaced the slot to be connected
    outputMissing,  ///< the sender has no output
    outputRefused,  ///< the sender is a variable output
};

/// The slots of a document's nodes and the wires between them, built in the steps of the engine on the
/// classes of the slots alone.
class Wiring {
public:
    explicit Wiring(const NodeTable& table);

    /// False when the output is generic and the text names no type.
    bool setOutputType(NodeIndex node, const std::string& outputType);
    ConnectResult connect(NodeIndex from, NodeIndex to, std::size_t input, std::uint32_t connection);
    /// A wire whose other end is a node of unknown type: it feeds the input, and nothing is known of its
    /// type.
    void connectUnknown(NodeIndex from, NodeIndex to, std::size_t input, std::uint32_t connection);
    /// Sorts the wires by their ends, once all are made.
    void finish();

    Port firstPort(NodeIndex node) const { return portStart[node]; }
    std::size_t inputCount(NodeIndex node) const { return portStart[node + 1] - portStart[node]; }
    Port portOf(NodeIndex node, std::size_t input) const {
        return portStart[node] + static_cast<Port>(input);
    }
    Port portCount() const { return portStart.back(); }
    ValueClass inputClass(Port port) const { return inputs[port].valueClass; }
    bool isFree(Port port) const { return inputs[port].connectable; }
    std::optional<ValueClass> outputClass(NodeIndex node) const { return outputs[node]; }

    const std::vector<Wire>& all() const { return wires; }
    /// The wires that end in a port, lost ones left out; those that leave a node, lost ones included.
    std::span<const std::uint32_t> wiresInto(Port port) const { return byPort.row(port); }
    std::span<const std::uint32_t> wiresFrom(NodeIndex node) const { return byNode.row(node); }

private:
    struct Input {
        ValueClass valueClass;
        bool connectable = true;
        /// Grows when the slot is replaced by another.
        std::uint32_t generation = 0;
    };
    class Rows {
    public:
        template <class KeyOf>
        void build(std::size_t rowCount, std::size_t itemCount, KeyOf keyOf);
        std::span<const std::uint32_t> row(std::size_t index) const {
            return std::span(items).subspan(starts[index], starts[index + 1] - starts[index]);
        }

    private:
        std::vector<std::uint32_t> starts, items;
    };

    bool specialize(NodeIndex node, ValueClass source);
    bool adoptInput(Port port, ValueClass source);

    const NodeTable& nodes;
    std::vector<Port> portStart;
    std::vector<Input> inputs;
    // Absent for nodes without an output.
    std::vector<std::optional<ValueClass>> outputs;
    std::vector<Wire> wires;
    Rows byPort, byNode;
};

}  // namespace KelvaneSDK
