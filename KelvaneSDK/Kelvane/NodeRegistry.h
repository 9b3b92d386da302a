#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "KelvaneSDK/FunctionNode.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

/// One node class as the registry holds it: how to make a node, and what it says about itself.
///
/// What a row says beyond its name and sentence is added in the order in which people read it:
///
///     pure("Modulo", {{"x"}, {"y"}}, ..., "the remainder of x / y").silent("when y is 0")
class NodeClass {
public:
    using Make = std::unique_ptr<Node> (*)(const Declaration& declaration);

    /// A class with a declaration; `make` gives new, initialised nodes.
    static NodeClass declared(Declaration declaration, Make makeNode);
    /// A class that says nothing but `description` about itself.
    static NodeClass undeclared(std::string_view description, bool keepsState, bool hasOwnReadiness,
                                Make makeNode);

    /// A new node. It refers to the declaration: a copy of this class, such as a registry's, must outlive it.
    std::unique_ptr<Node> make() const { return maker(*facts); }
    /// What the class says about itself. Classes of the other categories than "Function" have a name, a
    /// description and slots.
    const Declaration& declaration() const { return *facts; }
    std::string_view description() const { return facts->description; }
    /// The family that lists the class ("Float signal"); set by the registry.
    std::string_view family = {};

    /// When a run emits nothing: "when y is 0".
    NodeClass silent(std::string_view when) && { return with(&Declaration::silentWhen, when); }
    /// Further words that people search for, between spaces.
    NodeClass keywords(std::string_view words) && { return with(&Declaration::keywords, words); }
    /// The type of an output that the function's result does not say.
    NodeClass output(ValueClass type) && { return with(&Declaration::output, type); }
    /// The value operation that the slots' types must have.
    NodeClass applies(SlotOperation operation) && { return with(&Declaration::operation, operation); }
    /// The types that the generic slots do not take.
    NodeClass unsupported(std::vector<ValueClass> types) && {
        return with(&Declaration::unsupported, std::move(types));
    }
    /// What is asked of the values beyond their types; may be said several times.
    NodeClass demands(Demand demand) && {
        facts->demands.push_back(demand);
        return std::move(*this);
    }
    /// Reads the slots of a class that declares nothing off a node of it.
    void complete(const Node& node);
    /// Changes anything else of the declaration.
    NodeClass also(void (*change)(Declaration&)) && {
        change(*facts);
        return std::move(*this);
    }

private:
    NodeClass(std::shared_ptr<Declaration> declaration, Make makeNode)
        : facts(std::move(declaration)), maker(makeNode) {}
    template <class T>
    NodeClass with(T Declaration::*member, T content) {
        (*facts).*member = std::move(content);
        return std::move(*this);
    }

    std::shared_ptr<Declaration> facts;
    Make maker;
};

/// Node classes of one category that belong together, in the order in which people should see them. Titles
/// and descriptions are static text.
struct NodeFamily {
    NodeCategory category;
    std::string_view title;
    std::vector<NodeClass> classes;
};

namespace ClassTraits {

template <class NodeType>
concept Declares = requires {
    { NodeType::declaration() } -> std::same_as<Declaration>;
};
template <class NodeType>
concept ResetsOnlySlots = std::is_same_v<decltype(&NodeType::reset), void (Node::*)()>;
template <class NodeType>
concept RunsByCommonRule = std::is_same_v<decltype(&NodeType::allInputsUpdated), bool (Node::*)() const> &&
    std::is_same_v<decltype(&NodeType::allInputsHaveValues), bool (Node::*)() const>;

}  // namespace ClassTraits

/// A class that declares itself: entry<CounterFunction>().
template <ClassTraits::Declares NodeType>
NodeClass entry() {
    return NodeClass::declared(NodeType::declaration(), [](const Declaration& declaration) {
        auto node = std::make_unique<NodeType>();
        node->declare(declaration);
        node->initialize();
        return std::unique_ptr<Node>(std::move(node));
    });
}

/// A class that declares nothing: entry<MyFunction>("what it does").
template <class NodeType>
NodeClass entry(std::string_view description) {
    return NodeClass::undeclared(description, !ClassTraits::ResetsOnlySlots<NodeType>,
                                 !ClassTraits::RunsByCommonRule<NodeType>,
                                 [](const Declaration&) { return createNode<NodeType>(); });
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
    /// name that is taken replaces the earlier one. A class without a type string, or that declares more
    /// inputs than mostDeclaredInputs, stops the program.
    void add(const NodeFamily& family);

    const Classes& classes(NodeCategory category) const {
        return byCategory[static_cast<std::size_t>(category)];
    }
    /// The class with this name, or null.
    const NodeClass* find(NodeCategory category, std::string_view typeString) const;

private:
    std::array<Classes, allNodeCategories.size()> byCategory;
    // Nodes of a class may outlive its place in the registry.
    std::vector<NodeClass> replaced;
};

/// Every function family of the library, in the order of the documentation.
std::vector<NodeFamily> functionFamilies();

}  // namespace KelvaneSDK
