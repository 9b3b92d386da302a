#include "KelvaneSDK/DiagramCheck/Evaluation.h"

#include <bit>

namespace KelvaneSDK {

namespace {

bool isSource(const CheckedNode& node) {
    // Of a node of unknown type nothing bad is assumed: it is reported itself.
    return node.shape == nullptr || node.is(NodeCategory::Constant) || node.is(NodeCategory::InputStream);
}

// Whether a node runs, given which of its inputs get values; one of them does.
template <class HasValue>
bool runsWith(const NodeShape& shape, HasValue has) {
    const std::size_t count = shape.inputs.size();
    switch (shape.traits.readiness) {
        case Readiness::anyInput:
            return true;
        case Readiness::selectedInput:
            return has(0) && (has(1) || has(2));
        default:
            for (std::size_t i = 0; i < count; ++i) {
                if (!has(i)) return false;
            }
            return true;
    }
}

}  // namespace

ValueType PayloadTypes::first() const { return static_cast<ValueType>(std::countr_zero(bits)); }

PayloadTypes PayloadTypes::onlyArrays() const {
    std::uint32_t scalars = 0;
    for (auto type = ValueType::Float; type < ValueType::FloatArray;
         type = ValueType(static_cast<unsigned>(type) + 1)) {
        scalars |= bit(type);
    }
    return PayloadTypes(bits & ~scalars);
}

Evaluation::Evaluation(const NodeTable& table, const Wiring& wires) : nodes(table), wiring(wires) {
    emits.resize(nodes.size());
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        emits[i] = supportsItsTypes(i) || nodes[i].shape->traits.emitsUnsupported;
    }
    const auto everyInputIsFed = [&](NodeIndex node) {
        for (std::size_t i = 0; i < wiring.inputCount(node); ++i) {
            if (wiring.isFree(wiring.portOf(node, i))) return false;
        }
        return true;
    };
    runs = spread(everyInputIsFed, [&](NodeIndex node) { return bool(emits[node]); });
    const auto emitsAlways = [&](NodeIndex node) {
        if (isSource(nodes[node])) return true;
        const FunctionTraits& traits = nodes[node].shape->traits;
        const bool comparesArrays =
            traits.operation == SlotOperation::isEqual && isArray(wiring.inputClass(wiring.firstPort(node)));
        return traits.alwaysEmits && supportsItsTypes(node) && !comparesArrays;
    };
    surely = spread(everyInputIsFed, emitsAlways);
    for (NodeIndex i = 0; i < nodes.size(); ++i) surely[i] = surely[i] && emitsAlways(i);
    spreadTypes();
}

bool Evaluation::supportsItsTypes(NodeIndex node) const {
    const CheckedNode& checked = nodes[node];
    if (!checked.is(NodeCategory::Function) || wiring.inputCount(node) == 0) return true;
    return supports(wiring.inputClass(wiring.portOf(node, wiring.inputCount(node) - 1)),
                    checked.shape->traits.operation);
}

template <class CanRun, class Emits>
std::vector<bool> Evaluation::spread(CanRun canRunWith, Emits emitting) const {
    std::vector<bool> reached(nodes.size()), portHasValue(wiring.portCount());
    std::vector<NodeIndex> open;
    const auto reach = [&](NodeIndex node) {
        reached[node] = true;
        if (emitting(node)) open.push_back(node);
    };
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        if (isSource(nodes[i]) || (wiring.inputCount(i) == 0)) reach(i);
    }
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        for (const auto index : wiring.wiresFrom(node)) {
            const Wire& wire = wiring.all()[index];
            if (wire.lost || portHasValue[wire.port]) continue;
            portHasValue[wire.port] = true;
            if (reached[wire.to] || !canRunWith(wire.to)) continue;
            const Port first = wiring.firstPort(wire.to);
            if (runsWith(*nodes[wire.to].shape,
                         [&](std::size_t i) { return bool(portHasValue[first + i]); })) {
                reach(wire.to);
            }
        }
    }
    return reached;
}

PayloadTypes Evaluation::typesInto(Port port) const {
    PayloadTypes types;
    for (const auto wire : wiring.wiresInto(port)) types = types | carried[wiring.all()[wire].from];
    return types;
}

PayloadTypes Evaluation::ownTypes(NodeIndex node) const {
    if (!canEmit(node)) return {};
    const auto outputClass = wiring.outputClass(node);
    const std::uint32_t forwarded = nodes[node].shape != nullptr ? nodes[node].shape->traits.forwards : 0;
    if (forwarded == 0) return outputClass ? PayloadTypes(*outputClass) : PayloadTypes();
    PayloadTypes types;
    for (std::size_t i = 0; i < wiring.inputCount(node); ++i) {
        if ((forwarded >> i & 1U) != 0) types = types | typesInto(wiring.portOf(node, i));
    }
    // A value of another kind stops the sorting.
    return nodes[node].shape->traits.operation == SlotOperation::sort ? types.onlyArrays() : types;
}

void Evaluation::spreadTypes() {
    carried.resize(nodes.size());
    std::vector<NodeIndex> open;
    for (NodeIndex i = nodes.size(); i-- > 0;) open.push_back(i);
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        const PayloadTypes types = ownTypes(node);
        if (types == carried[node]) continue;
        carried[node] = types;
        for (const auto index : wiring.wiresFrom(node)) {
            const Wire& wire = wiring.all()[index];
            if (!wire.lost && nodes[wire.to].is(NodeCategory::Function) &&
                nodes[wire.to].shape->traits.forwards != 0) {
                open.push_back(wire.to);
            }
        }
    }
}

}  // namespace KelvaneSDK
