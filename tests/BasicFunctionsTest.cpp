#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

constexpr std::int64_t smallest = INT64_MIN, largest = INT64_MAX;
const Orientation i{1, 0, 0, 0}, j{0, 1, 0, 0}, k{0, 0, 1, 0};
const Sequence flat{{0, 1}, {1, 1}, {2, 1}, {3, 1}}, rise{{1, 10}, {2, 20}}, jump{{0, 1}, {1, 2}, {1, 4}};
using Texts = List<String>;
using Booleans = List<bool>;
using Orientations = List<Orientation>;

const FunctionCase cases[] = {
    {"Equal(Float, Float) > Boolean: Floats", {{{1., 1.}, true}, {{1., 2.}, false}, {{nan, nan}, false}, {{0., -0.}, true}}},
    {"Equal(Integer, Integer) > Boolean: Exactly", {{{9007199254740993, 9007199254740992}, false}, {{smallest, smallest}, true}}},
    {"Equal(String, String) > Boolean: CanonicallyEquivalent", {{{"caf\u00e9", "cafe\u0301"}, true}, {{"a", "b"}, false}}},
    {"Equal(String array, String array) > Boolean: CanonicallyEquivalentOfStringArray", {{{Texts{"caf\u00e9"}, Texts{"cafe\u0301"}}, true}}},
    {"Equal(Sequence, Sequence) > Boolean: SampleBySample",
     {{{rise, rise}, true}, {{rise, jump}, none}, {{rise, Sequence{{1, 10}, {2.5, 20}}}, false}}},
    {"Equal(Integer array, Integer array) > Boolean: IsSilentAboutIntegerArrays", {{{Integers{1}, Integers{1}}, none}}},
    {"Equal(Float array, Float array) > Boolean: IsSilentAboutListsOfTwoLengths",
     {{{Floats{1, 2}, Floats{1, 2}}, true},
      {{Floats{1, 2}, Floats{1}}, none},
      {{Floats{}, Floats{}}, true},
      {{Floats{1, nan}, Floats{1, nan}}, false}}},
    {"Equal(Float, Integer) > Boolean: IsSilentAboutTwoTypes", {{{1., 1}, none}}},
    {"Larger(Float, Float) > Boolean: Floats", {{{2., 1.}, true}, {{1., 1.}, false}, {{1., 2.}, false}, {{nan, 1.}, false}}},
    {"Smaller(Integer, Integer) > Boolean: Integers",
     {{{1, 2}, true}, {{1, 1}, false}, {{2, 1}, false}, {{smallest, largest}, true}, {{largest - 1, largest}, true}}},
    {"Smaller(String, String) > Boolean: ByScalarValuesNotUnits", {{{"\uffee", "\U0001f600"}, true}}},
    {"Larger(String, String) > Boolean: InOneOrderEvenForBytesThatAreNoText",
     {{{"e\u0301", "z"}, true}, {{"z", "f\xff"}, true}, {{"e\u0301", "f\xff"}, true}}},
    {"Larger or equal(Float, Float) > Boolean: Floats", {{{2., 1.}, true}, {{nan, nan}, false}, {{1., 1.}, true}, {{1., 2.}, false}}},
    {"Smaller or equal(String, String) > Boolean: Texts", {{{"a", "b"}, true}, {{"a", "a"}, true}, {{"b", "a"}, false}}},
    {"Larger or equal(String, String) > Boolean: Texts", {{{"b", "a"}, true}, {{"a", "a"}, true}, {{"a", "b"}, false}}},
    {"Smaller or equal(Float, Float) > Boolean: Floats", {{{1., 2.}, true}, {{1., 1.}, true}, {{2., 1.}, false}, {{1., nan}, false}}},
    {"Larger(Vector, Vector) > Boolean: IsSilentAboutVectors", {{{Vector{2, 2, 2}, Vector{}}, none}}},
    // The signs of the zeros show which input was taken.
    {"Max(Float, Float) > Float: TakesTheSecondOfEquals", {{{0., -0.}, -0.}, {{-0., 0.}, 0.}, {{2., 1.}, 2.}, {{nan, 1.}, 1.}, {{1., nan}, nan}}},
    {"Min(Float, Float) > Float: TakesTheSecondOfEquals", {{{0., -0.}, -0.}, {{-0., 0.}, 0.}, {{2., 1.}, 1.}, {{nan, 1.}, 1.}}},
    {"Add(Float, Float) > Float: Floats", {{{1.5, 2.}, 3.5}, {{infinity, -infinity}, nan}}},
    {"Add(Integer, Integer) > Integer: IntegersChecked", {{{2, 3}, 5}, {{largest, 1}, stops("addition overflows")}}},
    {"Add(Orientation, Orientation) > Orientation: ByComponents", {{{Orientation{1, 2, 3, 4}, Orientation{1, 1, 1, 1}}, Orientation{2, 3, 4, 5}}}},
    {"Add(Float array, Float array) > Float array: EndsWithTheShorter", {{{Floats{1, 2, 3}, Floats{10, 20}}, Floats{11, 22}}}},
    {"Add(String array, String array) > String array: JoinsPairs", {{{Texts{"a", "b"}, Texts{"c", "d", "e"}}, Texts{"ac", "bd"}}}},
    {"Add(Sequence, Sequence) > Sequence: InterpolatesBAtTheTimesOfA",
     {{{flat, rise}, Sequence{{1, 11}, {2, 21}}},
      {{Sequence{{0, 5}}, Sequence{{0, 7}}}, Sequence{}},
      {{Sequence{{1, 0}}, jump}, Sequence{{1, 2}}},
      {{Sequence{{1, 0}}, Sequence{{1, 3}, {1, 4}}}, Sequence{{1, nan}}},
      {{Sequence{{2, 1}, {1, 1}}, rise}, Sequence{{2, 21}, {1, 11}}}}},
    {"Add(Boolean, Boolean) > Boolean: IsSilentAboutBooleans", {{{true, true}, none}}},
    {"Add(Integer array, Integer array) > Integer array: IsSilentAboutIntegerArrays", {{{Integers{1}, Integers{1}}, none}}},
    {"Add(Float, Integer) > Float: StopsAtAnotherType", {{{1., 1}, stops("input \"b\" holds a value of type Integer where Float is needed")}}},
    {"Subtract(Float, Float) > Float: TakesTheSecondFromTheFirst", {{{5., 2.}, 3.}}},
    {"Subtract(Integer, Integer) > Integer: IntegersChecked", {{{smallest + 5, 5}, smallest}, {{smallest, 1}, stops("subtraction overflows 64")}}},
    {"Subtract(Vector array, Vector array) > Vector array: ByComponents",
     {{{List<Vector>{{1, 2, 3}}, List<Vector>{{4, 4, 4}}}, List<Vector>{{-3, -2, -1}}}}},
    {"Subtract(Sequence, Sequence) > Sequence: InterpolatesB", {{{Sequence{{1.25, 1}}, rise}, Sequence{{1.25, -11.5}}}}},
    {"Subtract(String, String) > String: IsSilentAboutTexts", {{{"a", "b"}, none}}},
    {"Multiply(Integer, Integer) > Integer: IntegersChecked", {{{largest, 2}, stops("multiplication overflows 64 bits")}, {{-3, 5}, -15}}},
    {"Multiply(Vector, Vector) > Vector: ByComponents", {{{Vector{1, 2, 3}, Vector{4, 5, -6}}, Vector{4, 10, -18}}}},
    {"Multiply(Sequence, Sequence) > Sequence: InterpolatesB", {{{Sequence{{1.5, 2}}, rise}, Sequence{{1.5, 30}}}}},
    {"Multiply(Orientation array, Orientation array) > Orientation array: EndsWithTheShorter",
     {{{Orientations{i, i}, Orientations{j}}, Orientations{k}}}},
    {"Multiply(Orientation, Orientation) > Orientation: RotationsInOrder",
     {{{i, j}, k}, {{j, i}, Orientation{0, 0, -1, 0}}, {{Orientation{1, 2, 3, 4}, Orientation{5, 6, 7, 8}}, Orientation{24, 48, 48, -6}}}},
    {"Divide(Float, Float) > Float: FloatsByZero", {{{7., 2.}, 3.5}, {{1., 0.}, infinity}, {{0., 0.}, nan}}},
    {"Divide(Integer, Integer) > Integer: IntegersTowardZero",
     {{{7, -2}, -3}, {{1, 0}, stops("division is by zero")}, {{smallest, -1}, stops("overflows 64 bits")}}},
    {"Divide(Vector, Vector) > Vector: ByComponents", {{{Vector{1, 0, -3}, Vector{2, 0, 0}}, Vector{.5, nan, -infinity}}}},
    {"Divide(Orientation, Orientation) > Orientation: TimesTheInverse", {{{i, Orientation{0, 2, 0, 0}}, Orientation{0, 0, -.5, 0}}}},
    {"Divide(Float array, Float array) > Float array: EndsWithTheShorter", {{{Floats{6, 1}, Floats{3, 0, 1}}, Floats{2, infinity}}}},
    {"Divide(Sequence, Sequence) > Sequence: InterpolatesB", {{{Sequence{{0, 4}, {1, 4}}, Sequence{{0, 0}, {1, 2}}}, Sequence{{1, 2}}}}},
    {"Scale(Float, Vector) > Vector: TakesTheFactorFirst", {{{2., Vector{1, 2, 3}}, Vector{2, 4, 6}}}},
    {"Scale(Float, Integer) > Integer: TruncatesTheFactorOfIntegers",
     {{{2.7, 10}, 20},
      {{-1.9, 10}, -10},
      {{-0x1p63, 1}, smallest},
      {{nan, 10}, stops("scale factor nan is no 64-bit integer")},
      {{0x1p63, 1}, stops("scale factor 9.223372036854776e\\+18 is no 64-bit integer")},
      {{2., largest}, stops("an integer scaling overflows 64 bits")}}},
    {"Scale(Float, Integer array) > Integer array: TruncatesTheFactor",
     {{{-2.5, Integers{1, 2}}, Integers{-2, -4}}, {{1e19, Integers{1}}, stops("is no")}}},
    {"Scale(Float, Sequence) > Sequence: KeepsTheTimes", {{{2., Sequence{{0, 1}, {5, -3}}}, Sequence{{0, 2}, {5, -6}}}}},
    {"Scale(Float, Float array) > Float array: EachOne", {{{2., Floats{1, -3}}, Floats{2, -6}}}},
    {"Scale(Float, Boolean) > Boolean: IsSilentAboutBooleans", {{{2., true}, none}}},
    {"Scale(Float, String) > String: IsSilentAboutTexts", {{{2., "a"}, none}}},
    {"Negate(Float) > Float: Float", {{{1.5}, -1.5}, {{0.}, -0.}}},
    {"Negate(Integer) > Integer: Integer", {{{5}, -5}, {{smallest}, stops("negation overflows")}}},
    {"Negate(Boolean) > Boolean: IsNotForBooleans", {{{true}, false}, {{false}, true}}},
    {"Negate(Boolean array) > Boolean array: EachOne", {{{Booleans{true, false}}, Booleans{false, true}}}},
    {"Negate(Sequence) > Sequence: KeepsTheTimes", {{{Sequence{{0, 1}, {5, -3}}}, Sequence{{0, -1}, {5, 3}}}}},
    {"Negate(String) > String: IsSilentAboutTexts", {{{"a"}, none}}},
    {"Negate(Integer array) > Integer array: IsSilentAboutIntegerArrays", {{{Integers{1}}, none}}},
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
