#include "Pictures/TypeFlow.h"

#include "Pictures/Rows.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// What a generic slot takes on from a type: a list where it takes lists, an element where it takes those.
std::string adoptedName(ValueClass slot, const std::string& type) {
    constexpr std::string_view list = " array";
    if (!isGeneric(slot)) return std::string(typeString(slot));
    const bool isList = type.ends_with(list);
    if (slot == ValueClass::ArrayVariable && !isList) return type + std::string(list);
    if (slot == ValueClass::ValueVariable && isList) return type.substr(0, type.size() - list.size());
    return type;
}

/// Passes types along the wires until nothing is new: each function takes one on, once.
class TypeFlow {
public:
    TypeFlow(std::span<const Declaration* const> functions, std::span<const DrawnWire> all)
        : declarations(functions),
          wires(all),
          types(functions.size()),
          adopted(functions.size()),
          out(functions.size(), all.size(), [&](std::size_t i) { return all[i].from; }),
          in(functions.size(), all.size(), [&](std::size_t i) { return all[i].to; }) {}

    std::vector<NodeTypes> run(const DiagramInfo& document) && {
        for (std::size_t i = 0; i < types.size(); ++i) {
            const auto& record = document.nodes[i];
            if (declarations[i] == nullptr) {
                types[i].output = record.typeString;
                if (categoryNamed(record.classString).value_or(NodeCategory::Function) ==
                    NodeCategory::Function)
                    types[i].output = record.outputType.value_or("");
                fresh.push_back(i);
            } else if (!isGeneric(declarations[i]->output)) {
                types[i].output = typeString(declarations[i]->output);
                fresh.push_back(i);
            } else if (record.outputType && concreteClassNamed(*record.outputType)) {
                adopt(i, *record.outputType);
            }
            spread();
        }
        for (std::size_t i = 0; i < types.size(); ++i) nameInputs(i);
        return std::move(types);
    }

private:
    std::optional<ValueClass> slotOf(const DrawnWire& wire) const {
        if (wire.isFeedback || declarations[wire.to] == nullptr) return std::nullopt;
        return declarations[wire.to]->inputs[wire.input].type;
    }

    void adopt(std::size_t node, const std::string& type) {
        if (!adopted[node].empty()) return;
        adopted[node] = type;
        if (!isGeneric(declarations[node]->output)) return;
        types[node].output = adoptedName(declarations[node]->output, type);
        fresh.push_back(node);
    }

    void spread() {
        while (!fresh.empty()) {
            const auto node = fresh.back();
            fresh.pop_back();
            for (const auto wire : out.row(node)) {
                const auto slot = slotOf(wires[wire]);
                if (slot && isGeneric(*slot) && concreteClassNamed(types[node].output))
                    adopt(wires[wire].to, adoptedName(*slot, types[node].output));
            }
        }
    }

    void nameInputs(std::size_t node) {
        auto& inputs = types[node].inputs;
        if (declarations[node] != nullptr) {
            for (const auto& input : declarations[node]->inputs)
                inputs.push_back(adopted[node].empty() ? std::string(typeString(input.type))
                                                       : adoptedName(input.type, adopted[node]));
            if (types[node].output.empty()) types[node].output = typeString(declarations[node]->output);
            return;
        }
        for (const auto wire : in.row(node)) {
            const auto input = wires[wire].input;
            if (inputs.size() <= input) inputs.resize(input + 1);
            inputs[input] = types[wires[wire].from].output;
        }
    }

    std::span<const Declaration* const> declarations;
    std::span<const DrawnWire> wires;
    std::vector<NodeTypes> types;
    /// What the generic slots of each function took on.
    std::vector<std::string> adopted;
    const Rows out, in;
    std::vector<std::size_t> fresh;
};

}  // namespace

std::vector<NodeTypes> typesInDiagram(const DiagramInfo& document,
                                      std::span<const Declaration* const> declarations,
                                      std::span<const DrawnWire> wires) {
    return TypeFlow(declarations, wires).run(document);
}

}  // namespace kelvane
