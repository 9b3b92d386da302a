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

/// A constant with which a function cannot run.
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

template <std::size_t input, std::size_t least>
std::optional<Trouble> samplesIn(const FixedInputs& inputs) {
    const auto value = inputs.value<Sequence>(input);
    return unless(!value || value->samples().items().size() >= least, input,
                  least == 1 ? "the sequence must hold a sample" : "the sequence must hold two samples");
}

using IntegerOperation = std::optional<std::int64_t> (*)(std::int64_t, std::int64_t);
template <IntegerOperation operation>
std::optional<Trouble> fitsInteger(const FixedInputs& inputs) {
    const auto a = inputs.integer(0), b = inputs.integer(1);
    return unless(!a || !b || operation(*a, *b), 1, "the result must fit in 64 bits");
}

std::optional<Trouble> divisor(const FixedInputs& inputs) {
    if (inputs.integer(1) == 0) return Trouble{1, "an integer cannot be divided by 0"};
    return fitsInteger<checkedQuotient>(inputs);
}

std::optional<Trouble> negated(const FixedInputs& inputs) {
    return unless(inputs.integer(0) != std::numeric_limits<std::int64_t>::min(), 0,
                  "the result must fit in 64 bits");
}

std::optional<Trouble> truncated(const FixedInputs& inputs) {
    const auto x = inputs.real(0);
    return unless(!x || truncatedInteger(*x), 0, "the number must fit in a 64-bit integer");
}

std::optional<Trouble> delay(const FixedInputs& inputs) {
    const auto duration = inputs.real(0);
    return unless(!duration || *duration > 0, 0, "the time must be above 0");
}

std::optional<Trouble> resampling(const FixedInputs& inputs) {
    if (const auto trouble = samplesIn<1, 1>(inputs)) return trouble;
    const auto step = inputs.real(0);
    if (!step || !(*step <= 0)) return std::nullopt;
    // A fixed sequence that does not advance needs no step.
    if (const auto fixed = inputs.value<Sequence>(1)) {
        const auto samples = fixed->samples().items();
        if (!(samples.front().t < samples.back().t)) return std::nullopt;
    }
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
    {"Add", fitsInteger<checkedSum>},
    {"Subtract", fitsInteger<checkedDifference>},
    {"Multiply", fitsInteger<checkedProduct>},
    {"Divide", divisor},
    {"Negate", negated},
    {"Integer", truncated},
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
    {"Time derivative", samplesIn<0, 2>},
    {"Time integral", samplesIn<0, 2>},
    {"Sequence rectifier", samplesIn<0, 1>},
    {"Normalize", samplesIn<0, 1>},
    {"Start time", samplesIn<0, 1>},
    {"End time", samplesIn<0, 1>},
    {"Duration", samplesIn<0, 1>},
    {"Scale time", samplesIn<2, 1>},
    {"Get interpolated values", samplesIn<1, 1>},
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
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        const CheckedNode& node = nodes[i];
        if (!node.is(NodeCategory::Function) || !node.shape->traits.isKnown || !evaluation.canRun(i))
            continue;
        const auto found = trouble(values, i);
        if (!found) continue;
        const NodeIndex source = *values.sourceOf(i, found->input);
        findings
            .error(found->neverEnds ? "constant-never-ends" : "constant-stops", Section::nodes, i,
                   node.inputName(found->input) + " is fixed at " + getValueString(*values.of(source)) +
                       " by " + nodeName(nodes[source]) + "; " + std::string(found->demand))
            .about(node)
            .subject(node.inputName(found->input))
            .fatal();
    }
}

}  // namespace KelvaneSDK
