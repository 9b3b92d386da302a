#include <limits>

#include "KelvaneSDK/Kelvane/NodeRegistry.h"
#include "support/FunctionTest.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

using Floats = List<double>;
using Integers = List<std::int64_t>;
using Booleans = List<bool>;
using Texts = List<String>;
using Vectors = List<Vector>;
using Sequences = List<Sequence>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
const Sequence rise{{0, 1}, {1, 2}}, still{{0, 5}};

// A function with the types of its inputs and output, to which a case adds a name and its steps.
struct Typed {
    std::string function;
    std::vector<std::string> inputTypes;
    std::string outputType;

    FunctionCase operator()(std::string name, std::vector<Step> steps) const {
        return {std::move(name), function, inputTypes, outputType, std::move(steps)};
    }
};

// A node outside any diagram, whose generic slots have taken on no type.
class LooseNode {
public:
    explicit LooseNode(std::string_view name) : node(NodeRegistry::library().find(NodeCategory::Function, name)->make()) {}

    std::optional<Value> process(const std::vector<std::optional<Value>>& updates) {
        node->outputValue()->updated = false;
        for (std::size_t i = 0; i < updates.size(); ++i) {
            auto& slot = *node->inputValues()[i];
            slot.updated = updates[i].has_value();
            if (updates[i]) slot.setValue(*updates[i]);
        }
        node->process();
        return node->outputValue()->updated ? node->outputValue()->value() : std::nullopt;
    }

private:
    std::unique_ptr<Node> node;
};

}  // namespace

const Typed orderFloats{"Order", {"Boolean", "Float array"}, "Float array"};
const Typed orderTexts{"Order", {"Boolean", "String array"}, "String array"};
const Typed orderVectors{"Order", {"Boolean", "Vector array"}, "Vector array"};
INSTANTIATE_TEST_SUITE_P(Order, FunctionTest,
                         testing::Values(orderFloats("SortsRising", {{{false, Floats{3, 1, 2}}, Floats{1, 2, 3}}}),
                                         orderTexts("SortsFalling", {{{true, Texts{"b", "c", "a"}}, Texts{"c", "b", "a"}}}),
                                         orderVectors("IsSilentForVectors", {{{false, Vectors{{2, 0, 0}, {1, 0, 0}}}, none}}),
                                         orderVectors("PassesAnEmptyListOfVectors", {{{false, Vectors{}}, Vectors{}}})),
                         caseName);

const Typed getFloat{"Get element", {"Integer", "Float array"}, "Float"};
const Typed getSequence{"Get element", {"Integer", "Sequence array"}, "Sequence"};
INSTANTIATE_TEST_SUITE_P(GetElement, FunctionTest,
                         testing::Values(getFloat("CountsFromZero", {{{0, Floats{7, 8}}, 7.}, {{1, Floats{7, 8}}, 8.}}),
                                         getFloat("IsSilentOutside", {{{2, Floats{7, 8}}, none}, {{-1, Floats{7}}, none}, {{0, Floats{}}, none}}),
                                         getSequence("TakesASequenceOut", {{{1, Sequences{still, rise}}, rise}})),
                         caseName);

