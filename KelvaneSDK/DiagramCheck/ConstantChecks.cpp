#include <algorithm>
#include <limits>

#include "KelvaneSDK/DiagramCheck/ConnectionChecks.h"
#include "KelvaneSDK/DiagramCheck/FixedValues.h"
#include "KelvaneSDK/ElementArithmetic.h"

namespace KelvaneSDK {

namespace {

/// The fixed values that reach a function's inputs.
class FixedInputs {
public:
    FixedInputs(const FixedValues& fixedValues, NodeIndex function) : values(fixedValues), node(function) {}

    template <class T>
    std::optional<T> value(std::size_t input) const {
        const auto source = values.sourceOf(node, input);
        return source ? values.of(*source)->get<T>() : std::nullopt;
    }
    std::optional<std::int64_t> integer(std::size_t input) const { return value<std::int64_t>(input); }
    std::optional<double> real(std::size_t input) const { return value<double>(input); }

private:
    const FixedValues& values;
    NodeIndex node;
};

/// A constant with which a function cannot run, whatever else it is given.
struct Trouble {
    std::size_t input;
    std::string_view demand;
    bool neverEnds = false;
};

using Rule = std::optional<Trouble> (*)(const FixedInputs&);

std::optional<Trouble> unless(bool fine, std::size_t input, std::string_view demand) {
    return fine ? std::nullopt : std::optional(Trouble{input, demand});
}

template <std::int64_t least>
std::optional<Trouble> atLeast(const FixedInputs& inputs, std::size_t input, std::string_view demand) {
    const auto value = inputs.integer(input);
    return unless(!value || *value >= least, input, demand);
}

template <std::size_t input>
std::optional<Trouble> someSamples(const FixedInputs& inputs) {
    const auto value = inputs.value<Sequence>(input);
    return unless(!value || !value->samples().empty(), input, "the sequence must hold a sample");
}

std::optional<Trouble> divisor(const FixedInputs& inputs) {
    return unless(inputs.integer(1) != 0, 1, "an integer cannot be divided by 0");
}

std::optional<Trouble> delay(const FixedInputs& inputs) {
    const auto duration = inputs.real(0);
    return unless(!duration || *duration > 0, 0, "the time must be above 0");
}

std::optional<Trouble> resampling(const FixedInputs& inputs) {
    if (const auto trouble = someSamples<1>(inputs)) return trouble;
    const auto step = inputs.real(0);
    if (!step) return std::nullopt;
    if (const auto fixed = inputs.value<Sequence>(1)) {
        const double start = fixed->samples().items().front().t, end = fixed->samples().items().back().t;
        // A sequence that does not advance needs no step.
        if (!(start < end)) return std::nullopt;
        if (*step > 0 && start + *step == start) {
            return Trouble{0, "the step must be long enough to leave the sequence's start", true};
        }
    }
    if (!(*step <= 0)) return std::nullopt;
    return Trouble{0, "the step must be above 0", true};
}

std::optional<Trouble> trimming(const FixedInputs& inputs) {
    const auto first = inputs.integer(0), last = inputs.integer(1);
    return unless(!first || !last || std::max(*first, *last) >= 0, 1, "one of the indices must be 0 or more");
}

std::optional<Trouble> averagedWidth(const FixedInputs& inputs) {
    return atLeast<0>(inputs, 0, "the width must be 0 or more");
}
std::optional<Trouble> bufferLength(const FixedInputs& inputs) {
    return atLeast<-1>(inputs, 0, "the length must be -1 or more");
}
std::optional<Trouble> arrayLength(const FixedInputs& inputs) {
    return atLeast<0>(inputs, 0, "the length must be 0 or more");
}
std::optional<Trouble> arrayIndex(const FixedInputs& inputs) {
    return atLeast<0>(inputs, 0, "the index must be 0 or more");
}

std::optional<Trouble> searched(const FixedInputs& inputs) {
    const auto list = inputs.value<List<double>>(1);
    return unless(!list || !list->items().empty(), 1, "the array must hold an element");
}

struct Row {
    std::string_view function;
    Rule rule;
};

constexpr Row rules[] = {
    {"Divide", divisor},
    {"Buffer", bufferLength},
    {"Create array", arrayLength},
    {"Remove from array", arrayIndex},
    {"Insert into array", arrayIndex},
    {"Combine arrays", arrayIndex},
    {"Trim", trimming},
    {"Search array", searched},
    {"Delay", delay},
    {"Sequencer", delay},
    {"Centered moving average", averagedWidth},
    {"Resample", resampling},
    {"Scale time", someSamples<2>},
    {"Get interpolated values", someSamples<1>},
};

std::optional<Trouble> scaling(const FixedInputs& inputs, ValueClass scaled) {
    if (scaled != ValueClass::IntegerValue && scaled != ValueClass::IntegerArrayVariable) return std::nullopt;
    const auto factor = inputs.real(0);
    return unless(!factor || truncatedInteger(*factor), 0, "the factor must fit in a 64-bit integer");
}

std::optional<Trouble> troubleOf(const CheckedNode& node, const FixedInputs& inputs, const Wiring& wiring,
                                 NodeIndex index) {
    const auto& function = node.record->typeString;
    if (function == "Scale") return scaling(inputs, wiring.inputClass(wiring.portOf(index, 1)));
    const auto row = std::find_if(std::begin(rules), std::end(rules),
                                  [&](const Row& r) { return r.function == function; });
    return row != std::end(rules) ? row->rule(inputs) : std::nullopt;
}

}  // namespace

void checkConstants(const NodeTable& nodes, const Wiring& wiring, const Evaluation& evaluation,
                    FindingList& findings) {
    const auto trouble = [&](const FixedValues& values, NodeIndex function) {
        return troubleOf(nodes[function], FixedInputs(values, function), wiring, function);
    };
    const FixedValues values(nodes, wiring, [&](const FixedValues& known, NodeIndex function) {
        return evaluation.canRun(function) && !trouble(known, function);
    });
    // The inputs from `first` up to `end` are to blame.
    const auto tell = [&](std::string_view code, NodeIndex index, std::size_t first, std::size_t end,
                          const std::string& reason) {
        const CheckedNode& node = nodes[index];
        std::string message;
        for (auto input = first; input < end; ++input) {
            const NodeIndex source = *values.sourceOf(index, input);
            message += (input > first ? ", " : "") + node.inputName(input) + " is fixed at " +
                       getValueString(*values.of(source)) + " by " + nodeName(nodes[source]);
        }
        findings.error(code, Section::nodes, index, message + "; " + reason)
            .about(node)
            .subject(node.inputName(first))
            .fatal();
    };
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        const CheckedNode& node = nodes[i];
        if (!node.is(NodeCategory::Function) || !node.shape->traits.isKnown || !evaluation.canRun(i))
            continue;
        if (const auto found = trouble(values, i)) {
            const auto code = found->neverEnds ? "constant-never-ends" : "constant-stops";
            tell(code, i, found->input, found->input + 1, std::string(found->demand));
        } else if (!values.stopOf(i).empty()) {
            tell("constant-stops", i, 0, wiring.inputCount(i), values.stopOf(i));
        }
    }
}

}  // namespace KelvaneSDK
