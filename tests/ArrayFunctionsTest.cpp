#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

using Booleans = List<bool>;
using Texts = List<String>;
using Vectors = List<Vector>;
using Sequences = List<Sequence>;

const Sequence rise{{0, 1}, {1, 2}}, still{{0, 5}};
const Integers ten{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
const Vector up{0, 0, 1}, down{0, 0, -1};

}  // namespace

const FunctionCase cases[] = {
    {"Order(Boolean, Float array) > Float array: SortsRisingWithNanLast", {{{false, Floats{nan, 3, 1, nan, 2}}, Floats{1, 2, 3, nan, nan}}}},
    {"Order(Boolean, Integer array) > Integer array: SortsIntegersFalling", {{{true, Integers{INT64_MIN, 5}}, Integers{5, INT64_MIN}}}},
    {"Order(Boolean, Boolean array) > Boolean array: SortsFalseFirst", {{{false, Booleans{true, false, true}}, Booleans{false, true, true}}}},
    {"Order(Boolean, String array) > String array: SortsFalling", {{{true, Texts{"b", "\u00e9", "Z"}}, Texts{"\u00e9", "b", "Z"}}}},
    {"Order(Boolean, Vector array) > Vector array: IsSilentForVectorsUnlessThereAreNone",
     {{{false, Vectors{{2, 0, 0}, {1, 0, 0}}}, says("ERROR: sorting unsupported type")}, {{false, Vectors{}}, Vectors{}}}},
    {"Get element(Integer, Float array) > Float: CountsFromZero", {{{0, Floats{7, 8}}, 7.}, {{1, Floats{7, 8}}, 8.}}},
    {"Get element(Integer, Float array) > Float: IsSilentOutside", {{{2, Floats{7, 8}}, none}, {{-1, Floats{7}}, none}, {{0, Floats{}}, none}}},
    {"Get element(Integer, Sequence array) > Sequence: TakesASequenceOut", {{{1, Sequences{still, rise}}, rise}}},
    {"Trim(Integer, Integer, Integer array) > Integer array: OrdersAndClampsItsBounds",
     {{{5, 1, ten}, Integers{1, 2, 3, 4, 5}}, {{0, 99, ten}, ten}, {{1, -5, ten}, Integers{0, 1}}, {{9, 9, ten}, Integers{9}}}},
    {"Trim(Integer, Integer, Integer array) > Integer array: StopsWithoutAnElement",
     {{{10, 12, ten}, stops("between the indices 10 and 12")}, {{-1, -2, ten}, stops("between the indices -2 and -1")}}},
    {"Trim(Integer, Integer, Integer array) > Integer array: StopsOnAnEmptyList", {{{0, 0, Integers{}}, stops("no element of an array of 0")}}},
    {"Trim(Integer, Integer, String array) > String array: CutsTexts", {{{0, 1, Texts{"a", "b", "c"}}, Texts{"a", "b"}}}},
    {"Array sum(Float array) > Float: SumAddsFromTheFirst", {{{Floats{1e16, 1, -1e16, 1}}, 1.}, {{Floats{}}, 0.}}},
    {"Array sum(Integer array) > Integer: StopsOnlyAtAnOverflow",
     {{{Integers{INT64_MAX, -1, 1}}, INT64_MAX}, {{Integers{INT64_MAX, 1}}, stops("an integer sum overflows 64 bits")}}},
    {"Array sum(Orientation array) > Orientation: SumOfNoneIsZero", {{{List<Orientation>{}}, Orientation{0, 0, 0, 0}}}},
    {"Array sum(String array) > String: SumJoinsTexts", {{{Texts{"a", "b", "c"}}, "abc"}}},
    {"Array sum(Boolean array) > Boolean: SumIsSilentForBooleans", {{{Booleans{true}}, none}}},
    {"Number of elements(Sequence array) > Integer: CountsAnything", {{{Sequences{rise, still}}, 2}, {{Sequences{}}, 0}}},
    {"Minimum(Float array) > Float: NeverReplacesALeadingNan",
     {{{Floats{3, 1, 2}}, 1.}, {{Floats{}}, 0.}, {{Floats{nan, 1}}, nan}, {{Floats{1, nan, 0}}, 0.}}},
    {"Maximum(Float array) > Float: KeepsTheFirstOfEqualZeros", {{{Floats{-3, -1, -2}}, -1.}, {{Floats{}}, 0.}, {{Floats{-0., 0.}}, -0.}}},
    {"Average(Float array) > Float: AverageOfNothingIsNan", {{{Floats{1, 2, 6}}, 3.}, {{Floats{}}, nan}}},
    {"Index of maximum(Float array) > Integer: KeepsTheFirstOfTies", {{{Floats{1, 3, 3}}, 1}, {{Floats{}}, none}}},
    {"Index of minimum(Float array) > Integer: KeepsTheFirstOfTies", {{{Floats{2, 1, 3, 1}}, 1}, {{Floats{}}, none}}},
    {"Clip(Float, Float, Float array) > Float array: KeepsTheBoundsAndNan",
     {{{0., 1., Floats{-1, 0, 0.5, 1, 2}}, Floats{0, 0.5, 1}}, {{1., 0., Floats{0, 0.5, nan, 1}}, Floats{nan}}}},
    {"Shift elements(Float, Float array) > Float array: ShiftAddsTheOffset", {{{0.5, Floats{1, -0.5}}, Floats{1.5, 0.}}}},
    {"Array absolute(Float array) > Float array: AbsoluteDropsSigns", {{{Floats{-1.5, -0., 2}}, Floats{1.5, 0., 2}}}},
    {"Add to array(Sequence, Sequence array) > Sequence array: Appends",
     {{{rise, Sequences{}}, Sequences{rise}}, {{rise, Sequences{still}}, Sequences{still, rise}}}},
    {"Remove from array(Integer, Integer array) > Integer array: StopsAtTheLength",
     {{{0, Integers{1, 2, 3}}, Integers{2, 3}},
      {{2, Integers{1, 2, 3}}, Integers{1, 2}},
      {{0, Integers{1}}, Integers{}},
      {{3, Integers{1, 2, 3}}, stops("array of 3 has no element 3")}}},
    {"Insert into array(Integer, Vector, Vector array) > Vector array: AppendsAtTheLengthAndStopsPastIt",
     {{{0, up, Vectors{down}}, Vectors{up, down}},
      {{1, up, Vectors{down}}, Vectors{down, up}},
      {{2, up, Vectors{down}}, stops("2 .*outside 0 to 1")}}},
    {"Combine arrays(Integer, Boolean array, Boolean array) > Boolean array: InsertsAIntoB",
     {{{1, Booleans{true, true}, Booleans{false, false}}, Booleans{false, true, true, false}},
      {{0, Booleans{true}, Booleans{}}, Booleans{true}},
      {{2, Booleans{true, true}, Booleans{false}}, stops("outside")}}},
    {"Combine arrays(Integer, Float array, Integer array) > Float array: StopsOnAnotherType",
     {{{0, Floats{1}, Integers{1}}, stops("\"B\".* needed")}}},
    {"Create array(Integer, Integer) > Integer array: RollsAtItsLength", {{{2, 1}, Integers{1}}, {{2, 2}, Integers{1, 2}}, {{2, 3}, Integers{2, 3}}}},
    {"Create array(Integer, Integer) > Integer array: AShorterLengthDropsTheOldest",
     {{{3, 1}, Integers{1}}, {{3, 2}, Integers{1, 2}}, {{1, 3}, Integers{3}}, {{3, 4}, Integers{3, 4}}}},
    {"Create array(Integer, Integer) > Integer array: ForgetsOnReset", {{{3, 1}, Integers{1}}, resetStep, {{3, 2}, Integers{2}}}},
    {"Create array(Integer, Integer) > Integer array: MayBeEmptyNotShorter",
     {{{0, 1}, Integers{}}, {{2, 2}, Integers{2}}, {{-1, 1}, stops("drops more elements")}}},
    {"Create array(Integer, String) > String array: HoldsTexts", {{{2, "a"}, Texts{"a"}}, {{2, "b"}, Texts{"a", "b"}}}},
    {"Search array(Float, Float array) > Integer array: ListsAllNearestAndAFirstOneTwice",
     {{{2., Floats{1, 3, 2, 2}}, Integers{2, 3}}, {{2.5, Floats{2, 3}}, Integers{0, 0, 1}}, {{1., Floats{}}, stops("empty array")}}},
    {"Search array(Float, Float array) > Integer array: PassesOverNan",
     {{{0., Floats{5, nan, -1, 1}}, Integers{2, 3}}, {{0., Floats{nan, 0}}, Integers{0}}}},
};

INSTANTIATE_TEST_SUITE_P(Array, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