const Typed trim{"Trim", {"Integer", "Integer", "Integer array"}, "Integer array"};
const Typed trimTexts{"Trim", {"Integer", "Integer", "String array"}, "String array"};
const Integers ten{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
INSTANTIATE_TEST_SUITE_P(Trim, FunctionTest,
                         testing::Values(trim("OrdersItsBounds", {{{5, 1, ten}, Integers{1, 2, 3, 4, 5}}}),
                                         trim("ClampsItsBounds", {{{0, 99, ten}, ten}, {{1, -5, ten}, Integers{0, 1}}}),
                                         trim("KeepsOneElement", {{{9, 9, ten}, Integers{9}}}),
                                         trim("StopsBeyondTheEnd", {{{10, 12, ten}, stops("between the indices 10 and 12")}}),
                                         trim("StopsBeforeTheStart", {{{-1, -2, ten}, stops("between the indices -2 and -1")}}),
                                         trim("StopsOnAnEmptyList", {{{0, 0, Integers{}}, stops("no element of an array of 0")}}),
                                         trimTexts("CutsTexts", {{{0, 1, Texts{"a", "b", "c"}}, Texts{"a", "b"}}})),
                         caseName);

const Typed sum{"Array sum", {"Float array"}, "Float"};
const Typed sumTexts{"Array sum", {"String array"}, "String"};
const Typed sumBooleans{"Array sum", {"Boolean array"}, "Boolean"};
const Typed count{"Number of elements", {"Sequence array"}, "Integer"};
const Typed minimum{"Minimum", {"Float array"}, "Float"};
const Typed maximum{"Maximum", {"Float array"}, "Float"};
const Typed average{"Average", {"Float array"}, "Float"};
const Typed indexOfMinimum{"Index of minimum", {"Float array"}, "Integer"};
const Typed indexOfMaximum{"Index of maximum", {"Float array"}, "Integer"};
INSTANTIATE_TEST_SUITE_P(ArrayReductions, FunctionTest,
                         testing::Values(sum("SumAddsFromTheFirst", {{{Floats{1e16, 1, -1e16, 1}}, 1.}, {{Floats{}}, 0.}}),
                                         sumTexts("SumJoinsTexts", {{{Texts{"a", "b", "c"}}, "abc"}}),
                                         sumBooleans("SumIsSilentForBooleans", {{{Booleans{true}}, none}}),
                                         count("NumberOfElementsCountsAnything", {{{Sequences{rise, still}}, 2}, {{Sequences{}}, 0}}),
                                         minimum("MinimumOfNothingIsZero", {{{Floats{3, 1, 2}}, 1.}, {{Floats{}}, 0.}}),
                                         minimum("MinimumNeverReplacesALeadingNan", {{{Floats{nan, 1}}, nan}, {{Floats{1, nan, 0}}, 0.}}),
                                         maximum("MaximumOfNothingIsZero", {{{Floats{-3, -1, -2}}, -1.}, {{Floats{}}, 0.}}),
                                         maximum("MaximumKeepsTheFirstOfEqualZeros", {{{Floats{-0., 0.}}, -0.}}),
                                         average("AverageOfNothingIsNan", {{{Floats{1, 2, 6}}, 3.}, {{Floats{}}, nan}}),
                                         indexOfMaximum("IndexOfMaximumKeepsTheFirstOfTies", {{{Floats{1, 3, 3}}, 1}, {{Floats{}}, none}}),
                                         indexOfMinimum("IndexOfMinimumKeepsTheFirstOfTies", {{{Floats{2, 1, 3, 1}}, 1}, {{Floats{}}, none}})),
                         caseName);

const Typed clip{"Clip", {"Float", "Float", "Float array"}, "Float array"};
const Typed shift{"Shift elements", {"Float", "Float array"}, "Float array"};
const Typed absolute{"Array absolute", {"Float array"}, "Float array"};
const Typed add{"Add to array", {"Sequence", "Sequence array"}, "Sequence array"};
const Typed remove{"Remove from array", {"Integer", "Integer array"}, "Integer array"};
const Typed insert{"Insert into array", {"Integer", "Vector", "Vector array"}, "Vector array"};
const Typed combine{"Combine arrays", {"Integer", "Boolean array", "Boolean array"}, "Boolean array"};
const Typed combineMixed{"Combine arrays", {"Integer", "Float array", "Integer array"}, "Float array"};
const Vector up{0, 0, 1}, down{0, 0, -1};
INSTANTIATE_TEST_SUITE_P(
    ArrayChanges, FunctionTest,
    testing::Values(clip("ClipKeepsTheBounds", {{{0., 1., Floats{-1, 0, 0.5, 1, 2}}, Floats{0, 0.5, 1}}}),
                    clip("ClipWithSwappedBoundsKeepsOnlyNan", {{{1., 0., Floats{0, 0.5, nan, 1}}, Floats{nan}}}),
                    shift("ShiftAddsTheOffset", {{{0.5, Floats{1, -0.5}}, Floats{1.5, 0.}}}),
                    absolute("AbsoluteDropsSigns", {{{Floats{-1.5, -0., 2}}, Floats{1.5, 0., 2}}}),
                    add("AddAppends", {{{rise, Sequences{}}, Sequences{rise}}, {{rise, Sequences{still}}, Sequences{still, rise}}}),
                    remove("RemoveTakesOneOut",
                           {{{0, Integers{1, 2, 3}}, Integers{2, 3}}, {{2, Integers{1, 2, 3}}, Integers{1, 2}}, {{0, Integers{1}}, Integers{}}}),
                    remove("RemoveStopsAtTheLength", {{{3, Integers{1, 2, 3}}, stops("array of 3 has no element 3")}}),
                    insert("InsertAtTheLengthAppends", {{{0, up, Vectors{down}}, Vectors{up, down}}, {{1, up, Vectors{down}}, Vectors{down, up}}}),
                    insert("InsertStopsPastTheLength", {{{2, up, Vectors{down}}, stops("2 .*outside 0 to 1")}}),
                    combine("CombineInsertsAIntoB", {{{1, Booleans{true, true}, Booleans{false, false}}, Booleans{false, true, true, false}},
                                                     {{0, Booleans{true}, Booleans{}}, Booleans{true}}}),
                    combine("CombineStopsPastTheLengthOfB", {{{2, Booleans{true, true}, Booleans{false}}, stops("outside")}}),
                    combineMixed("CombineStopsOnAnotherType", {{{0, Floats{1}, Integers{1}}, stops("\"B\".* needed")}})),
    caseName);

const Typed create{"Create array", {"Integer", "Integer"}, "Integer array"};
const Typed createTexts{"Create array", {"Integer", "String"}, "String array"};
INSTANTIATE_TEST_SUITE_P(CreateArray, FunctionTest,
                         testing::Values(create("RollsAtItsLength", {{{2, 1}, Integers{1}}, {{2, 2}, Integers{1, 2}}, {{2, 3}, Integers{2, 3}}}),
                                         create("AShorterLengthDropsTheOldest",
                                                {{{3, 1}, Integers{1}}, {{3, 2}, Integers{1, 2}}, {{1, 3}, Integers{3}}, {{3, 4}, Integers{3, 4}}}),
                                         create("OfLengthZeroIsEmpty", {{{0, 1}, Integers{}}, {{2, 2}, Integers{2}}}),
                                         create("ForgetsOnReset", {{{3, 1}, Integers{1}}, resetStep, {{3, 2}, Integers{2}}}),
                                         create("StopsBelowZero", {{{-1, 1}, stops("drops more elements")}}),
                                         createTexts("HoldsTexts", {{{2, "a"}, Texts{"a"}}, {{2, "b"}, Texts{"a", "b"}}})),
                         caseName);

const Typed search{"Search array", {"Float", "Float array"}, "Integer array"};
INSTANTIATE_TEST_SUITE_P(SearchArray, FunctionTest,
                         testing::Values(search("ListsAllNearest", {{{2., Floats{1, 3, 2, 2}}, Integers{2, 3}}}),
                                         search("CountsANearestFirstElementTwice", {{{2.5, Floats{2, 3}}, Integers{0, 0, 1}}}),
                                         search("PassesOverNan",
                                                {{{0., Floats{5, nan, -1, 1}}, Integers{2, 3}}, {{0., Floats{nan, 0}}, Integers{0}}}),
                                         search("StopsOnAnEmptyList", {{{1., Floats{}}, stops("empty array")}})),
                         caseName);

TEST(CreateArray, TrimsToALengthThatComesWithoutAnElement) {
    LooseNode node("Create array");
    for (const double x : {2., 3., 4.}) node.process({3, x});
    EXPECT_EQ(node.process({2, none}), Value(Floats{3, 4}));
    EXPECT_EQ(node.process({0, none}), Value(Floats{}));
}

TEST(ArrayFunctionsDeathTest, StopOnPayloadsThatFormNoList) {
    LooseNode mixed("Create array"), nested("Create array"), scalar("Number of elements"), foreign("Add to array");
    mixed.process({2, 1});
    EXPECT_STOP(mixed.process({2, 1.}), "scalars of one type");
    EXPECT_EQ(mixed.process({1, 1.}), Value(Floats{1}));
    EXPECT_STOP(nested.process({0, Floats{1}}), "scalars of one type");
    EXPECT_STOP(foreign.process({1, Floats{1}}), "not of the type of the array");
    EXPECT_STOP(scalar.process({1.}), "type Float where a list is needed");
}

}  // namespace KelvaneSDK::testing_support
