#include "KelvaneSDK/DiagramCheck/WiringReading.h"

#include <algorithm>

namespace KelvaneSDK {

namespace {

// Whether values of this class, though it has the operation, may be such that there is no result: lists of
// different lengths are not compared.
bool mayBeAbsent(ValueClass valueClass, SlotOperation operation) {
    return operation == SlotOperation::isEqual &&
           (isArray(valueClass) || valueClass == ValueClass::SequenceValue);
}

bool isSource(const CheckedNode& node) {
    return node.node == nullptr || node.is(NodeCategory::Constant) || node.is(NodeCategory::InputStream);
}

// Whether a node runs, given which of its inputs get values; one of them does.
template <class HasValue>
bool runsWith(const CheckedNode& node, HasValue has) {
    const auto readiness = node.declaration != nullptr ? node.declaration->readiness : Readiness::allInputs;
    if (readiness == Readiness::anyInput || readiness == Readiness::own) return true;
    if (readiness == Readiness::selectedInput) return has(0) && (has(1) || has(2));
    for (std::size_t i = 0; i < node.inputs().size(); ++i) {
        if (!has(i)) return false;
    }
    return true;
}

}  // namespace

PayloadTypes typesOf(ValueClass valueClass) {
    const auto type = payloadType(valueClass);
    return type ? PayloadTypes().set(static_cast<std::size_t>(*type)) : PayloadTypes();
}

WiringReading::WiringReading(const CheckedDiagram& checked) : diagram(checked) {
    spreadDoubt();
    runs = spread(false);
    spreadTypes();
    runsSurely = spread(true);
}

void WiringReading::spreadDoubt() {
    doubtful.resize(diagram.size());
    std::vector<NodeIndex> open;
    const auto doubt = [&](NodeIndex node) {
        if (doubtful[node]) return;
        doubtful[node] = true;
        open.push_back(node);
    };
    for (NodeIndex i = 0; i < diagram.size(); ++i) {
        if (diagram[i].node == nullptr || diagram[i].lacksFeeder) doubt(i);
        for (Port port = diagram.firstPort(i); port < diagram.firstPort(i) + diagram[i].inputs().size();
             ++port) {
            if (diagram.isMarkedUnfed(port)) doubt(i);
        }
    }
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        for (const auto wire : diagram.wiresFrom(node)) doubt(diagram.allWires()[wire].to);
    }
}

bool WiringReading::supportsItsTypes(NodeIndex node) const {
    const auto inputs = diagram[node].inputs();
    return diagram[node].declaration == nullptr || inputs.empty() ||
           supports(inputs.back()->valueClass(), diagram[node].declaration->operation);
}

bool WiringReading::mayEmit(NodeIndex node) const {
    return supportsItsTypes(node) ||
           diagram[node].declaration->withoutOperation == WithoutOperation::emitsAnyway;
}

bool WiringReading::emitsAlways(NodeIndex node) const {
    if (isSource(diagram[node])) return true;
    const auto* const declaration = diagram[node].declaration;
    if (declaration == nullptr || !declaration->isDeclared || !declaration->silentWhen.empty() ||
        !declaration->demands.empty() || !supportsItsTypes(node)) {
        return false;
    }
    const auto operand = diagram[node].inputs().empty() ? ValueClass::TimestampedVariable
                                                        : diagram[node].inputs().back()->valueClass();
    const bool mayOverflow =
        declaration->operation != SlotOperation::none &&
        diagram[node].outputClass() != ValueClass::BooleanValue &&
        (operand == ValueClass::IntegerValue || operand == ValueClass::IntegerArrayVariable);
    return !mayOverflow && !mayBeAbsent(operand, declaration->operation) &&
           (declaration->readiness == Readiness::allInputs || declaration->readiness == Readiness::anyInput);
}

bool WiringReading::takesWhatComes(NodeIndex node) const {
    const auto inputs = diagram[node].inputs();
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const auto* const declaration = diagram[node].declaration;
        if (declaration != nullptr && declaration->takesAnything.contains(i)) continue;
        const auto types = typesInto(diagram.firstPort(node) + static_cast<Port>(i));
        if ((types & ~typesOf(inputs[i]->valueClass())).any()) return false;
    }
    return true;
}

std::vector<bool> WiringReading::spread(bool surely) const {
    std::vector<bool> reached(diagram.size()), hasValue(diagram.portCount());
    std::vector<NodeIndex> open;
    const auto reach = [&](NodeIndex node) {
        const Port first = diagram.firstPort(node);
        if (reached[node] || diagram.hasFreeInput(node) || (surely && !takesWhatComes(node)) ||
            !runsWith(diagram[node], [&](std::size_t i) { return bool(hasValue[first + i]); })) {
            return;
        }
        reached[node] = true;
        if (surely ? emitsAlways(node) : mayEmit(node)) open.push_back(node);
    };
    for (NodeIndex i = 0; i < diagram.size(); ++i) {
        const std::size_t count = diagram[i].inputs().size();
        bool hasAny = count == 0;
        for (Port port = diagram.firstPort(i); !surely && port < diagram.firstPort(i) + count; ++port) {
            hasValue[port] =
                diagram.isMarkedUnfed(port) || (diagram[i].lacksFeeder && diagram.wiresInto(port).empty());
            hasAny = hasAny || hasValue[port];
        }
        if (hasAny) reach(i);
    }
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        for (const auto index : diagram.wiresFrom(node)) {
            const Wire& wire = diagram.allWires()[index];
            if (wire.lost || hasValue[diagram.portOf(wire)]) continue;
            hasValue[diagram.portOf(wire)] = true;
            reach(wire.to);
        }
    }
    return reached;
}

void WiringReading::spreadTypes() {
    carried.resize(diagram.size());
    arriving.resize(diagram.portCount());
    std::vector<NodeIndex> open;
    const auto carry = [&](NodeIndex node, PayloadTypes types) {
        if ((carried[node] | types) == carried[node]) return;
        carried[node] |= types;
        open.push_back(node);
    };
    const auto forwarded = [&](NodeIndex node) {
        return diagram[node].declaration != nullptr ? diagram[node].declaration->forwards : InputSet();
    };
    for (NodeIndex i = 0; i < diagram.size(); ++i) {
        const auto outputClass = diagram[i].outputClass();
        if (canEmit(i) && outputClass && forwarded(i).empty()) carry(i, typesOf(*outputClass));
    }
    while (!open.empty()) {
        const NodeIndex node = open.back();
        open.pop_back();
        for (const auto index : diagram.wiresFrom(node)) {
            const Wire& wire = diagram.allWires()[index];
            if (wire.lost) continue;
            auto& types = arriving[diagram.portOf(wire)];
            types |= carried[node];
            if (canEmit(wire.to) && forwarded(wire.to).contains(wire.input)) carry(wire.to, types);
        }
    }
}

std::optional<NodeIndex> WiringReading::constantInto(NodeIndex node, std::size_t input) const {
    if (input >= diagram[node].inputs().size()) return std::nullopt;
    const auto feeding = diagram.wiresInto(diagram.firstPort(node) + static_cast<Port>(input));
    if (feeding.size() != 1) return std::nullopt;
    const NodeIndex source = diagram.allWires()[feeding.front()].from;
    if (!diagram[source].is(NodeCategory::Constant)) return std::nullopt;
    const auto* const output = diagram[source].node->outputValue();
    if (output == nullptr || !output->hasValue()) return std::nullopt;
    const bool fits = payloadType(diagram[node].inputs()[input]->valueClass()) == output->payload()->type();
    return fits ? std::optional(source) : std::nullopt;
}

}  // namespace KelvaneSDK
