#include <cstdint>
#include <limits>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

// Two inputs of one type.
FunctionCase ofTwo(std::string name, std::string function, std::string type, std::string outputType, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {type, type}, std::move(outputType), std::move(steps)};
}

FunctionCase comparing(std::string function, std::string name, std::string type, std::vector<Step> steps) {
    return ofTwo(std::move(name), std::move(function), std::move(type), "Boolean", std::move(steps));
}

FunctionCase keeping(std::string name, std::string function, std::string type, std::vector<Step> steps) {
    return ofTwo(std::move(name), std::move(function), type, type, std::move(steps));
}

FunctionCase scaling(std::string name, std::string type, std::vector<Step> steps) {
    return {std::move(name), "Scale", {"Float", type}, type, std::move(steps)};
}

FunctionCase ofOne(std::string name, std::string function, std::string type, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {type}, type, std::move(steps)};
}

const Orientation i{1, 0, 0, 0}, j{0, 1, 0, 0}, k{0, 0, 1, 0};

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    Comparison, FunctionTest,
    testing::Values(
        comparing("Equal", "EqualFloats", "Float", {{{1., 1.}, true}, {{1., 2.}, false}, {{nan, nan}, false}}),
        comparing("Equal", "EqualIsSilentAboutListsOfTwoLengths", "Float array",
                  {{{List<double>{1, 2}, List<double>{1, 2}}, true},
                   {{List<double>{1, 2}, List<double>{1}}, none},
                   {{List<double>{}, List<double>{}}, true}}),
        FunctionCase{"EqualIsSilentAboutTwoTypes", "Equal", {"Float", "Integer"}, "Boolean", {{{1., 1}, none}}},
        comparing("Larger", "LargerFloats", "Float", {{{2., 1.}, true}, {{1., 1.}, false}, {{1., 2.}, false}, {{nan, 1.}, false}}),
        comparing("Smaller", "SmallerIntegers", "Integer", {{{1, 2}, true}, {{1, 1}, false}, {{2, 1}, false}, {{smallest, largest}, true}}),
        comparing("Larger or equal", "LargerOrEqualTexts", "String", {{{"b", "a"}, true}, {{"a", "a"}, true}, {{"a", "b"}, false}}),
        comparing("Smaller or equal", "SmallerOrEqualFloats", "Float", {{{1., 2.}, true}, {{1., 1.}, true}, {{2., 1.}, false}, {{1., nan}, false}}),
        comparing("Larger", "LargerIsSilentAboutVectors", "Vector", {{{Vector{2, 2, 2}, Vector{}}, none}})),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Extremes, FunctionTest,
    testing::Values(
        // The signs of the zeros tell which input was taken.
        keeping("MaxTakesTheSecondOfEquals", "Max", "Float", {{{0., -0.}, -0.}, {{-0., 0.}, 0.}, {{2., 1.}, 2.}, {{nan, 1.}, 1.}, {{1., nan}, nan}}),
        keeping("MinTakesTheSecondOfEquals", "Min", "Float", {{{0., -0.}, -0.}, {{-0., 0.}, 0.}, {{2., 1.}, 1.}, {{nan, 1.}, 1.}})),
    caseName);

// An output that comes from the document is emitted again when the inputs cannot be compared.
TEST(MaxFunctionTest, RepeatsItsOutputWhenTheInputsHaveNoOrder) {
    for (const std::string name : {"Max", "Min"}) {
        DiagramDocument document;
        const auto node = document.function(name), stamp = document.function("Timestamp");
        document.outputType(node, "Boolean");
        document.property(node, "OutputValue", "true");
        for (const int input : {0, 1}) {
            document.connect(document.stream("Boolean", "in" + std::to_string(input)), node, input);
        }
        document.connect(node, stamp);
        document.connect(node, document.output("Boolean", "out"));
        document.connect(stamp, document.output("Float", "stamp"));
        Kelvane engine;
        ASSERT_TRUE(engine.read(document.text(), true));
        for (const double t : {4., 7.}) {
            const LabelledValues expected{{"out", true}, {"stamp", t}};
            EXPECT_EQ(engine.evaluate({t, {{"in0", false}, {"in1", false}}}).outputs, expected);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Arithmetic, FunctionTest,
    testing::Values(keeping("AddFloats", "Add", "Float", {{{1.5, 2.}, 3.5}, {{infinity, -infinity}, nan}}),
                    keeping("AddIntegersChecked", "Add", "Integer", {{{2, 3}, 5}, {{largest, 1}, stops("addition overflows")}}),
                    keeping("AddIsSilentAboutBooleans", "Add", "Boolean", {{{true, true}, none}}),
                    FunctionCase{"AddStopsAtAnotherType",
                                 "Add",
                                 {"Float", "Integer"},
                                 "Float",
                                 {{{1., 1}, stops("input \"b\" holds a value of type Integer where Float is needed")}}},
                    keeping("SubtractTakesTheSecondFromTheFirst", "Subtract", "Float", {{{5., 2.}, 3.}}),
                    keeping("SubtractIsSilentAboutTexts", "Subtract", "String", {{{"ab", "b"}, none}}),
                    keeping("MultiplyRotationsInOrder", "Multiply", "Orientation", {{{i, j}, k}, {{j, i}, Orientation{0, 0, -1, 0}}}),
                    keeping("DivideFloatsByZero", "Divide", "Float", {{{7., 2.}, 3.5}, {{1., 0.}, infinity}, {{0., 0.}, nan}}),
                    keeping("DivideIntegersTowardZero", "Divide", "Integer",
                            {{{7, -2}, -3}, {{1, 0}, stops("division is by zero")}, {{smallest, -1}, stops("overflows 64 bits")}}),
                    scaling("ScaleTakesTheFactorFirst", "Vector", {{{2., Vector{1, 2, 3}}, Vector{2, 4, 6}}}),
                    scaling("ScaleTruncatesTheFactorOfIntegers", "Integer",
                            {{{2.7, 10}, 20}, {{-1.9, 10}, -10}, {{nan, 10}, stops("scale factor nan is no 64-bit integer")}}),
                    scaling("ScaleIsSilentAboutTexts", "String", {{{2., "a"}, none}}),
                    ofOne("NegateFloat", "Negate", "Float", {{{1.5}, -1.5}, {{0.}, -0.}}),
                    ofOne("NegateInteger", "Negate", "Integer", {{{5}, -5}, {{smallest}, stops("negation overflows")}}),
                    ofOne("NegateIsNotForBooleans", "Negate", "Boolean", {{{true}, false}, {{false}, true}}),
                    ofOne("NegateIsSilentAboutTexts", "Negate", "String", {{{"a"}, none}})),
    caseName);

INSTANTIATE_TEST_SUITE_P(Adder, FunctionTest,
                         testing::Values(ofOne("AddsUpSinceTheReset", "Adder", "Float",
                                               {{{1.}, 1.}, {{2.}, 3.}, {{3.}, 6.}, resetStep, {{10.}, 10.}, {{1.}, 11.}}),
                                         ofOne("AddsUpTexts", "Adder", "String", {{{"a"}, "a"}, {{"b"}, "ab"}, {{"c"}, "abc"}}),
                                         ofOne("PassesOnlyTheFirstBoolean", "Adder", "Boolean",
                                               {{{true}, true}, {{true}, none}, {{true}, none}, resetStep, {{false}, false}})),
                         caseName);

}  // namespace KelvaneSDK::testing_support
