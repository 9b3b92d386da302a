#include <limits>
#include <numbers>

#include "support/FunctionTest.h"

namespace KelvaneSDK::testing_support {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

FunctionCase ofVector(std::string name, std::string function, std::string output, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {"Vector"}, std::move(output), std::move(steps)};
}

FunctionCase ofTwo(std::string name, std::string function, std::string output, std::vector<Step> steps) {
    return {std::move(name), std::move(function), {"Vector", "Vector"}, std::move(output), std::move(steps)};
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Vector, FunctionTest,
                         testing::Values(ofVector("Length", "Vector length", "Float", {{{Vector{2, -3, 6}}, 7.}, {{Vector{0, 0, 0}}, 0.}}),
                                         FunctionCase{"MadeOfItsCoordinates",
                                                      "Make vector",
                                                      {"Float", "Float", "Float"},
                                                      "Vector",
                                                      {{{1., none, none}, none}, {{none, 2., 3.}, Vector{1, 2, 3}}}},
                                         ofVector("XCoordinate", "Vector x-coordinate", "Float", {{{Vector{1, 2, 3}}, 1.}}),
                                         ofVector("YCoordinate", "Vector y-coordinate", "Float", {{{Vector{1, 2, 3}}, 2.}}),
                                         ofVector("ZCoordinate", "Vector z-coordinate", "Float", {{{Vector{1, 2, 3}}, 3.}}),
                                         // 3 * (1 / 5) is not 3 / 5.
                                         ofVector("NormalizedByTheReciprocal", "Normalize vector", "Vector",
                                                  {{{Vector{3, -4, 0}}, Vector{0.6000000000000001, -0.8, 0}},
                                                   {{Vector{0, 0, 0}}, Vector{nan, nan, nan}}}),
                                         ofTwo("DotProduct", "Vector dot product", "Float", {{{Vector{1, 2, 3}, Vector{4, -5, 6}}, 12.}}),
                                         ofTwo("CrossProductHasAOnTheLeft", "Vector cross product", "Vector",
                                               {{{Vector{1, 0, 0}, Vector{0, 1, 0}}, Vector{0, 0, 1}},
                                                {{Vector{0, 1, 0}, Vector{1, 0, 0}}, Vector{0, 0, -1}},
                                                {{Vector{1, 2, 3}, Vector{4, 5, 7}}, Vector{-1, 5, -3}}}),
                                         ofTwo("Distance", "Distance", "Float", {{{Vector{1, 2, 3}, Vector{4, 6, 3}}, 5.}}),
                                         ofTwo("AngleTakesUnitVectors", "Vector angle", "Float",
                                               {{{Vector{1, 0, 0}, Vector{0, 1, 0}}, std::numbers::pi / 2},
                                                {{Vector{0.6, 0.8, 0}, Vector{-0.6, -0.8, 0}}, std::numbers::pi},
                                                {{Vector{2, 0, 0}, Vector{2, 0, 0}}, nan}})),
                         caseName);

}  // namespace KelvaneSDK::testing_support
