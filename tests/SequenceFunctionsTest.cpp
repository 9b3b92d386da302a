#include <cmath>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

struct Row {
    std::string name;
    std::vector<Step> steps;
    std::string next = {};
};

// The cases of one function.
auto table(const std::string& function, const std::vector<std::string>& inputTypes, const std::string& outputType, const std::vector<Row>& rows) {
    std::vector<FunctionCase> cases;
    for (const Row& row : rows) {
        cases.push_back({row.name, function, inputTypes, outputType, row.steps, row.next});
    }
    return testing::ValuesIn(cases);
}

// One sequence and what a function reads from it.
FunctionCase reading(const std::string& name, const std::string& function, const std::string& outputType, const Sequence& sequence,
                     const Expectation& result) {
    return {name, function, {"Sequence"}, outputType, {{{sequence}, result}}};
}

using Floats = List<double>;
const Sequence noSamples;
constexpr double notANumber = NAN;

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    CreateSequence, FunctionTest,
    table("Create sequence", {"Boolean", "Float"}, "Sequence",
          {{"EmitsARecordingAtItsEnd",
            {{{false, 1.}, none, -1.},
             {{true, none}, none, 0.},
             {{none, 5.}, none, 1.},
             {{none, 6.}, none, 2.},
             {{none, 7.}, none, 3.},
             {{false, none}, Sequence{{1, 5}, {2, 6}, {3, 7}}, 4.},
             {{false, none}, none, 5.}}},
           {"TakesTheFirstSampleOfTheSameBatchButNotTheLast", {{{true, 1.}, none}, {{none, 2.}, none}, {{false, 3.}, Sequence{{1, 1}, {2, 2}}}}},
           {"ASecondStartRestartsSilently",
            {{{true, 1.}, none}, {{none, 2.}, none}, {{true, 3.}, none}, {{none, 4.}, none}, {{false, none}, Sequence{{3, 3}, {4, 4}}}}},
           {"IsSilentWithoutAStart", {{{false, 1.}, none}, {{false, 2.}, none}, {{false, 3.}, none}}},
           {"DropsASingleSample", {{{true, 1.}, none}, {{false, none}, none}}},
           {"ResetDropsTheRecording", {{{true, 1.}, none}, {{none, 2.}, none}, resetStep, {{false, 3.}, none}}}}),
    caseName);
