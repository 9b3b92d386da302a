#include <numbers>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

const FunctionCase cases[] = {
    {"Vector length(Vector) > Float: Length", {{{Vector{2, -3, 6}}, 7.}, {{Vector{0, 0, 0}}, 0.}}},
    {"Make vector(Float, Float, Float) > Vector: MadeOfItsCoordinates", {{{1., none, none}, none}, {{none, 2., 3.}, Vector{1, 2, 3}}}},
    {"Vector x-coordinate(Vector) > Float: XCoordinate", {{{Vector{1, 2, 3}}, 1.}}},
    {"Vector y-coordinate(Vector) > Float: YCoordinate", {{{Vector{1, 2, 3}}, 2.}}},
    {"Vector z-coordinate(Vector) > Float: ZCoordinate", {{{Vector{1, 2, 3}}, 3.}}},
    // 3 * (1 / 5) is not 3 / 5.
    {"Normalize vector(Vector) > Vector: NormalizedByTheReciprocal",
     {{{Vector{3, -4, 0}}, Vector{0.6000000000000001, -0.8, 0}}, {{Vector{0, 0, 0}}, Vector{nan, nan, nan}}}},
    {"Vector dot product(Vector, Vector) > Float: DotProduct", {{{Vector{1, 2, 3}, Vector{4, -5, 6}}, 12.}}},
    {"Vector cross product(Vector, Vector) > Vector: HasAOnTheLeft",
     {{{Vector{1, 0, 0}, Vector{0, 1, 0}}, Vector{0, 0, 1}},
      {{Vector{0, 1, 0}, Vector{1, 0, 0}}, Vector{0, 0, -1}},
      {{Vector{1, 2, 3}, Vector{4, 5, 7}}, Vector{-1, 5, -3}}}},
    {"Distance(Vector, Vector) > Float: Distance", {{{Vector{1, 2, 3}, Vector{4, 6, 3}}, 5.}}},
    {"Vector angle(Vector, Vector) > Float: TakesUnitVectors",
     {{{Vector{1, 0, 0}, Vector{0, 1, 0}}, std::numbers::pi / 2},
      {{Vector{0.6, 0.8, 0}, Vector{-0.6, -0.8, 0}}, std::numbers::pi},
      {{Vector{2, 0, 0}, Vector{2, 0, 0}}, nan}}},
};

INSTANTIATE_TEST_SUITE_P(Vector, FunctionTest, testing::ValuesIn(cases), caseName);

}  // namespace KelvaneSDK::testing_support
