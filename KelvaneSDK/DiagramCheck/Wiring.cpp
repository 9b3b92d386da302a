#include "KelvaneSDK/DiagramCheck/Wiring.h"

namespace KelvaneSDK {

namespace {

// The class that a generic slot takes on, or absent where the engine stops.
std::optional<ValueClass> adoptedClass(ValueClass slot, ValueClass source) {
    if (slot == ValueClass::ArrayVariable && !isArray(source)) return arrayClass(source);
    if (slot == ValueClass::ValueVariable && isArray(source)) return elementClass(source);
    return source;
}

}  // namespace

Wiring::Wiring(const NodeTable& table) : nodes(table) {
    portStart.reserve(nodes.size() + 1);
    outputs.reserve(nodes.size());
    for (const CheckedNode& node : nodes.all()) {
        portStart.push_back(static_cast<Port>(inputs.size()));
        outputs.push_back(node.shape != nullptr ? node.shape->output : std::nullopt);
        if (node.shape == nullptr) continue;
        for (const auto slotClass : node.shape->inputs) inputs.push_back({slotClass});
    }
    portStart.push_back(static_cast<Port>(inputs.size()));
}

bool Wiring::setOutputType(NodeIndex node, const std::string& outputType) {
    if (!outputs[node] || !isGeneric(*outputs[node])) return true;
    const auto named = concreteClassNamed(outputType);
    if (named) specialize(node, *named);
    return named.has_value();
}

bool Wiring::adoptInput(Port port, ValueClass source) {
    const auto adopted = adoptedClass(inputs[port].valueClass, source);
    if (!adopted) return false;
    inputs[port] = {*adopted, true, inputs[port].generation + 1};
    return true;
}

bool Wiring::specialize(NodeIndex node, ValueClass source) {
    auto& output = outputs[node];
    if (output && isGeneric(*output)) {
        const auto adopted = adoptedClass(*output, source);
        if (!adopted) return false;
        output = adopted;
    }
    for (Port port = portStart[node]; port < portStart[node + 1]; ++port) {
        if (isGeneric(inputs[port].valueClass) && !adoptInput(port, source)) return false;
    }
    return true;
}

ConnectResult Wiring::connect(NodeIndex from, NodeIndex to, std::size_t input, std::uint32_t connection) {
    if (nodes[from].is(NodeCategory::VariableOutput)) return ConnectResult::outputRefused;
    const auto& output = outputs[from];
    if (!output) return ConnectResult::outputMissing;
    const Port port = portOf(to, input);
    const auto before = inputs[port];
    if (isGeneric(*output) && !specialize(from, before.valueClass)) return ConnectResult::adoptionStops;

    Wire wire{from, to, port, connection};
    if (isGeneric(before.valueClass)) {
        if (inputs[port].generation != before.generation) return ConnectResult::slotVanishes;
        if (!adoptInput(port, *output)) return ConnectResult::adoptionStops;
        const auto connected = inputs[port].generation;
        inputs[port].connectable = false;
        // The receiver's other generic slots follow, and so does this one if it is generic still.
        if (!specialize(to, inputs[port].valueClass)) return ConnectResult::adoptionStops;
        wire.lost = inputs[port].generation != connected;
    } else {
        inputs[port].connectable = false;
    }
    wires.push_back(wire);
    return wire.lost ? ConnectResult::lost : ConnectResult::connected;
}

void Wiring::connectUnknown(NodeIndex from, NodeIndex to, std::size_t input, std::uint32_t connection) {
    const bool knownInput = input < inputCount(to);
    const Port port = knownInput ? portOf(to, input) : std::numeric_limits<Port>::max();
    if (knownInput) inputs[port].connectable = false;
    wires.push_back({from, to, port, connection, !knownInput});
}

template <class KeyOf>
void Wiring::Rows::build(std::size_t rowCount, std::size_t itemCount, KeyOf keyOf) {
    starts.assign(rowCount + 1, 0);
    for (std::uint32_t i = 0; i < itemCount; ++i) {
        if (const auto key = keyOf(i)) ++starts[*key + 1];
    }
    for (std::size_t row = 0; row < rowCount; ++row) starts[row + 1] += starts[row];
    items.resize(starts.back());
    auto next = starts;
    for (std::uint32_t i = 0; i < itemCount; ++i) {
        if (const auto key = keyOf(i)) items[next[*key]++] = i;
    }
}

void Wiring::finish() {
    byPort.build(inputs.size(), wires.size(), [this](std::uint32_t wire) {
        return wires[wire].lost ? std::nullopt : std::optional(wires[wire].port);
    });
    byNode.build(nodes.size(), wires.size(),
                 [this](std::uint32_t wire) { return std::optional(wires[wire].from); });
}

}  // namespace KelvaneSDK
