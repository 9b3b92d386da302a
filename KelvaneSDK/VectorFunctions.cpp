#include <cmath>

#include "KelvaneSDK/ElementArithmetic.h"
#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"

namespace KelvaneSDK {

namespace {

double dotProduct(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

double length(const Vector& v) { return std::sqrt(dotProduct(v, v)); }

Vector crossProduct(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

class VectorLengthFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue>("v"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Vector length"; }
    void process() override { finish(length(vector(0))); }
};

class MakeVectorFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatValue, FloatValue>("x", "y", "z"); }
    void createOutput() override { setOutput<VectorValue>(); }
    void setTypeString() override { typeString = "Make vector"; }
    void process() override { finish(Vector{real(0), real(1), real(2)}); }
};

class NormalizeVectorFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue>("v"); }
    void createOutput() override { setOutput<VectorValue>(); }
    void setTypeString() override { typeString = "Normalize vector"; }
    void process() override {
        const Vector v = vector(0);
        finish(v * (1 / length(v)));
    }
};

class VectorXCoordinateFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue>("v"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Vector x-coordinate"; }
    void process() override { finish(vector(0).x); }
};

class VectorYCoordinateFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue>("v"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Vector y-coordinate"; }
    void process() override { finish(vector(0).y); }
};

class VectorZCoordinateFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue>("v"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Vector z-coordinate"; }
    void process() override { finish(vector(0).z); }
};

class VectorDotProductFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue, VectorValue>("a", "b"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Vector dot product"; }
    void process() override { finish(dotProduct(vector(0), vector(1))); }
};

class VectorCrossProductFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue, VectorValue>("a", "b"); }
    void createOutput() override { setOutput<VectorValue>(); }
    void setTypeString() override { typeString = "Vector cross product"; }
    void process() override { finish(crossProduct(vector(0), vector(1))); }
};

class DistanceFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue, VectorValue>("a", "b"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Distance"; }
    void process() override { finish(length(vector(0) - vector(1))); }
};

class VectorAngleFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<VectorValue, VectorValue>("a", "b"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Vector angle"; }
    void process() override { finish(std::acos(dotProduct(vector(0), vector(1)))); }
};

}  // namespace

NodeFamily vectorFunctions() {
    return functionFamily(
        "Vector",
        {
            entry<VectorLengthFunction>("the length of v"),
            entry<MakeVectorFunction>("the vector (x, y, z)"),
            entry<NormalizeVectorFunction>("v scaled to length 1; NaN for the zero vector"),
            entry<VectorXCoordinateFunction>("the x-coordinate of v"),
            entry<VectorYCoordinateFunction>("the y-coordinate of v"),
            entry<VectorZCoordinateFunction>("the z-coordinate of v"),
            entry<VectorDotProductFunction>("the dot product of a and b"),
            entry<VectorCrossProductFunction>("the cross product of a and b, with a on the left"),
            entry<DistanceFunction>("the distance between points a and b"),
            entry<VectorAngleFunction>("the angle between a and b in radians; both must have length 1"),
        });
}

}  // namespace KelvaneSDK
