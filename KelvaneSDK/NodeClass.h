#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "KelvaneSDK/Node.h"

namespace [[gnu::visibility("default")]] KelvaneSDK {

// What a class of nodes says about itself, and where the classes are listed. Rows (FunctionRows.h) fill in
// most of it by themselves; docs/node-classes.md leads through it.

/// A set of a function's inputs, by index from 0: which of them a demand is about, or which are passed on.
class InputSet {
public:
    /// {0, 2}: the first and the third input. Indices are below 32.
    constexpr InputSet() = default;
    constexpr InputSet(std::initializer_list<std::size_t> indices) {
        for (const auto index : indices) insert(index);
    }
    /// Adds an input.
    constexpr void insert(std::size_t index) { bits |= std::uint32_t{1} << index; }
    /// Whether the input is one of them; false for indices that no set can hold.
    constexpr bool contains(std::size_t index) const { return index < 32 && ((bits >> index) & 1) != 0; }
    constexpr bool empty() const { return bits == 0; }

private:
    std::uint32_t bits = 0;
};

/// An input slot of a function: `{"x", ValueClass::FloatValue, "metres"}`, or `{"value"}` for one that takes
/// anything.
struct InputDeclaration {
    /// What the slot is called; static text.
    const char* label = "";
    /// What it takes; by default, anything.
    ValueClass type = ValueClass::TimestampedVariable;
    /// What the values mean and their unit, where the label does not say it: "seconds", "counted from 0".
    std::string_view meaning = {};
};

/// The most inputs that a declared function can have.
inline constexpr std::size_t mostDeclaredInputs = 8;

/// When a function runs. Every rule also asks that the
/// values it mentions are there. A class that declares another rule than `allInputs` overrides
/// Node::allInputsUpdated() and Node::allInputsHaveValues() to match.
enum class Readiness : std::uint8_t {
    /// Every input has a new value.
    allInputs,
    /// Any input has a new value; the others may be empty.
    anyInput,
    /// The input that input 0 selects (1 when true, 2 when false) has a new value.
    selectedInput,
    /// Input 0 has a new value, and it is true.
    trueTrigger,
    /// Input 0 has a new value, or input 1 has one while input 0 is true.
    recording,
    /// A rule of the class that says nothing more about itself; the checker and the engine assume nothing.
    own,
};

/// The value operation that a function asks of its slots, by which the checker knows the types that it has no
/// result for: "Add" asks for add, "Order" for sort. Most are operations of TimestampedVariable by the same
/// name.
// clang-format off
enum class SlotOperation : std::uint8_t {
    none, add, subtract, multiply, divide, scale, negate,
    isEqual, isLarger, isSmaller, isSmallerOrEqual, isLargerOrEqual, sum, sort, writeJson,
};
// clang-format on

/// True when slots of this concrete class have the operation; for the generic classes that is still open, and
/// true is returned.
bool supports(ValueClass valueClass, SlotOperation operation);

/// What becomes of a function whose slots do not support its value operation: "Larger" of two orientations,
/// say, which a diagram may connect all the same. It runs and consumes its inputs in either case.
enum class WithoutOperation : std::uint8_t {
    /// The output loses its value, and nothing is emitted.
    clearsOutput,
    /// An output comes all the same, at least at times.
    emitsAnyway,
};

/// Something that a function asks of its inputs beyond their types, such as a length that is not negative.
/// Values that break it stop the function; the checker reports constants that do.
///
///     std::optional<std::string> isNotPositive(std::span<const Value* const> values, std::span<const
///     ValueClass>) {
///         const double step = values[1]->as<double>();
///         if (step > 0) return std::nullopt;
///         return "step is " + getValueString(step);
///     }
///     Demand{"step is above 0", {1}, isNotPositive}
struct Demand {
    /// What is asked, for people: "step is above 0".
    std::string_view text;
    /// The inputs that decide it.
    InputSet inputs;
    /// Why these values break it ("step is -1.0"), or absent when they do not. There is an entry per input of
    /// the function: those of `inputs` have a value, of the type of their slot; others may be null.
    std::optional<std::string> (*violation)(std::span<const Value* const> values,
                                            std::span<const ValueClass> slots) = nullptr;
    /// The function asks before each step. False for a demand that only holds for values that never change,
    /// because what comes of others depends on what was before, or has no end.
    bool isAskedEachStep = true;
};

namespace Rows {
struct RowCode;
}

/// Everything that a function says about itself, once, where it stands. The registry, the help, the checker
/// and the engine read it; no other place knows functions by name.
///
/// Texts are static. What is left out has the meaning that most functions want.
///
///     return {.name = "Hysteresis",
///             .inputs = {{"x", ValueClass::FloatValue},
///                        {"on", ValueClass::FloatValue, "switches on at this or above"},
///                        {"off", ValueClass::FloatValue, "switches off below this"}},
///             .output = ValueClass::BooleanValue,
///             .description = "true from when x reaches `on` until it falls below `off`",
///             .silentWhen = "until x has been outside the band from `off` to `on`",
///             .keepsState = true,
///             .demands = {{"off is at most on", {1, 2}, offAboveOn}}};
struct Declaration {
    /// The type string under which documents name the function.
    std::string_view name = {};
    /// In the order of their indices; mostDeclaredInputs at most.
    std::vector<InputDeclaration> inputs = {};
    /// The type of the output. A generic one takes on the type that the generic inputs do.
    ValueClass output = ValueClass::TimestampedVariable;
    /// One sentence in a diagram author's words, with units.
    std::string_view description = {};
    /// When the function runs and yet emits nothing: "while open is false". Empty: every run emits, as long
    /// as the value operation is supported. Only then is a ring of such functions known to be endless.
    std::string_view silentWhen = {};
    /// Further words that people search for: "greater above".
    std::string_view keywords = {};
    /// When it runs.
    Readiness readiness = Readiness::allInputs;
    /// What it emits may depend on earlier runs, until a reset.
    bool keepsState = false;
    /// The inputs whose values may become the output as they are, whatever their type.
    InputSet forwards = {};
    /// The generic inputs whose values are passed on or noticed without being read, so that any type will do.
    InputSet takesAnything = {};
    /// The value operation that decides which types it has a result for.
    SlotOperation operation = SlotOperation::none;
    /// What becomes of it for the others.
    WithoutOperation withoutOperation = WithoutOperation::clearsOutput;
    /// Without its operation the function prints an ERROR line.
    bool reportsUnsupported = false;
    /// What it asks of the values.
    std::vector<Demand> demands = {};
    /// The value classes that the generic slots do not support; connections do not consult it.
    std::vector<ValueClass> unsupported = {};
    /// False for a class that declares nothing: its slots are read off a new node, and nothing else is known.
    bool isDeclared = true;
    /// The engine's own: how nodes of a row compute.
    const Rows::RowCode* rowCode = nullptr;
};

/// One node class as the registry holds it: how to make a node, and what it says about itself. Copies share
/// the declaration.
///
/// What a row says beyond its name and sentence is added in the order in which people read it:
///
///     pure("Modulo", {{"x"}, {"y"}}, ..., "the remainder of x / y").silent("when y is 0")
class NodeClass {
public:
    /// Makes a node ready for use, which may refer to the declaration; makeDeclared() is one.
    using Make = std::unique_ptr<Node> (*)(const Declaration& declaration);

