#include <algorithm>

#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/QuaternionMath.h"

namespace KelvaneSDK {

namespace {

class EulerToQuaternionFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue>("angles"); }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Euler to quaternion"; }
    void process() override { finish(quaternionFromEuler(vector(0))); }
};

class QuaternionToEulerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<OrientationValue>("q"); }
    void createOutput() override { setOutput<VectorValue>(); }
    void setTypeString() override { typeString = "Quaternion to Euler"; }
    void process() override { finish(eulerFromQuaternion(orientation(0))); }
};

class MakeQuaternionFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, VectorValue>("angle", "axis"); }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Make quaternion"; }
    void process() override { finish(quaternionFromAxis(real(0), vector(1))); }
};

class NormalizeQuaternionFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<OrientationValue>("q"); }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Normalize quaternion"; }
    void process() override { finish(normalized(orientation(0))); }
};

class QuaternionInterpolationFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, OrientationValue, OrientationValue>("time", "a", "b");
    }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Quaternion interpolation"; }
    void process() override {
        const double t = real(0), t1 = timestamp(1), t2 = timestamp(2);
        const Orientation a = orientation(1), b = orientation(2);
        if (t1 == t2) return finish(b);
        if (t <= t1) return finish(a);
        if (t2 <= t) return finish(b);
        finish(slerp(a, b, (t - t1) / (t2 - t1)));
    }
};

class QuaternionSplineFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, OrientationValue, OrientationValue, OrientationValue, OrientationValue>(
            "time", "before", "a", "b", "after");
    }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Quaternion spline"; }
    void process() override {
        const double t = real(0), t1 = timestamp(2), t2 = timestamp(3);
        if (t1 == t2) return finish(orientation(3));
        const double fraction = std::clamp((t - t1) / (t2 - t1), 0.0, 1.0);
        finish(quaternionSpline(orientation(1), orientation(2), orientation(3), orientation(4), fraction));
    }
};

class QuaternionAxisFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<OrientationValue>("q"); }
    void createOutput() override { setOutput<VectorValue>(); }
    void setTypeString() override { typeString = "Quaternion axis"; }
    void process() override { finish(rotationAxis(orientation(0))); }
};

class QuaternionAngleFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<OrientationValue>("q"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Quaternion angle"; }
    void process() override { finish(rotationAngle(orientation(0))); }
};

class QuaternionFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, FloatValue, FloatValue, FloatValue>("x", "y", "z", "w");
    }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Quaternion"; }
    void process() override { finish(normalized({real(0), real(1), real(2), real(3)})); }
};

class RotationMatrixToQuaternionFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<VectorValue, VectorValue, VectorValue>("row 1", "row 2", "row 3");
    }
    void createOutput() override { setOutput<OrientationValue>(); }
    void setTypeString() override { typeString = "Rotation matrix to quaternion"; }
    void process() override { finish(quaternionFromMatrix(vector(0), vector(1), vector(2))); }
};

}  // namespace

NodeFamily quaternionFunctions() {
    return functionFamily(
        "Quaternion",
        {
            entry<EulerToQuaternionFunction>(
                "the rotation about z, then y, then x by the vector's x, y and z, in degrees"),
            entry<QuaternionToEulerFunction>(
                "the angles about z, y and x, in degrees, that \"Euler to quaternion\" takes"),
            entry<MakeQuaternionFunction>(
                "the rotation by the angle, in radians, about the axis, which should be of unit length"),
            entry<NormalizeQuaternionFunction>("q at unit length; the identity when q is zero"),
            entry<QuaternionInterpolationFunction>(
                "the orientation at `time`, in seconds, on the shorter arc from a to b at their timestamps"),
            entry<QuaternionSplineFunction>("the orientation at `time`, in seconds, on a smooth curve "
                                            "through all four, between the timestamps "
                                            "of a and b"),
            entry<QuaternionAxisFunction>("the axis of the rotation, of unit length"),
            entry<QuaternionAngleFunction>("the angle of the rotation, in radians, from 0 to 2 pi"),
            entry<QuaternionFunction>("the quaternion (x, y, z, w), w the real part, at unit length"),
            entry<RotationMatrixToQuaternionFunction>(
                "the rotation of a 3 by 3 matrix that turns column vectors, given by its rows"),
        });
}

}  // namespace KelvaneSDK
