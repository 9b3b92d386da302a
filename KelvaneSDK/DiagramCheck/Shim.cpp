// Shim until the families declare themselves.
#include <algorithm>
#include <deque>
#include <map>
#include <unordered_map>

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/Declaration.h"
#include "KelvaneSDK/DiagramCheck/Shim.h"
#include "KelvaneSDK/Kelvane/SettledOrder.h"
namespace KelvaneSDK {
namespace {
struct FunctionTraits {
    SlotOperation operation = SlotOperation::none;
    std::uint32_t takesAnything = 0;
    std::uint32_t forwards = 0;
    bool alwaysEmits = false;
    bool emitsUnsupported = false;
    bool reportsUnsupported = false;
    bool isKnown = false;
    Readiness readiness = Readiness::allInputs;
};
struct Row {
    std::string_view name;
    FunctionTraits traits;
};

using enum SlotOperation;

constexpr FunctionTraits operates(SlotOperation operation) {
    return {.operation = operation, .alwaysEmits = true};
}
constexpr FunctionTraits forwards(std::uint32_t inputs, bool alwaysEmits = false,
                                  Readiness readiness = Readiness::allInputs) {
    return {.takesAnything = inputs, .forwards = inputs, .alwaysEmits = alwaysEmits, .readiness = readiness};
}
constexpr FunctionTraits observes(std::uint32_t inputs) {
    return {.takesAnything = inputs, .alwaysEmits = true};
}

constexpr Row rows[] = {
    {"Equal", operates(isEqual)},
    {"Max", operates(isLarger)},
    {"Min", operates(isSmaller)},
    {"Larger", operates(isLarger)},
    {"Smaller", operates(isSmaller)},
    {"Larger or equal", operates(isLargerOrEqual)},
    {"Smaller or equal", operates(isSmallerOrEqual)},
    {"Add", operates(add)},
    {"Subtract", operates(subtract)},
    {"Multiply", operates(multiply)},
    {"Divide", operates(divide)},
    {"Scale", operates(scale)},
    {"Negate", operates(negate)},
    // The first value is the sum as it is.
    {"Adder", {.operation = add, .forwards = 0b1, .alwaysEmits = true, .emitsUnsupported = true}},
    {"Array sum", operates(sum)},
    // An empty list is in order, whatever its type.
    {"Order",
     {.operation = sort,
      .forwards = 0b10,
      .alwaysEmits = true,
      .emitsUnsupported = true,
      .reportsUnsupported = true}},
    {"Pass-through", forwards(0b1, true)},
    {"Pass updated", forwards(0b11, true, Readiness::anyInput)},
    {"Buffer", forwards(0b10)},
    {"Gate", forwards(0b10)},
    {"Trigger", forwards(0b10, false, Readiness::trueTrigger)},
    {"Switch", forwards(0b110, false, Readiness::selectedInput)},
    {"Timestamp", observes(0b1)},
    {"Updated", observes(0b1)},
    {"Update counter", observes(0b1)},
    {"JSON output",
     {.operation = writeJson,
      .takesAnything = 0b100,
      .alwaysEmits = true,
      .emitsUnsupported = true,
      .reportsUnsupported = true}},
    {"Create sequence", {.readiness = Readiness::recording}},
};

// Functions of fixed types that give an output in every evaluation.
constexpr std::string_view alwaysEmitting[] = {"Absolute",
                                               "Add to array",
                                               "And",
                                               "Array absolute",
                                               "Average",
                                               "Clip",
                                               "Cosine",
                                               "Degrees to radians",
                                               "Distance",
                                               "Euler to quaternion",
                                               "Float",
                                               "Float interpolation",
                                               "Inverse cosine",
                                               "Inverse sine",
                                               "Inverse tangent",
                                               "Limiter",
                                               "Make quaternion",
                                               "Make vector",
                                               "Maximum",
                                               "Minimum",
                                               "Normalize quaternion",
                                               "Normalize vector",
                                               "Not",
                                               "Number of elements",
                                               "Or",
                                               "Power",
                                               "Quaternion",
                                               "Quaternion angle",
                                               "Quaternion axis",
                                               "Quaternion interpolation",
                                               "Quaternion spline",
                                               "Quaternion to Euler",
                                               "Radians to degrees",
                                               "Rotation matrix to quaternion",
                                               "Round",
                                               "Sequence timestamps",
                                               "Sequence values",
                                               "Shift elements",
                                               "Shift time",
                                               "Sine",
                                               "Tangent",
                                               "Toggled",
                                               "Vector angle",
                                               "Vector cross product",
                                               "Vector dot product",
                                               "Vector length",
                                               "Vector x-coordinate",
                                               "Vector y-coordinate",
                                               "Vector z-coordinate",
                                               "Xor"};
static_assert(std::is_sorted(std::begin(alwaysEmitting), std::end(alwaysEmitting)));

// A value on which no operation of its class stops.
Value probeValue(ValueClass valueClass) {
    if (valueClass == ValueClass::IntegerValue) return Value(1);
    return *makeSlot(valueClass, true)->value();
}


InputSet setOf(std::uint32_t bits){ InputSet s; if(bits==1)s={0}; if(bits==2)s={1}; if(bits==3)s={0,1}; if(bits==4)s={2}; if(bits==6)s={1,2}; return s;}
template<std::size_t i> std::optional<std::string> notZero(std::span<const Value* const> v){ const auto x=v[i]->get<std::int64_t>(); if(x&&*x==0) return "the divisor is 0"; return std::nullopt; }
}
const Declaration* declarationOf(const NodeClass&, const Node& node) {
    static std::map<std::string, Declaration> known;
    auto [at,isNew]=known.try_emplace(node.typeString);
    if(isNew){
        FunctionTraits traits;
        const auto row = std::find_if(std::begin(rows), std::end(rows), [&](const Row& r) { return r.name == node.typeString; });
        if (row != std::end(rows)) traits = row->traits;
        if (std::binary_search(std::begin(alwaysEmitting), std::end(alwaysEmitting), node.typeString)) traits.alwaysEmits = true;
        for(auto n:{"Cap values","Select interval","Intersections"}) if(node.typeString==n) traits.alwaysEmits=true;
        auto& d=at->second;
        d.operation=traits.operation; d.takesAnything=setOf(traits.takesAnything); d.forwards=setOf(traits.forwards);
        d.silentWhen=traits.alwaysEmits?"":"at times"; d.withoutOperation=traits.emitsUnsupported?WithoutOperation::emitsAnyway:WithoutOperation::clearsOutput;
        d.reportsUnsupported=traits.reportsUnsupported; d.readiness=traits.readiness;
        if(NodeRegistry::library().find(NodeCategory::Function,node.typeString)==nullptr) d.readiness=Readiness::own;
        if(node.typeString=="Divide") d.demands.push_back({"b is not 0",{1},notZero<1>});
    }
    return &at->second;
}
SettledOrder settle(std::span<Node* const> functionNodes, Pass pass){
    SettledOrder r;
    std::unordered_map<const Node*, std::size_t> missing;
    std::unordered_map<const TimestampedVariable*, bool> ready;
    std::unordered_map<const TimestampedVariable*, bool> fedByFunction;
    for(auto*n:functionNodes) for(auto*s:n->connectedInputValues()) fedByFunction[s]=true;
    std::vector<Node*> open;
    for(auto*n:functionNodes){ auto&m=missing[n]; for(auto*s:n->inputValues()){ bool rd=s->connectable||!fedByFunction[s]; auto it=shimReady.find(s); if(it!=shimReady.end()) rd=rd||it->second==2||(it->second==1&&pass==Pass::first); ready[s]=rd; if(!rd)++m; } if(m==0) open.push_back(n);}
    while(!open.empty()){ auto*n=open.back(); open.pop_back(); r.order.push_back(n); for(auto*s:n->connectedInputValues()){ auto it=ready.find(s); if(it==ready.end()||it->second) continue; it->second=true; if(--missing[s->owner]==0) open.push_back(s->owner);} }
    for(auto*n:functionNodes) if(missing[n]>0) r.waiting.push_back(n);
    return r;
}
std::unordered_map<const TimestampedVariable*, int> shimReady;
bool supports(ValueClass valueClass, SlotOperation operation) {
    if (isGeneric(valueClass)) return true;
    const auto slot = makeSlot(valueClass);
    slot->setValue(probeValue(valueClass));
    switch (operation) {
        case none:
            return true;
        case add:
            return slot->add(*slot).has_value();
        case subtract:
            return slot->subtract(*slot).has_value();
        case multiply:
            return slot->multiply(*slot).has_value();
        case divide:
            return slot->divide(*slot).has_value();
        case scale:
            return slot->scale(1).has_value();
        case negate:
            return slot->negate().has_value();
        case isEqual:
            return slot->isEqual(*slot).has_value();
        case isLarger:
            return slot->isLarger(*slot).has_value();
        case isSmaller:
            return slot->isSmaller(*slot).has_value();
        case isLargerOrEqual:
            return slot->isLargerOrEqual(*slot).has_value();
        case isSmallerOrEqual:
            return slot->isSmallerOrEqual(*slot).has_value();
        case sum: {
            const auto* array = dynamic_cast<const ArrayVariable*>(slot.get());
            return array == nullptr || array->sum().has_value();
        }
        case writeJson:
            return !isArray(valueClass) || valueClass == ValueClass::FloatArrayVariable;
        case sort:
            break;
    }
    // Sorting reports what it cannot do, so it is not tried out.
    return valueClass != ValueClass::VectorArrayVariable &&
           valueClass != ValueClass::OrientationArrayVariable &&
           valueClass != ValueClass::SequenceArrayVariable;
}

}  // namespace KelvaneSDK
