#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

constexpr std::int64_t smallest = INT64_MIN, largest = INT64_MAX;
const Orientation i{1, 0, 0, 0}, j{0, 1, 0, 0}, k{0, 0, 1, 0};

const FunctionCase cases[] = {
    {"Equal(Float, Float) > Boolean: Floats", {{{1., 1.}, true}, {{1., 2.}, false}, {{nan, nan}, false}}},
    {"Equal(Float array, Float array) > Boolean: IsSilentAboutListsOfTwoLengths",
     {{{Floats{1, 2}, Floats{1, 2}}, true}, {{Floats{1, 2}, Floats{1}}, none}, {{Floats{}, Floats{}}, true}}},
    {"Equal(Float, Integer) > Boolean: IsSilentAboutTwoTypes", {{{1., 1}, none}}},
    {"Larger(Float, Float) > Boolean: Floats", {{{2., 1.}, true}, {{1., 1.}, false}, {{1., 2.}, false}, {{nan, 1.}, false}}},
    {"Smaller(Integer, Integer) > Boolean: Integers", {{{1, 2}, true}, {{1, 1}, false}, {{2, 1}, false}, {{smallest, largest}, true}}},
    {"Larger or equal(String, String) > Boolean: Texts", {{{"b", "a"}, true}, {{"a", "a"}, true}, {{"a", "b"}, false}}},
    {"Smaller or equal(Float, Float) > Boolean: Floats", {{{1., 2.}, true}, {{1., 1.}, true}, {{2., 1.}, false}, {{1., nan}, false}}},
    {"Larger(Vector, Vector) > Boolean: IsSilentAboutVectors", {{{Vector{2, 2, 2}, Vector{}}, none}}},
    // The signs of the zeros tell which input was taken.
    {"Max(Float, Float) > Float: TakesTheSecondOfEquals", {{{0., -0.}, -0.}, {{-0., 0.}, 0.}, {{2., 1.}, 2.}, {{nan, 1.}, 1.}, {{1., nan}, nan}}},
    {"Min(Float, Float) > Float: TakesTheSecondOfEquals", {{{0., -0.}, -0.}, {{-0., 0.}, 0.}, {{2., 1.}, 1.}, {{nan, 1.}, 1.}}},
    {"Add(Float, Float) > Float: Floats", {{{1.5, 2.}, 3.5}, {{infinity, -infinity}, nan}}},
    {"Add(Integer, Integer) > Integer: IntegersChecked", {{{2, 3}, 5}, {{largest, 1}, stops("addition overflows")}}},
    {"Add(Boolean, Boolean) > Boolean: IsSilentAboutBooleans", {{{true, true}, none}}},
    {"Add(Float, Integer) > Float: StopsAtAnotherType", {{{1., 1}, stops("input \"b\" holds a value of type Integer where Float is needed")}}},
    {"Subtract(Float, Float) > Float: TakesTheSecondFromTheFirst", {{{5., 2.}, 3.}}},
    {"Multiply(Orientation, Orientation) > Orientation: RotationsInOrder", {{{i, j}, k}, {{j, i}, Orientation{0, 0, -1, 0}}}},
    {"Divide(Float, Float) > Float: FloatsByZero", {{{7., 2.}, 3.5}, {{1., 0.}, infinity}, {{0., 0.}, nan}}},
    {"Divide(Integer, Integer) > Integer: IntegersTowardZero",
     {{{7, -2}, -3}, {{1, 0}, stops("division is by zero")}, {{smallest, -1}, stops("overflows 64 bits")}}},
    {"Scale(Float, Vector) > Vector: TakesTheFactorFirst", {{{2., Vector{1, 2, 3}}, Vector{2, 4, 6}}}},
    {"Scale(Float, Integer) > Integer: TruncatesTheFactorOfIntegers",
     {{{2.7, 10}, 20}, {{-1.9, 10}, -10}, {{nan, 10}, stops("scale factor nan is no 64-bit integer")}}},
    {"Scale(Float, String) > String: IsSilentAboutTexts", {{{2., "a"}, none}}},
    {"Negate(Float) > Float: Float", {{{1.5}, -1.5}, {{0.}, -0.}}},
    {"Negate(Integer) > Integer: Integer", {{{5}, -5}, {{smallest}, stops("negation overflows")}}},
    {"Negate(Boolean) > Boolean: IsNotForBooleans", {{{true}, false}, {{false}, true}}},
    {"Negate(String) > String: IsSilentAboutTexts", {{{"a"}, none}}},
    {"Adder(Float) > Float: AddsUpSinceTheReset", {{{1.}, 1.}, {{2.}, 3.}, {{3.}, 6.}, resetStep, {{10.}, 10.}, {{1.}, 11.}}},
    {"Adder(String) > String: AddsUpTexts", {{{"a"}, "a"}, {{"b"}, "ab"}, {{"c"}, "abc"}}},
    {"Adder(Boolean) > Boolean: PassesOnlyTheFirstBoolean", {{{true}, true}, {{true}, none}, {{true}, none}, resetStep, {{false}, false}}},
};

INSTANTIATE_TEST_SUITE_P(Basic, FunctionTest, testing::ValuesIn(cases), caseName);

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

}  // namespace KelvaneSDK::testing_support
