#include <cmath>
#include <numbers>

#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"

namespace KelvaneSDK {

namespace {

class CosineFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Cosine"; }
    void process() override { finish(std::cos(real(0))); }
};

class SineFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Sine"; }
    void process() override { finish(std::sin(real(0))); }
};

class TangentFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Tangent"; }
    void process() override { finish(std::tan(real(0))); }
};

class InverseCosineFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Inverse cosine"; }
    void process() override { finish(std::acos(real(0))); }
};

class InverseSineFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Inverse sine"; }
    void process() override { finish(std::asin(real(0))); }
};

class InverseTangentFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Inverse tangent"; }
    void process() override { finish(std::atan(real(0))); }
};

class RadiansToDegreesFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Radians to degrees"; }
    void process() override { finish(real(0) * 180.0 / std::numbers::pi); }
};

class DegreesToRadiansFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Degrees to radians"; }
    void process() override { finish(real(0) * std::numbers::pi / 180.0); }
};

}  // namespace

NodeFamily trigonometryFunctions() {
    return functionFamily(
        "Trigonometry",
        {
            entry<CosineFunction>("the cosine of angle x in radians"),
            entry<SineFunction>("the sine of angle x in radians"),
            entry<TangentFunction>("the tangent of angle x in radians"),
            entry<InverseCosineFunction>(
                "the angle in radians, from 0 to pi, whose cosine is x; NaN outside -1 to 1"),
            entry<InverseSineFunction>(
                "the angle in radians, from -pi/2 to pi/2, whose sine is x; NaN outside -1 to 1"),
            entry<InverseTangentFunction>("the angle in radians, from -pi/2 to pi/2, whose tangent is x"),
            entry<RadiansToDegreesFunction>("angle x, given in radians, in degrees"),
            entry<DegreesToRadiansFunction>("angle x, given in degrees, in radians"),
        });
}

}  // namespace KelvaneSDK
