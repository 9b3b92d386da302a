#include "KelvaneSDK/DiagramCheck/FunctionTraits.h"

#include <algorithm>
#include <array>
#include <span>

#include "KelvaneSDK/ArrayVariables.h"
#include "KelvaneSDK/Kelvane/NodeRegistry.h"

namespace KelvaneSDK {

namespace {

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
    {"Trigger", forwards(0b10, false, Readiness::triggerInput)},
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
    {"Create sequence", {.readiness = Readiness::recordedInput}},
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

}  // namespace

FunctionTraits traitsOf(std::string_view function) {
    FunctionTraits traits;
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [&](const Row& r) { return r.name == function; });
    if (row != std::end(rows)) traits = row->traits;
    if (std::binary_search(std::begin(alwaysEmitting), std::end(alwaysEmitting), function))
        traits.alwaysEmits = true;
    traits.isKnown = NodeRegistry::library().find(NodeCategory::Function, function) != nullptr;
    return traits;
}

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
