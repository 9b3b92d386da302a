#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "KelvaneSDK/Node.h"

namespace KelvaneSDK {

/// One node class as the registry holds it: how to make a node, and what to tell people about it.
struct NodeClass {
    std::function<std::unique_ptr<Node>()> make;
    /// One sentence in a diagram author's words.
    std::string_view description;
    /// The class has a reset() of its own: what it gives may depend on earlier batches.
    bool hasState = false;
    /// The family that lists the class ("Float signal"); set by the registry.
    std::string_view family = {};
};

/// Node classes of one category that belong together, in the order in which people should see them. Titles
/// and descriptions are static text.
struct NodeFamily {
    NodeCategory category;
    std::string_view title;
    std::vector<NodeClass> classes;
};

template <class NodeType>
concept ResetsOnlySlots = std::is_same_v<decltype(&NodeType::reset), void (Node::*)()>;

/// The row of a class in its family: entry<AddFunction>("a + b").
template <class NodeType>
NodeClass entry(std::string_view description) {
    return {createNode<NodeType>, description, !ResetsOnlySlots<NodeType>};
}

/// A family of function classes.
inline NodeFamily functionFamily(std::string_view title, std::vector<NodeClass> classes) {
    return {NodeCategory::Function, title, std::move(classes)};
}

/// The node classes that diagrams can name, by category and type string.
class NodeRegistry {
public:
    /// The classes of one category by type string, in byte order.
    using Classes = std::map<std::string, NodeClass, std::less<>>;

    /// A registry with every class of the library.
    static const NodeRegistry& library();

    /// Enters a family's classes, each under the type string that a new instance reports. A class under a
    /// name that is taken replaces the earlier one. A class without a type string stops the program.
    void add(const NodeFamily& family);

    const Classes& classes(NodeCategory category) const {
        return byCategory[static_cast<std::size_t>(category)];
    }
    /// The class with this name, or null.
    const NodeClass* find(NodeCategory category, std::string_view typeString) const;

private:
    std::array<Classes, allNodeCategories.size()> byCategory;
};

/// Every function family of the library, in the order of the documentation.
std::vector<NodeFamily> functionFamilies();

}  // namespace KelvaneSDK
