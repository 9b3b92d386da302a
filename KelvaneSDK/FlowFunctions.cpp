#include <deque>

#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"

namespace KelvaneSDK {

namespace {

class PassThroughFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<TimestampedVariable>("value"); }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Pass-through"; }
    void process() override { finish(value(0)); }
};

class TimestampFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<TimestampedVariable>("value"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Timestamp"; }
    void process() override { finish(timestamp(0)); }
};

class UpdatedFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<TimestampedVariable>("value"); }
    void createOutput() override { setOutput<BooleanValue>(); }
    void setTypeString() override { typeString = "Updated"; }
    void process() override { finish(Value(true)); }
};

class PassUpdatedFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<TimestampedVariable, TimestampedVariable>("a", "b"); }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Pass updated"; }
    bool allInputsUpdated() const override { return isUpdated(0) || isUpdated(1); }
    bool allInputsHaveValues() const override { return input(0).hasValue() || input(1).hasValue(); }
    void process() override { finish(input(isUpdated(0) ? 0 : 1).value()); }
};

class BufferFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, TimestampedVariable>("length", "value"); }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Buffer"; }
    void process() override {
        const std::int64_t length = integer(0);
        buffer.push_back(value(1));
        checkElements(buffer.size());
        const auto count = static_cast<std::int64_t>(buffer.size());
        if (length >= count) return endWithoutOutput();
        if (length < -1)
            stop("a buffer of length " + std::to_string(length) + " drops more values than it holds");
        while (static_cast<std::int64_t>(buffer.size()) > length + 1) buffer.pop_front();
        finish(buffer.empty() ? std::nullopt : std::optional(buffer.front()));
    }
    void reset() override {
        buffer.clear();
        FunctionNode::reset();
    }

private:
    std::deque<Value> buffer;
};

class GateFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, TimestampedVariable>("open", "value"); }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Gate"; }
    void process() override {
        if (!boolean(0)) return endWithoutOutput();
        finish(value(1));
    }
};

class UpdateCounterFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<TimestampedVariable>("value"); }
    void createOutput() override { setOutput<IntegerValue>(); }
    void setTypeString() override { typeString = "Update counter"; }
    void process() override {
        counter = checkedAdd(counter, 1);
        finish(counter);
    }
    void reset() override {
        counter = 0;
        FunctionNode::reset();
    }

private:
    std::int64_t counter = 0;
};

class TriggerFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<BooleanValue, TimestampedVariable>("trigger", "value"); }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Trigger"; }
    bool allInputsUpdated() const override { return input(0).hasValue() && boolean(0) && isUpdated(0); }
    void process() override { finish(value(1)); }
};

class SwitchFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<BooleanValue, TimestampedVariable, TimestampedVariable>("select", "whenTrue", "whenFalse");
    }
    void createOutput() override { setOutput<TimestampedVariable>(); }
    void setTypeString() override { typeString = "Switch"; }
    bool allInputsUpdated() const override { return isUpdated(selected()); }
    bool allInputsHaveValues() const override { return input(0).hasValue() && input(selected()).hasValue(); }
    void process() override { finish(value(selected())); }

private:
    std::size_t selected() const { return boolean(0) ? 1 : 2; }
};

}  // namespace

NodeFamily flowFunctions() {
    return functionFamily(
        "Flow",
        {
            entry<PassThroughFunction>("the value as it is"),
            entry<TimestampFunction>("when the value was produced, in seconds"),
            entry<UpdatedFunction>("true each time a value arrives"),
            entry<PassUpdatedFunction>("whichever input has a new value; a when both have"),
            entry<BufferFunction>("the value that arrived `length` updates ago"),
            entry<GateFunction>("the value while open is true; silent otherwise"),
            entry<UpdateCounterFunction>("how many values have arrived since the last reset"),
            entry<TriggerFunction>(
                "the latest value, each time the trigger becomes true or stays true by an update"),
            entry<SwitchFunction>(
                "whenTrue while select is true, whenFalse otherwise; fires with that input's updates"),
        });
}

}  // namespace KelvaneSDK
