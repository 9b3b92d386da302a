#include "KelvaneSDK/Kelvane/NodeRegistry.h"

#include "KelvaneSDK/ConstantNode.h"
#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/InputStreamNode.h"
#include "KelvaneSDK/VariableOutputNode.h"

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

void NodeRegistry::add(const NodeFamily& family) {
    for (NodeClass nodeClass : family.classes) {
        const auto instance = nodeClass.make();
        if (instance->typeString.empty())
            stopProgram("a node class of the family \"" + std::string(family.title) +
                        "\" has no type string");
        nodeClass.family = family.title;
        byCategory[static_cast<std::size_t>(family.category)].insert_or_assign(instance->typeString,
                                                                               std::move(nodeClass));
    }
}

const NodeClass* NodeRegistry::find(NodeCategory category, std::string_view typeString) const {
    const auto& candidates = classes(category);
    const auto found = candidates.find(typeString);
    return found == candidates.end() ? nullptr : &found->second;
}

}  // namespace KelvaneSDK
