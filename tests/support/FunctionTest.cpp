#include "support/FunctionTest.h"
#include "support/Stops.h"

#include <cmath>
#include <cstring>

namespace KelvaneSDK::testing_support {

const Step resetStep{{}, none, std::nullopt, true};

Expectation stops(std::string reason) {
    Expectation expectation = none;
    expectation.stopReason = std::move(reason);
    return expectation;
}

Expectation approximately(Value value, double tolerance) {
    Expectation expectation = none;
    expectation.value = std::move(value);
    expectation.tolerance = tolerance;
    return expectation;
}

namespace {

void appendNumbers(std::vector<double>& numbers, double x) { numbers.push_back(x); }
void appendNumbers(std::vector<double>& numbers, const Sample& s) { numbers.insert(numbers.end(), {s.t, s.f}); }
void appendNumbers(std::vector<double>& numbers, const Vector& v) { numbers.insert(numbers.end(), {v.x, v.y, v.z}); }
void appendNumbers(std::vector<double>& numbers, const Orientation& q) { numbers.insert(numbers.end(), {q.x, q.y, q.z, q.w}); }
void appendNumbers(std::vector<double>& numbers, const Sequence& sequence) {
    for (const auto& sample : sequence.samples()) appendNumbers(numbers, sample);
}

template <class Item>
void appendItems(std::vector<double>& numbers, const Value& value) {
    for (const auto& item : value.items<Item>()) appendNumbers(numbers, item);
}

// All doubles in a value, so that NaN can equal NaN and tolerances apply; empty for values without doubles.
std::vector<double> numbersOf(const Value& value) {
    std::vector<double> numbers;
    if (const auto x = value.get<double>()) appendNumbers(numbers, *x);
    if (const auto v = value.get<Vector>()) appendNumbers(numbers, *v);
    if (const auto q = value.get<Orientation>()) appendNumbers(numbers, *q);
    appendItems<Sample>(numbers, value);
    appendItems<double>(numbers, value);
    appendItems<Vector>(numbers, value);
    appendItems<Orientation>(numbers, value);
    appendItems<Sequence>(numbers, value);
    return numbers;
}

bool matches(const Value& expected, const Value& found, double tolerance) {
    if (expected.type() != found.type()) return false;
    const auto a = numbersOf(expected), b = numbersOf(found);
    if (a.empty() && b.empty()) return getValueString(expected) == getValueString(found);
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](double x, double y) {
        if (std::isnan(x) || std::isnan(y)) return std::isnan(x) && std::isnan(y);
        return tolerance > 0 ? std::fabs(x - y) <= tolerance : x == y && std::signbit(x) == std::signbit(y);
    });
}

std::string describe(const std::optional<Value>& value) {
    return value ? std::string(valueTypeName(value->type())) + " " + getValueString(*value) : "no output";
}

std::string documentFor(const FunctionCase& parameters) {
    DiagramDocument document;
    std::vector<std::int64_t> streams;
    for (std::size_t i = 0; i < parameters.inputTypes.size(); ++i) {
        streams.push_back(document.stream(parameters.inputTypes[i], "in" + std::to_string(i)));
    }
    auto last = document.function(parameters.function);
    for (std::size_t i = 0; i < streams.size(); ++i) {
        document.connect(streams[i], last, static_cast<std::int64_t>(i));
    }
    if (!parameters.next.empty()) {
        const auto next = document.function(parameters.next);
        document.connect(last, next);
        last = next;
    }
    document.connect(last, document.output(parameters.outputType, "out"));
    return document.text();
}

}  // namespace

TEST_P(FunctionTest, GivesTheOutputsOfItsTable) {
    const FunctionCase& parameters = GetParam();
    Kelvane engine;
    ASSERT_TRUE(engine.read(documentFor(parameters), true));
    double number = 0;
    for (const Step& step : parameters.steps) {
        if (step.isReset) {
            engine.reset();
            continue;
        }
        KelvaneInput input{step.timestamp.value_or(++number), {}};
        for (std::size_t i = 0; i < step.updates.size(); ++i) {
            if (step.updates[i]) input.updates.insert_or_assign("in" + std::to_string(i), *step.updates[i]);
        }
        SCOPED_TRACE("at timestamp " + std::to_string(input.timestamp));
        if (!step.expected.stopReason.empty()) {
            EXPECT_STOP(engine.evaluate(input), "node [0-9]+ .*" + step.expected.stopReason);
            continue;
        }
        const auto output = engine.evaluate(input);
        const auto found = output.outputs.find("out");
        const auto value = found == output.outputs.end() ? std::nullopt : std::optional(found->second);
        const bool same = value && step.expected.value ? matches(*step.expected.value, *value, step.expected.tolerance)
                                                       : value.has_value() == step.expected.value.has_value();
        EXPECT_TRUE(same) << "expected " << describe(step.expected.value) << ", found " << describe(value);
    }
}

}  // namespace KelvaneSDK::testing_support