INSTANTIATE_TEST_SUITE_P(CreateSequenceTimestamp, FunctionTest,
                         table("Create sequence", {"Boolean", "Float"}, "Float",
                               {{"IsThatOfTheEndOfTheRecording", {{{true, 1.}, none}, {{none, 2.}, none}, {{false, none}, 4., 4.}}, "Timestamp"}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Intersections, FunctionTest,
                         table("Intersections", {"Float", "Sequence"}, "Float array",
                               {{"MeetsTheLevelRisingAndFalling", {{{1., Sequence{{0, 0}, {1, 2}, {2, 0}}}, Floats{.5, 1.5}}}},
                                {"ASampleOnTheLevelCountsForBothSides",
                                 {{{2., Sequence{{0, 0}, {1, 2}, {2, 0}}}, Floats{1, 1}}, {{0., Sequence{{0, 0}, {1, 2}, {2, 0}}}, Floats{0, 2}}}},
                                {"AFlatPairOnTheLevelIsUndefined", {{{3., Sequence{{0, 3}, {1, 3}}}, Floats{notANumber}}}},
                                {"NoneAsideOfTheLevelOrWithoutAPair",
                                 {{{3., Sequence{{0, 0}, {1, 2}}}, Floats{}}, {{0., Sequence{{0, 0}}}, Floats{}}, {{0., noSamples}, Floats{}}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(TimeDerivative, FunctionTest,
                         table("Time derivative", {"Sequence"}, "Sequence",
                               {{"MeansBothSlopes",
                                 {{{Sequence{{0, 0}, {1, 1}, {3, 5}, {4, 5}}}, Sequence{{1, 1.5}, {3, 1}}}, {{Sequence{{0, 0}, {1, 1}}}, noSamples}}},
                                {"StopsOnASingleSample", {{{Sequence{{0, 0}}}, stops("fewer than two samples")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(TimeIntegral, FunctionTest,
                         table("Time integral", {"Sequence"}, "Sequence",
                               {{"AddsTrapezoids", {{{Sequence{{0, 1}, {1, 3}, {2, 3}}}, Sequence{{1, 2}, {2, 5}}}}},
                                {"SignChangesUseTheAbsoluteTime",
                                 {{{Sequence{{2, 1}, {3, -3}, {4, -1}}}, Sequence{{3, 2}, {4, 0}}},
                                  {{Sequence{{1, 0}, {2, 2}}}, Sequence{{2, 0}}},
                                  {{Sequence{{1, 2}, {2, 0}}}, Sequence{{2, 0}}}}},
                                {"StopsOnASingleSample", {{{Sequence{{0, 0}}}, stops("fewer than two samples")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(SelectInterval, FunctionTest,
                         table("Select interval", {"Float", "Float", "Sequence"}, "Sequence",
                               {{"KeepsTheBoundsInEitherOrder",
                                 {{{1., 2., Sequence{{0, 5}, {1, 6}, {1.5, 7}, {2, 8}, {3, 9}}}, Sequence{{1, 6}, {1.5, 7}, {2, 8}}},
                                  {{2., 1., none}, none},
                                  {{none, none, Sequence{{0, 5}, {1, 6}, {2, 8}, {3, 9}}}, Sequence{{1, 6}, {2, 8}}},
                                  {{4., 9., noSamples}, noSamples}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(SequenceRectifier, FunctionTest,
                         table("Sequence rectifier", {"Sequence"}, "Sequence",
                               {{"AddsAZeroAtEachSignChange",
                                 {{{Sequence{{0, 1}, {1, -3}, {2, -1}}}, Sequence{{0, 1}, {-.25, 0}, {1, 3}, {2, 1}}},
                                  {{Sequence{{2, -1}, {4, 1}}}, Sequence{{2, 1}, {1, 0}, {4, 1}}},
                                  {{Sequence{{0, 2}, {1, 0}, {2, 0}}}, Sequence{{0, 2}, {-1, 0}, {1, 0}, {2, 0}}}}},
                                {"StopsOnNoSamples", {{{noSamples}, stops("sequence is empty")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(CenteredMovingAverage, FunctionTest,
                         table("Centered moving average", {"Integer", "Sequence"}, "Sequence",
                               {{"LeavesOutTheLastRun",
                                 {{{2, Sequence{{0, 0}, {1, 2}, {2, 4}}}, Sequence{{.5, 1}}},
                                  {{2, Sequence{{0, 0}, {1, 2}}}, noSamples},
                                  {{3, Sequence{{0, 1}, {1, 2}, {4, 6}, {5, 1}, {6, 0}}}, Sequence{{5 / 3., 3}, {10 / 3., 3}}}}},
                                {"AWidthOfZeroIsUndefined",
                                 {{{0, Sequence{{0, 0}, {1, 2}}}, Sequence{{notANumber, notANumber}, {notANumber, notANumber}}}}},
                                {"StopsOnANegativeWidth", {{{-1, Sequence{{0, 0}}}, stops("width of -1 is negative")}}},
                                {"StopsOnTooFewSamples", {{{2, Sequence{{0, 0}}}, stops("more than the sequence's 1 samples")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Normalize, FunctionTest,
                         table("Normalize", {"Sequence"}, "Sequence",
                               {{"MapsTheTimesOntoZeroToOne",
                                 {{{Sequence{{2, 1}, {3, 2}, {6, 3}}}, Sequence{{0, 1}, {.25, 2}, {1, 3}}},
                                  {{Sequence{{0, 1}, {1, 2}, {3, 3}}}, Sequence{{0, 1}, {.33333333333333337, 2}, {1, 3}}},
                                  {{Sequence{{2, 1}}}, Sequence{{notANumber, 1}}}}},
                                {"StopsOnNoSamples", {{{noSamples}, stops("sequence is empty")}}}}),
                         caseName);

const Sequence three{{1, 2}, {2, 0}, {4, 5}};
INSTANTIATE_TEST_SUITE_P(SequenceReading, FunctionTest,
                         testing::Values(reading("Timestamps", "Sequence timestamps", "Float array", three, Floats{1, 2, 4}),
                                         reading("TimestampsOfNone", "Sequence timestamps", "Float array", noSamples, Floats{}),
                                         reading("Values", "Sequence values", "Float array", three, Floats{2, 0, 5}),
                                         reading("StartTime", "Start time", "Float", three, 1.),
                                         reading("StartTimeOfNone", "Start time", "Float", noSamples, stops("sequence is empty")),
                                         reading("EndTime", "End time", "Float", three, 4.),
                                         reading("EndTimeOfNone", "End time", "Float", noSamples, stops("sequence is empty")),
                                         reading("Duration", "Duration", "Float", three, 3.),
                                         reading("DurationOfNone", "Duration", "Float", noSamples, stops("sequence is empty"))),
                         caseName);

INSTANTIATE_TEST_SUITE_P(ShiftTime, FunctionTest,
                         table("Shift time", {"Float", "Sequence"}, "Sequence",
                               {{"MovesEveryTime", {{{-1.5, Sequence{{1, 2}, {4, 4}}}, Sequence{{-.5, 2}, {2.5, 4}}}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(CapValues, FunctionTest,
                         table("Cap values", {"Float", "Float", "Sequence"}, "Sequence",
                               {{"TestsTheUpperBoundFirst",
                                 {{{1., 5., Sequence{{0, 7}, {1, 0}, {2, 3}}}, Sequence{{0, 5}, {1, 1}, {2, 3}}},
                                  {{5., 1., Sequence{{0, 3}, {1, 7}, {2, 0}}}, Sequence{{0, 1}, {1, 1}, {2, 5}}}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(ScaleTime, FunctionTest,
                         table("Scale time", {"Float", "Float", "Sequence"}, "Sequence",
                               {{"StretchesOntoTheSpan",
                                 {{{10., 20., Sequence{{0, 7}, {1, 8}, {4, 9}}}, Sequence{{10, 7}, {12.5, 8}, {20, 9}}},
                                  {{20., 10., Sequence{{2, 7}, {3, 8}, {6, 9}}}, Sequence{{20, 7}, {17.5, 8}, {10, 9}}},
                                  {{0., 1., Sequence{{0, 7}, {49, 8}}}, Sequence{{0, 7}, {.9999999999999999, 8}}},
                                  {{0., 1., Sequence{{2, 7}}}, Sequence{{notANumber, 7}}}}},
                                {"StopsOnNoSamples", {{{0., 1., noSamples}, stops("sequence is empty")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(GetInterpolatedValues, FunctionTest,
                         table("Get interpolated values", {"Float array", "Sequence"}, "Float array",
                               {{"LeavesOutTimesOutsideAndKeepsTheOrder",
                                 {{{Floats{.5, 5, 1, -1, 0, 1.5}, Sequence{{0, 10}, {1, 20}, {2, 0}}}, Floats{15, 20, 10, 10}},
                                  {{Floats{1}, Sequence{{1, 5}}}, Floats{}}}},
                                {"StopsOnNoSamples", {{{Floats{}, noSamples}, stops("sequence is empty")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Sequencer, FunctionTest,
                         table("Sequencer", {"Float", "Float"}, "Sequence",
                               {{"KeepsTheInterpolatedFirstSample",
                                 {{{1., 0.}, none, 0.},
                                  {{none, 10.}, none, .5},  // a silent step leaves the length's update pending
                                  {{none, 20.}, Sequence{{0, 0}, {.5, 10}, {1, 20}}, 1.},
                                  {{1., 30.}, Sequence{{.5, 10}, {.5, 10}, {1, 20}, {1.5, 30}}, 1.5},
                                  {{1., 50.}, Sequence{{.75, 15}, {1, 20}, {1.5, 30}, {1.75, 50}}, 1.75}}},
                                {"ResetForgetsTheSignal",
                                 {{{1., 0.}, none, 0.}, resetStep, {{1., 1.}, none, 5.}, {{none, 3.}, Sequence{{5, 1}, {6, 3}}, 6.}}},
                                {"StopsOnALengthOfZeroAtFirst", {{{0., 1.}, stops("no earlier sample")}}}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(Resample, FunctionTest,
                         table("Resample", {"Float", "Sequence"}, "Sequence",
                               {{"NeverTakesTheEnd",
                                 {{{.5, Sequence{{0, 0}, {1, 2}, {2, 8}}}, Sequence{{0, 0}, {.5, 1}, {1, 2}, {1.5, 5}}},
                                  {{.5, Sequence{{1, 7}}}, noSamples},
                                  {{.5, Sequence{{1, 7}, {1, 8}}}, noSamples}}},
                                {"StopsOnNoSamples", {{{.5, noSamples}, stops("sequence is empty")}}}}),
                         caseName);

// Ten tenths add up to less than one, so the grid takes an eleventh sample.
INSTANTIATE_TEST_SUITE_P(ResampleEnd, FunctionTest,
                         table("Resample", {"Float", "Sequence"}, "Float",
                               {{"AddsTheStepsUp", {{{.1, Sequence{{0, 0}, {1, 1}}}, .9999999999999999}}, "End time"}}),
                         caseName);

INSTANTIATE_TEST_SUITE_P(
    ConvertToSequence, FunctionTest,
    table("Convert to sequence", {"Float array", "Float array"}, "Sequence",
          {{"PairsTimesAndValues", {{{Floats{1, 2}, Floats{3, 4}}, Sequence{{1, 3}, {2, 4}}}, {{Floats{}, Floats{}}, noSamples}}},
           {"DifferentLengthsConsumeBothInputs", {{{Floats{1}, Floats{}}, none}, {{none, Floats{2}}, none}, {{Floats{3}, none}, Sequence{{3, 2}}}}}}),
    caseName);

}  // namespace KelvaneSDK::testing_support
