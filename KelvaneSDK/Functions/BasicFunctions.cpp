#include <functional>

#include "KelvaneSDK/Functions/ElementArithmetic.h"
#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"

namespace KelvaneSDK {

namespace {

using Slot = TimestampedVariable;
using Type = ValueClass;

// The operations on payloads of one type. Integers are checked: an absent result is one that stops.
struct Sum {
    double operator()(double a, double b) const { return a + b; }
    Vector operator()(Vector a, Vector b) const { return a + b; }
    Orientation operator()(Orientation a, Orientation b) const { return a + b; }
    std::optional<std::int64_t> operator()(std::int64_t a, std::int64_t b) const { return checkedSum(a, b); }
};
struct Difference {
    double operator()(double a, double b) const { return a - b; }
    Vector operator()(Vector a, Vector b) const { return a - b; }
    Orientation operator()(Orientation a, Orientation b) const { return a - b; }
    std::optional<std::int64_t> operator()(std::int64_t a, std::int64_t b) const {
        return checkedDifference(a, b);
    }
};
struct Product {
    double operator()(double a, double b) const { return a * b; }
    Vector operator()(Vector a, Vector b) const { return a * b; }
    Orientation operator()(Orientation a, Orientation b) const { return a * b; }
    std::optional<std::int64_t> operator()(std::int64_t a, std::int64_t b) const {
        return checkedProduct(a, b);
    }
};
struct Quotient {
    double operator()(double a, double b) const { return a / b; }
    Vector operator()(Vector a, Vector b) const { return a / b; }
    Orientation operator()(Orientation a, Orientation b) const { return a / b; }
    std::optional<std::int64_t> operator()(std::int64_t a, std::int64_t b) const {
        return checkedQuotient(a, b);
    }
};
struct Scaled {
    double operator()(double factor, double value) const { return value * factor; }
    Vector operator()(double factor, Vector value) const { return value * factor; }
    Orientation operator()(double factor, Orientation value) const { return value * factor; }
};
struct Negated {
    double operator()(double value) const { return -value; }
    bool operator()(bool value) const { return !value; }
    Vector operator()(Vector value) const { return -value; }
    Orientation operator()(Orientation value) const { return -value; }
    std::optional<std::int64_t> operator()(std::int64_t value) const { return checkedDifference(0, value); }
};
struct Larger {
    double operator()(double a, double b) const { return a > b ? a : b; }
    std::int64_t operator()(std::int64_t a, std::int64_t b) const { return a > b ? a : b; }
};
struct Smaller {
    double operator()(double a, double b) const { return a < b ? a : b; }
    std::int64_t operator()(std::int64_t a, std::int64_t b) const { return a < b ? a : b; }
};

std::optional<Value> asValue(std::optional<bool> truth) {
    return truth ? std::optional<Value>(*truth) : std::nullopt;
}

// Which of a and b, as the comparison of a with b says.
OrPrevious chosen(std::optional<bool> first, const Slot& a, const Slot& b) {
    if (!first) return {};
    return {*first ? a.typedValue() : b.typedValue()};
}

template <auto compare, class Typed>
NodeClass comparison(SlotOperation which, const char* name, Typed typed, const char* description,
                     const char* words) {
    return operation(
               which, name, {scalar("a"), scalar("b")},
               [](const Slot& a, const Slot& b) { return asValue((a.*compare)(b)); }, typed, description)
        .output(Type::BooleanValue)
        .unsupported({Type::BooleanValue, Type::VectorValue, Type::OrientationValue, Type::FloatArrayVariable,
                      Type::IntegerArrayVariable, Type::BooleanArrayVariable, Type::StringArrayVariable,
                      Type::VectorArrayVariable, Type::OrientationArrayVariable})
        .keywords(words);
}

template <auto combine, class Typed>
NodeClass arithmetic(SlotOperation which, const char* name, Typed typed, const char* description,
                     const char* words) {
    return operation(
               which, name, {{"a"}, {"b"}}, [](const Slot& a, const Slot& b) { return (a.*combine)(b); },
               typed, description)
        .unsupported(
            {Type::BooleanValue, Type::BooleanArrayVariable, Type::StringValue, Type::StringArrayVariable})
        .keywords(words);
}

std::optional<std::string> noIntegerQuotient(std::span<const Value* const> values,
                                             std::span<const ValueClass>) {
    if (values[1]->get<std::int64_t>() != 0) return std::nullopt;
    return "an integer cannot be divided by 0";
}

std::optional<std::string> noIntegerFactor(std::span<const Value* const> values,
                                           std::span<const ValueClass> slots) {
    if (slots[1] != Type::IntegerValue && slots[1] != Type::IntegerArrayVariable) return std::nullopt;
    if (truncatedInteger(*values[0]->get<double>())) return std::nullopt;
    return "the factor must fit in a 64-bit integer to scale integers";
}

class AdderFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Adder",
                .inputs = {{"value"}},
                .description = "the running sum of all values since the last reset",
                .keywords = "accumulate total integrate",
                .keepsState = true,
                .forwards = {0},
                .operation = SlotOperation::add,
                // The first value is the sum as it is.
                .withoutOperation = WithoutOperation::emitsAnyway,
                .unsupported = {Type::BooleanValue, Type::BooleanArrayVariable, Type::SequenceArrayVariable}};
    }
    void process() override {
        if (!hasSum) {
            hasSum = true;
            return finish(value(0));
        }
        finishOrClear(previousOutput().add(input(0)));
    }
    void reset() override {
        hasSum = false;
        FunctionNode::reset();
    }

