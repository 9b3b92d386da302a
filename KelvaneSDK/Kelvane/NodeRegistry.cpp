#include "KelvaneSDK/NodeClass.h"

#include <utility>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"

namespace KelvaneSDK {

std::vector<NodeFamily> functionFamilies() {
    return {
        basicFunctions(),  flowFunctions(),  floatFunctions(), sequenceFunctions(),     quaternionFunctions(),
        vectorFunctions(), arrayFunctions(), logicFunctions(), trigonometryFunctions(), jsonOutputFunctions(),
    };
}

const NodeRegistry& NodeRegistry::library() {
    static const NodeRegistry registry = [] {
        NodeRegistry all;
        all.add(inputStreamNodes());
        all.add(constantNodes());
        for (const auto& family : functionFamilies()) all.add(family);
        all.add(variableOutputNodes());
        return all;
    }();
    return registry;
}

NodeClass NodeClass::declared(Declaration declaration, Make makeNode) {
    return {std::make_shared<Declaration>(std::move(declaration)), makeNode};
}

NodeClass NodeClass::undeclared(std::string_view description, bool keepsState, bool hasOwnReadiness,
                                Make makeNode) {
    return declared({.description = description,
                     .readiness = hasOwnReadiness ? Readiness::own : Readiness::allInputs,
                     .keepsState = keepsState,
                     .isDeclared = false},
                    makeNode);
}

std::unique_ptr<Node> NodeClass::make() const { return maker(*facts); }

NodeClass&& NodeClass::unsupported(std::initializer_list<ValueClass> types) && {
    facts->unsupported = types;
    return std::move(*this);
}

NodeClass&& NodeClass::demands(Demand demand) && {
    facts->demands.push_back(demand);
    return std::move(*this);
}

NodeClass&& NodeClass::also(void (*change)(Declaration&)) && {
    change(*facts);
    return std::move(*this);
}

void NodeClass::complete(const Node& node) {
    if (facts->isDeclared || !facts->inputs.empty()) return;
    for (const auto* slot : node.inputValues()) {
        facts->inputs.push_back({slot->label != nullptr ? slot->label : "", slot->valueClass()});
    }
    if (const auto* output = node.outputValue()) facts->output = output->valueClass();
    const auto unsupported = node.unsupportedTypes();
    facts->unsupported.assign(unsupported.begin(), unsupported.end());
}

void NodeRegistry::add(const NodeFamily& family) {
    for (NodeClass nodeClass : family.classes) {
        const auto& declaration = nodeClass.declaration();
        if (declaration.isDeclared && declaration.inputs.size() > mostDeclaredInputs)
            stopProgram("the node class \"" + std::string(declaration.name) + "\" declares more than " +
                        std::to_string(mostDeclaredInputs) + " inputs");
        const auto instance = nodeClass.make();
        if (instance->typeString.empty())
            stopProgram("a node class of the family \"" + std::string(family.title) +
                        "\" has no type string");
        nodeClass.complete(*instance);
        nodeClass.family = family.title;
        auto& classes = byCategory[static_cast<std::size_t>(family.category)];
        const auto [place, isNew] = classes.try_emplace(std::string(instance->typeString), nodeClass);
        if (isNew) continue;
        replaced.push_back(std::exchange(place->second, std::move(nodeClass)));
    }
}

const NodeRegistry::Classes& NodeRegistry::classes(NodeCategory category) const {
    return byCategory[static_cast<std::size_t>(category)];
}

const NodeClass* NodeRegistry::find(NodeCategory category, std::string_view typeString) const {
    const auto& candidates = classes(category);
    const auto found = candidates.find(typeString);
    return found == candidates.end() ? nullptr : &found->second;
}

}  // namespace KelvaneSDK
