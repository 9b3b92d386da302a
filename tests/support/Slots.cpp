#include "support/Slots.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "support/DiagramDocument.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

std::string describe(std::optional<bool> answer) { return !answer ? "absent" : *answer ? "true" : "false"; }

}  // namespace

std::unique_ptr<TimestampedVariable> slotHolding(const Value& value) {
    auto slot = makeSlot(*concreteClassNamed(valueTypeName(value.type())));
    slot->setValue(value);
    return slot;
}

std::string describe(const std::optional<Value>& value) {
    return value ? std::string(valueTypeName(value->type())) + " " + getValueString(*value) : "absent";
}

std::string apply(std::string_view operation, const Value& left, const Value& right) {
    const auto a = slotHolding(left), b = slotHolding(right);
    const auto* list = dynamic_cast<const ArrayVariable*>(a.get());
    if (operation == "add") return describe(a->add(*b));
    if (operation == "subtract") return describe(a->subtract(*b));
    if (operation == "multiply") return describe(a->multiply(*b));
    if (operation == "divide") return describe(a->divide(*b));
    if (operation == "scale") return describe(a->scale(right.as<double>()));
    if (operation == "negate") return describe(a->negate());
    if (operation == "isEqual") return describe(a->isEqual(*b));
    if (operation == "isLarger") return describe(a->isLarger(*b));
    if (operation == "isSmaller") return describe(a->isSmaller(*b));
    if (operation == "isSmallerOrEqual") return describe(a->isSmallerOrEqual(*b));
    if (operation == "isLargerOrEqual") return describe(a->isLargerOrEqual(*b));
    if (operation == "stringValue") return a->stringValue();
    if (operation == "sum") return describe(list != nullptr ? list->sum() : std::nullopt);
    if (operation == "sorted") return describe(list->sorted(right == Value("descending")));
    return "no such operation";
}

void expectOperations(std::initializer_list<OperationRow> rows) {
    for (const auto& [operation, left, right, expected] : rows) {
        EXPECT_EQ(apply(operation, left, right), expected) << describe(left) << " " << operation << " " << describe(right);
    }
}

void expectStops(std::initializer_list<OperationRow> rows) {
    for (const auto& row : rows) {
        EXPECT_STOP(apply(row.operation, row.left, row.right), "^" + std::string(row.expected) + "$");
    }
}

void expectParses(std::initializer_list<ParseRow> rows) {
    for (const auto& [before, text, expected, isRefused] : rows) {
        const auto slot = slotHolding(before);
        const CapturedDiagnostics diagnostics;
        slot->setValueFromString(text);
        EXPECT_EQ(describe(slot->value()), expected) << text;
        const auto line = "ERROR: converting " + std::string(text) + " to " + std::string(slot->typeString()) + " failed!";
        EXPECT_EQ(diagnostics.lines, std::vector(isRefused ? 1 : 0, line)) << text;
    }
}

double RandomPayloads::number() {
    const auto bits = random();
    double x = std::bit_cast<double>(bits);
    if (bits % 4 == 1) x = static_cast<double>(integer());
    if (bits % 4 == 2) x = std::round(static_cast<double>(bits >> 43) - 1e6) / 1000;
    if (bits % 4 == 3) x = std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(random() % 120) - 60);
    return onlyFinite && !std::isfinite(x) ? 0 : x;
}

std::vector<Value> RandomPayloads::values() {
    using Self = RandomPayloads;
    return {number(),
            integer(),
            truth(),
            vector(),
            orientation(),
            "(" + std::to_string(random()),
            Sequence(list(&Self::sample)),
            list(&Self::number),
            list(&Self::integer),
            list(&Self::truth),
            List<String>{"(a\n", " b", ""},
            list(&Self::vector),
            list(&Self::orientation)};
}

}  // namespace KelvaneSDK::testing_support
