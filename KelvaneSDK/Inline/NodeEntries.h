#pragma once

// What FunctionNode.h needs to be compiled into an application.

#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "KelvaneSDK/FunctionNode.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

template <class Item>
inline std::span<const Item> FunctionNode::items(std::size_t index) const {
    return input(index).items<Item>(PayloadType<List<Item>>::value);
}

template <class NodeType>
std::unique_ptr<Node> makeDeclared(const Declaration& declaration) {
    auto node = std::make_unique<NodeType>();
    node->declare(declaration);
    node->initialize();
    return node;
}

template <class NodeType>
NodeClass entry() requires requires {
    NodeType::declaration();
}
{ return NodeClass::declared(NodeType::declaration(), makeDeclared<NodeType>); }

template <class NodeType>
NodeClass entry(std::string_view description) {
    constexpr bool resetsOnlySlots = std::is_same_v<decltype(&NodeType::reset), void (Node::*)()>;
    constexpr bool runsByCommonRule =
        std::is_same_v<decltype(&NodeType::allInputsUpdated), bool (Node::*)() const> &&
        std::is_same_v<decltype(&NodeType::allInputsHaveValues), bool (Node::*)() const>;
    return NodeClass::undeclared(description, !resetsOnlySlots, !runsByCommonRule, [](const Declaration&) {
        std::unique_ptr<Node> node = std::make_unique<NodeType>();
        node->initialize();
        return node;
    });
}

inline NodeFamily functionFamily(std::string_view title, std::vector<NodeClass> classes) {
    return {NodeCategory::Function, title, std::move(classes)};
}

}  // namespace KelvaneSDK
