#include <cmath>
#include <numbers>

#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"

namespace KelvaneSDK {

using std::numbers::pi;

NodeFamily trigonometryFunctions() {
    const RowSlot angle{"x", "in radians"};
    return functionFamily(
        "Trigonometry",
        {
            pure(
                "Cosine", {angle}, [](double x) { return std::cos(x); }, "the cosine of angle x"),
            pure(
                "Sine", {angle}, [](double x) { return std::sin(x); }, "the sine of angle x"),
            pure(
                "Tangent", {angle}, [](double x) { return std::tan(x); }, "the tangent of angle x"),
            pure(
                "Inverse cosine", {{"x"}}, [](double x) { return std::acos(x); },
                "the angle in radians whose cosine is x; NaN beyond -1 and 1")
                .keywords("arccos acos"),
            pure(
                "Inverse sine", {{"x"}}, [](double x) { return std::asin(x); },
                "the angle in radians whose sine is x; NaN beyond -1 and 1")
                .keywords("arcsin asin"),
            pure(
                "Inverse tangent", {{"x"}}, [](double x) { return std::atan(x); },
                "the angle in radians, between -pi/2 and pi/2, whose tangent is x")
                .keywords("arctan atan"),
            // The products and quotients in this order: a ratio worked out before would change last digits.
            pure(
                "Radians to degrees", {angle}, [](double x) { return x * 180.0 / pi; }, "angle x in degrees"),
            pure(
                "Degrees to radians", {{"x", "in degrees"}}, [](double x) { return x * pi / 180.0; },
                "angle x in radians"),
        });
}

}  // namespace KelvaneSDK