    /// A class with a declaration; `make` gives new, initialised nodes.
    static NodeClass declared(Declaration declaration, Make makeNode);
    /// A class that says nothing but `description` about itself.
    static NodeClass undeclared(std::string_view description, bool keepsState, bool hasOwnReadiness,
                                Make makeNode);

    /// A new node, with its slots and without an id. It refers to the declaration: a copy of this class, such
    /// as a registry's, must outlive it.
    std::unique_ptr<Node> make() const;
    /// What the class says about itself. Classes of the other categories than "Function" have a name, a
    /// description and slots.
    const Declaration& declaration() const { return *facts; }
    std::string_view description() const { return facts->description; }
    /// The family that lists the class ("Float signal"); set by the registry.
    std::string_view family = {};

    /// When a run emits nothing: "when y is 0".
    NodeClass&& silent(const char* when) && { return with(&Declaration::silentWhen, when); }
    /// Further words that people search for, between spaces.
    NodeClass&& keywords(const char* words) && { return with(&Declaration::keywords, words); }
    /// The type of an output that the function's result does not say.
    NodeClass&& output(ValueClass type) && { return with(&Declaration::output, type); }
    /// The value operation that the slots' types must have.
    NodeClass&& applies(SlotOperation operation) && { return with(&Declaration::operation, operation); }
    /// The types that the generic slots do not take.
    NodeClass&& unsupported(std::initializer_list<ValueClass> types) &&;
    /// What is asked of the values beyond their types; may be said several times.
    NodeClass&& demands(Demand demand) &&;
    /// Changes anything else of the declaration.
    NodeClass&& also(void (*change)(Declaration&)) &&;

private:
    friend class NodeRegistry;
    NodeClass(std::shared_ptr<Declaration> declaration, Make makeNode)
        : facts(std::move(declaration)), maker(makeNode) {}
    // Reads the slots of a class that declares nothing off a node of it.
    void complete(const Node& node);
    template <class T>
    NodeClass&& with(T Declaration::*member, std::type_identity_t<T> content) {
        (*facts).*member = std::move(content);
        return std::move(*this);
    }

    std::shared_ptr<Declaration> facts;
    Make maker;
};

/// Node classes of one category that belong together, in the order in which people should see them. Titles
/// and descriptions are static text. An application's own are of the category Function, which
/// functionFamily() makes: the other categories have exactly the library's classes.
struct NodeFamily {
    /// Which list of a document names the classes.
    NodeCategory category;
    /// "Float signal"
    std::string_view title;
    /// In the order of lists and pickers.
    std::vector<NodeClass> classes;
};

/// The node classes that diagrams can name, by category and type string. An engine begins with the library's
/// and takes those of its application by Kelvane::registerNodes(); readers, writers and the checker of
/// diagrams are given the registry by which they know functions and slots. Reading from several threads is
/// safe.
///
///     for (const auto& [name, nodeClass] : engine.nodeTypes().classes(NodeCategory::Function))
///         std::cout << nodeClass.family << ": " << name << ", " << nodeClass.description() << "\n";
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
    /// For lists and pickers: each class says what it does. Changes with add().
    const Classes& classes(NodeCategory category) const;
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
