#include "KelvaneSDK/Functions/ElementArithmetic.h"
#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"

namespace KelvaneSDK {

namespace {

using Type = ValueClass;

constexpr std::int64_t leastLength = -1;

struct Buffer {
    static bool meetsDemands(std::int64_t length, Anything, const Node&) { return length >= leastLength; }
    Maybe<Value> operator()(std::int64_t length, Anything latest, const Node& node) {
        append(latest.value);
        // Asked in every step, so not by a call where nothing is limited.
        const auto* diagram = NodeState::of(node).diagram;
        if (diagram != nullptr && diagram->budget.limitsElements()) node.checkElements(count);
        if (length >= static_cast<std::int64_t>(count)) return Silent{"the buffer is filling"};
        while (static_cast<std::int64_t>(count) > length + 1) dropFirst();
        if (count == 0) return Silent{"the buffer is empty", Silent::clearsOutput};
        return ring[first];
    }

private:
    void append(const Value& value) {
        if (count == ring.size()) grow();
        ring[(first + count) & mask] = value;
        ++count;
    }
    // What it held is let go of now, not when its place is taken.
    void dropFirst() {
        if (ring[first].type() >= ValueType::String) ring[first] = 0.0;
        first = (first + 1) & mask;
        --count;
    }
    void grow() {
        std::vector<Value> larger(std::max<std::size_t>(4, 2 * count), 0.0);
        for (std::size_t i = 0; i < count; ++i) larger[i] = std::move(ring[(first + i) & mask]);
        ring = std::move(larger);
        mask = ring.size() - 1;
        first = 0;
    }

    // The latest values, from `first` on around; the number of places is a power of two.
    std::vector<Value> ring;
    std::size_t mask = 0, first = 0, count = 0;
};

struct UpdateCounter {
    std::int64_t operator()(Anything, const Node& node) {
        const auto next = checkedSum(count, 1);
        if (!next) node.stop("an integer count overflows 64 bits");
        return count = *next;
    }
    std::int64_t count = 0;
};

class PassUpdatedFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Pass updated",
                .inputs = {{"a"}, {"b"}},
                .description =
                    "whichever input has a new value; a when both have. A constant is new in every batch",
                .keywords = "merge either initial first feedback",
                .readiness = Readiness::anyInput,
                .forwards = {0, 1},
                .takesAnything = {0, 1}};
    }
    bool allInputsUpdated() const override { return isUpdated(0) || isUpdated(1); }
    bool allInputsHaveValues() const override { return input(0).hasValue() || input(1).hasValue(); }
    void process() override { finishOrClear(input(isUpdated(0) ? 0 : 1).value()); }
};

class TriggerFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Trigger",
                .inputs = {{"trigger", Type::BooleanValue}, {"value"}},
                .description =
                    "the latest value, however old, at every update of the trigger that is true; nothing "
                    "before the first value",
                .keywords = "sample hold latch memory previous",
                .readiness = Readiness::trueTrigger,
                .forwards = {1},
                .takesAnything = {1}};
    }
    bool allInputsUpdated() const override { return input(0).hasValue() && boolean(0) && isUpdated(0); }
    void process() override { finish(value(1)); }
};

class SwitchFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Switch",
                .inputs = {{"select", Type::BooleanValue}, {"whenTrue"}, {"whenFalse"}},
                .description =
                    "whenTrue while select is true, whenFalse otherwise; fires with that input's updates",
                .keywords = "if select choose either",
                .readiness = Readiness::selectedInput,
                .forwards = {1, 2},
                .takesAnything = {1, 2}};
    }
    bool allInputsUpdated() const override { return isUpdated(selected()); }
    bool allInputsHaveValues() const override { return input(0).hasValue() && input(selected()).hasValue(); }
    void process() override { finish(value(selected())); }
    void prepare(Step& step) const override { step.run = run; }

private:
    std::size_t selected() const { return boolean(0) ? 1 : 2; }

    // The same where all three inputs are new and the value is a scalar, as it mostly is.
    static bool run(Step& step) {
        auto& self = static_cast<SwitchFunction&>(*step.node);
        StepInput* const inputs = step.inputs;
        const GivenValue& select = *inputs[0].source;
        if (!inputs[0].hasNews() || !inputs[1].hasNews() || !inputs[2].hasNews() || !select.holds<bool>())
            return self.runByItsRule();
        const GivenValue& chosen = *inputs[select.value.unchecked<bool>() ? 1 : 2].source;
        GivenValue& given = NodeState::of(self).given;
        if (chosen.kind != given.kind || chosen.kind > static_cast<std::uint8_t>(ValueType::Boolean) ||
            given.special != 0) {
            return self.runByItsRule();
        }
        double latest = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            if (latest <= inputs[i].source->timestamp) latest = inputs[i].source->timestamp;
            inputs[i].consume();
        }
        given.value.replaceScalar(chosen.value);
        given.publish(latest);
        return true;
    }
    [[gnu::noinline]] bool runByItsRule() {
        if (!allInputsHaveValues() || !allInputsUpdated()) return false;
        process();
        return true;
    }
};

std::optional<std::string> lengthBelowMinusOne(std::span<const Value* const> values,
                                               std::span<const ValueClass>) {
    const auto length = belowLeast<0, leastLength>(values);
    if (!length) return std::nullopt;
    return "a buffer of length " + *length + " drops more values than it holds";
}

}  // namespace

NodeFamily flowFunctions() {
    return functionFamily(
        "Flow",
        {
            pure(
                "Pass-through", {{"value"}}, [](Anything value) { return value.value; }, "the value as it is")
                .keywords("identity forward"),
            pure(
                "Timestamp", {{"value"}}, [](Anything value) { return value.timestamp; },
                "when the value was produced, in seconds")
                .keywords("time when"),
            pure(
                "Updated", {{"value"}}, [](Anything) { return true; }, "true each time a value arrives")
                .keywords("new event"),
            entry<PassUpdatedFunction>(),
            stateful<Buffer>("Buffer", {{"length", "updates, 0 or more"}, {"value"}},
                             "the value that arrived `length` updates ago")
                .silent("for the first `length` updates")
                .keywords("delay previous history")
                .demands({"length is -1 or more", {0}, lengthBelowMinusOne}),
            pure(
                "Gate", {{"open"}, {"value"}},
                [](bool open, Anything value) -> Maybe<Value> {
                    if (!open) return Silent{"the gate is closed"};
                    return value.value;
                },
                "the value while open is true")
                .silent("while open is false")
                .keywords("filter if when"),
            stateful<UpdateCounter>("Update counter", {{"value"}},
                                    "how many values have arrived since the last reset")
                .keywords("count number first"),
            entry<TriggerFunction>(),
            entry<SwitchFunction>(),
        });
}

}  // namespace KelvaneSDK
