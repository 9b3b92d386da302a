#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"

namespace KelvaneSDK {

namespace {

class EqualFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<TimestampedVariable, TimestampedVariable>("a", "b"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Equal"; }
    void process() override { finish(input(0).isEqual(input(1))); }
};

class MaxFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ValueVariable, ValueVariable>("a", "b");
        unsupported<BooleanValue, VectorValue, OrientationValue>();
    }
    void createOutput() override { setOutput<ValueVariable>(); }
    void setTypeString() override { typeString = "Max"; }
    void process() override {
        const auto larger = input(0).isLarger(input(1));
        if (!larger) return finishWithPreviousOutput();
        finish(value(*larger ? 0 : 1));
    }
};

class MinFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ValueVariable, ValueVariable>("a", "b");
        unsupported<BooleanValue, VectorValue, OrientationValue>();
    }
    void createOutput() override { setOutput<ValueVariable>(); }
    void setTypeString() override { typeString = "Min"; }
    void process() override {
        const auto smaller = input(0).isSmaller(input(1));
        if (!smaller) return finishWithPreviousOutput();
        finish(value(*smaller ? 0 : 1));
    }
};

class LargerFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ValueVariable, ValueVariable>("a", "b");
        unsupported<BooleanValue, VectorValue, OrientationValue, FloatArrayVariable, IntegerArrayVariable,
                    BooleanArrayVariable, StringArrayVariable, VectorArrayVariable,
                    OrientationArrayVariable>();
    }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Larger"; }
    void process() override { finish(input(0).isLarger(input(1))); }
};

class SmallerFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ValueVariable, ValueVariable>("a", "b");
        unsupported<BooleanValue, VectorValue, OrientationValue, FloatArrayVariable, IntegerArrayVariable,
                    BooleanArrayVariable, StringArrayVariable, VectorArrayVariable,
                    OrientationArrayVariable>();
    }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Smaller"; }
    void process() override { finish(input(0).isSmaller(input(1))); }
};

class LargerOrEqualFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ValueVariable, ValueVariable>("a", "b");
        unsupported<BooleanValue, VectorValue, OrientationValue, FloatArrayVariable, IntegerArrayVariable,
                    BooleanArrayVariable, StringArrayVariable, VectorArrayVariable,
                    OrientationArrayVariable>();
    }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Larger or equal"; }
    void process() override { finish(input(0).isLargerOrEqual(input(1))); }
};

class SmallerOrEqualFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ValueVariable, ValueVariable>("a", "b");
        unsupported<BooleanValue, VectorValue, OrientationValue, FloatArrayVariable, IntegerArrayVariable,
                    BooleanArrayVariable, StringArrayVariable, VectorArrayVariable,
                    OrientationArrayVariable>();
    }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Smaller or equal"; }
    void process() override { finish(input(0).isSmallerOrEqual(input(1))); }
};

class AddFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<TimestampedVariable, TimestampedVariable>("a", "b");
        unsupported<BooleanValue, BooleanArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Add"; }
    void process() override { finish(input(0).add(input(1))); }
};

class SubtractFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<TimestampedVariable, TimestampedVariable>("a", "b");
        unsupported<BooleanValue, BooleanArrayVariable, StringValue, StringArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Subtract"; }
    void process() override { finish(input(0).subtract(input(1))); }
};

class MultiplyFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<TimestampedVariable, TimestampedVariable>("a", "b");
        unsupported<BooleanValue, BooleanArrayVariable, StringValue, StringArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Multiply"; }
    void process() override { finish(input(0).multiply(input(1))); }
};

class DivideFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<TimestampedVariable, TimestampedVariable>("a", "b");
        unsupported<BooleanValue, BooleanArrayVariable, StringValue, StringArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Divide"; }
    void process() override { finish(input(0).divide(input(1))); }
};

class ScaleFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, TimestampedVariable>("factor", "value");
        unsupported<BooleanValue, BooleanArrayVariable, StringValue, StringArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Scale"; }
    void process() override { finish(input(1).scale(real(0))); }
};

class NegateFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<TimestampedVariable>("value");
        unsupported<StringValue, StringArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Negate"; }
    void process() override { finish(input(0).negate()); }
};

class AdderFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<TimestampedVariable>("value");
        unsupported<BooleanValue, BooleanArrayVariable, SequenceArrayVariable>();
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Adder"; }
    void process() override {
        if (!sum) {
            sum = value(0);
            return finish(*sum);
        }
        finish(previousOutput().add(input(0)));
    }
    void reset() override {
        sum.reset();
        FunctionNode::reset();
    }

private:
    std::optional<Value> sum;
};

}  // namespace

NodeFamily basicFunctions() {
    return functionFamily(
        "Basic",
        {
            entry<EqualFunction>("true when a equals b exactly; silent when they cannot be compared"),
            entry<MaxFunction>("the larger of a and b; b when they are equal"),
            entry<MinFunction>("the smaller of a and b; b when they are equal"),
            entry<LargerFunction>("true when a is larger than b"),
            entry<SmallerFunction>("true when a is smaller than b"),
            entry<LargerOrEqualFunction>("true when a is larger than b or equal to it"),
            entry<SmallerOrEqualFunction>("true when a is smaller than b or equal to it"),
            entry<AddFunction>("a + b; texts are joined, sequences meet at the times of a"),
            entry<SubtractFunction>("a - b"),
            entry<MultiplyFunction>("a * b, component by component; the product of two rotations"),
            entry<DivideFunction>("a / b, component by component; a times the inverse of rotation b"),
            entry<ScaleFunction>("the value times the factor; for integers the factor loses its fraction"),
            entry<NegateFunction>("minus the value; for a boolean, not the value"),
            entry<AdderFunction>("the running sum of all values since the last reset"),
        });
}

}  // namespace KelvaneSDK
