#include "KelvaneSDK/TextForm/ConstantTypes.h"

#include <algorithm>

#include "KelvaneSDK/Kelvane/KeyOrder.h"
#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

namespace {

/// Passes types along the wires, each once.
class TypeSpread {
public:
    TypeSpread(std::vector<TypedNode>& typed, std::span<const TextWire> all)
        : nodes(typed),
          wires(all),
          adopted(typed.size()),
          out(orderBy(all.size(), [&](std::size_t i) { return all[i].from; })),
          known(typed.size()) {}

    void run() {
        for (const auto& wire : wires) {
            if (const auto slot = slotOf(wire); slot && !isGeneric(*slot)) offer(wire.from, *slot);
        }
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Declaration* const function = nodes[i].function;
            if (function != nullptr && !isGeneric(function->output)) nodes[i].type = function->output;
            if (!nodes[i].type) continue;
            learn(i, *nodes[i].type);
            if (function != nullptr && isGeneric(function->output)) adopt(i, *nodes[i].type);
            spread();
        }
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (nodes[i].look) offer(i, *nodes[i].look);
            spread();
        }
    }

private:
    std::optional<ValueClass> slotOf(const TextWire& wire) const {
        const auto& target = nodes[wire.to];
        if (target.function == nullptr) return target.type;
        return target.function->inputs[wire.input].type;
    }

    void learn(std::size_t node, ValueClass type) {
        if (known[node]) return;
        known[node] = true;
        nodes[node].type = type;
        fresh.push_back(node);
    }
    void offer(std::size_t node, ValueClass type) {
        if (nodes[node].isOpen) learn(node, type);
    }

    static std::optional<ValueClass> concrete(ValueClass slot, ValueClass type) {
        if (!isGeneric(slot)) return slot;
        const auto result = adoptedClass(slot, type);
        return result && !isGeneric(*result) ? result : std::nullopt;
    }

    // The generic slots of a function take a type together.
    void adopt(std::size_t node, ValueClass type) {
        if (adopted[node]) return;
        adopted[node] = true;
        const auto first = std::partition_point(wires.begin(), wires.end(),
                                                [&](const TextWire& wire) { return wire.to < node; });
        for (auto wire = first; wire != wires.end() && wire->to == node; ++wire) {
            if (const auto slot = concrete(*slotOf(*wire), type)) offer(wire->from, *slot);
        }
        if (const auto output = concrete(nodes[node].function->output, type)) learn(node, *output);
    }

    void spread() {
        while (!fresh.empty()) {
            const std::size_t node = fresh.back();
            fresh.pop_back();
            auto next = std::partition_point(out.begin(), out.end(),
                                             [&](std::size_t wire) { return wires[wire].from < node; });
            for (; next != out.end() && wires[*next].from == node; ++next) {
                const auto& wire = wires[*next];
                if (nodes[wire.to].function == nullptr || adopted[wire.to]) continue;
                const auto slot = *slotOf(wire);
                if (!isGeneric(slot)) continue;
                if (const auto type = concrete(slot, *nodes[node].type)) adopt(wire.to, *type);
            }
        }
    }

    std::vector<TypedNode>& nodes;
    std::span<const TextWire> wires;
    std::vector<bool> adopted;
    /// The wires by the node that they lead out of.
    std::vector<std::size_t> out;
    std::vector<bool> known;
    std::vector<std::size_t> fresh;
};

}  // namespace

void findConstantTypes(std::vector<TypedNode>& nodes, std::span<const TextWire> wires) {
    TypeSpread(nodes, wires).run();
}

std::optional<ValueClass> lookOf(std::string_view value, bool isQuoted) {
    if (isQuoted) return ValueClass::StringValue;
    if (value == "true" || value == "false") return ValueClass::BooleanValue;
    if (value.find_first_of("([") == std::string_view::npos) {
        return value.find_first_of(".eE") == std::string_view::npos ? ValueClass::IntegerValue
                                                                    : ValueClass::FloatValue;
    }
    const bool isFlat = value.find_first_of("([", 1) == std::string_view::npos &&
                        value.find_first_of("tf") == std::string_view::npos;
    const auto commas = std::count(value.begin(), value.end(), ',');
    if (isFlat && commas == 2) return ValueClass::VectorValue;
    if (isFlat && commas == 3) return ValueClass::OrientationValue;
    return std::nullopt;
}

}  // namespace KelvaneSDK