private:
    bool hasSum = false;
};

}  // namespace

NodeFamily basicFunctions() {
    using enum SlotOperation;
    const std::initializer_list<ValueClass> withoutOrder{Type::BooleanValue, Type::VectorValue,
                                                         Type::OrientationValue};
    return functionFamily(
        "Basic",
        {
            operation(
                isEqual, "Equal", {{"a"}, {"b"}},
                [](const Slot& a, const Slot& b) { return asValue(a.isEqual(b)); }, std::equal_to<>(),
                "true when a equals b exactly; silent when they cannot be compared")
                .output(Type::BooleanValue)
                .keywords("same compare =="),
            operation(
                isLarger, "Max", {scalar("a"), scalar("b")},
                [](const Slot& a, const Slot& b) { return chosen(a.isLarger(b), a, b); }, Larger(),
                "the larger of a and b; b when they are equal")
                .output(Type::ValueVariable)
                .keywords("maximum greater")
                .unsupported(withoutOrder),
            operation(
                isSmaller, "Min", {scalar("a"), scalar("b")},
                [](const Slot& a, const Slot& b) { return chosen(a.isSmaller(b), a, b); }, Smaller(),
                "the smaller of a and b; b when they are equal")
                .output(Type::ValueVariable)
                .keywords("minimum less")
                .unsupported(withoutOrder),
            comparison<&Slot::isLarger>(isLarger, "Larger", std::greater<>(), "true when a is larger than b",
                                        "greater above more compare >"),
            comparison<&Slot::isSmaller>(isSmaller, "Smaller", std::less<>(), "true when a is smaller than b",
                                         "less below fewer compare <"),
            comparison<&Slot::isLargerOrEqual>(isLargerOrEqual, "Larger or equal", std::greater_equal<>(),
                                               "true when a is larger than b or equal to it",
                                               "greater at least compare >="),
            comparison<&Slot::isSmallerOrEqual>(isSmallerOrEqual, "Smaller or equal", std::less_equal<>(),
                                                "true when a is smaller than b or equal to it",
                                                "less at most compare <="),
            arithmetic<&Slot::add>(add, "Add", Sum(),
                                   "a + b; texts are joined, sequences meet at the times of a",
                                   "plus sum concatenate +")
                .unsupported({Type::BooleanValue, Type::BooleanArrayVariable}),
            arithmetic<&Slot::subtract>(subtract, "Subtract", Difference(), "a - b", "minus difference -"),
            arithmetic<&Slot::multiply>(multiply, "Multiply", Product(),
                                        "a * b, component by component; the product of two rotations",
                                        "times product *"),
            arithmetic<&Slot::divide>(divide, "Divide", Quotient(),
                                      "a / b, component by component; a times the inverse of rotation b",
                                      "quotient ratio per /")
                .demands({"an integer b is not 0", {1}, noIntegerQuotient, false}),
            operation(
                scale, "Scale", {{"factor"}, {"value"}},
                [](double factor, const Slot& value) { return value.scale(factor); }, Scaled(),
                "the value times the factor; for integers the factor loses its fraction")
                .keywords("gain times multiply")
                .unsupported({Type::BooleanValue, Type::BooleanArrayVariable, Type::StringValue,
                              Type::StringArrayVariable})
                .demands({"for integers the factor fits in 64 bits", {0}, noIntegerFactor, false}),
            operation(
                negate, "Negate", {{"value"}}, [](const Slot& value) { return value.negate(); }, Negated(),
                "minus the value; for a boolean, not the value")
                .keywords("minus invert opposite not")
                .unsupported({Type::StringValue, Type::StringArrayVariable}),
            entry<AdderFunction>(),
        });
}

}  // namespace KelvaneSDK
