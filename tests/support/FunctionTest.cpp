#include "support/FunctionTest.h"

#include <cmath>
#include <utility>

#include "support/Slots.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

const Step resetStep{{}, none, std::nullopt, true};

Expectation stops(std::string reason) {
    Expectation expectation = none;
    expectation.stopReason = std::move(reason);
    return expectation;
}

Expectation says(std::string line) {
    Expectation expectation = none;
    expectation.line = std::move(line);
    return expectation;
}

Expectation approximately(Value value, double tolerance) {
    Expectation expectation = none;
    expectation.value = std::move(value);
    expectation.tolerance = tolerance;
    return expectation;
}

namespace {

std::vector<double> componentsOf(const Value& value) {
    if (const auto v = value.get<Vector>()) return {v->x, v->y, v->z};
    if (const auto q = value.get<Orientation>()) return {q->x, q->y, q->z, q->w};
    return {value.as<double>()};
}

bool matches(const Expectation& expected, const std::optional<Value>& found) {
    if (expected.tolerance == 0) return describe(expected.value) == describe(found);
    if (!found || found->type() != expected.value->type()) return false;
    const auto a = componentsOf(*expected.value), b = componentsOf(*found);
    return std::equal(a.begin(), a.end(), b.begin(), [&](double x, double y) { return std::fabs(x - y) <= expected.tolerance; });
}

// Takes what comes before the mark, and the mark.
std::string take(std::string& text, std::string_view mark) {
    const auto end = text.find(mark);
    if (end == text.npos) return std::exchange(text, {});
    const auto taken = text.substr(0, end);
    text.erase(0, end + mark.size());
    return taken;
}

std::string documentFor(std::string title) {
    DiagramDocument document;
    auto last = document.function(take(title, "("));
    auto inputs = take(title, ") > "), way = take(title, ": ");
    for (std::int64_t i = 0; !inputs.empty(); ++i) {
        document.connect(document.stream(take(inputs, ", "), "in" + std::to_string(i)), last, i);
    }
    while (!way.empty()) {
        const auto step = take(way, " > ");
        const auto next = way.empty() ? document.output(step, "out") : document.function(step);
        document.connect(last, next);
        last = next;
    }
    return document.text();
}

}  // namespace

std::string caseName(const testing::TestParamInfo<FunctionCase>& info) {
    auto shows = info.param.title;
    auto name = take(shows, "(");
    take(shows, ": ");
    name += "_" + shows;
    std::erase_if(name, [](char c) { return c == ' ' || c == '-'; });
    return name;
}

TEST_P(FunctionTest, GivesTheOutputsOfItsTable) {
    const auto start = [document = documentFor(GetParam().title)] {
        auto engine = std::make_unique<Kelvane>();
        EXPECT_TRUE(engine->read(document, true));
        return engine;
    };
    auto engine = start();
    double number = 0;
    for (const Step& step : GetParam().steps) {
        if (step.isReset) {
            engine->reset();
            continue;
        }
        KelvaneInput input{step.timestamp.value_or(++number), {}};
        for (std::size_t i = 0; i < step.updates.size(); ++i) {
            if (step.updates[i]) input.updates.insert_or_assign("in" + std::to_string(i), *step.updates[i]);
        }
        SCOPED_TRACE("at timestamp " + std::to_string(input.timestamp));
        if (!step.expected.stopReason.empty()) {
            EXPECT_STOP(engine->evaluate(input), "node [0-9]+ .*" + step.expected.stopReason);
            engine = start();
            continue;
        }
        const CapturedDiagnostics captured;
        const auto output = engine->evaluate(input);
        EXPECT_EQ(captured.lines, std::vector<std::string>(step.expected.line.empty() ? 0 : 1, step.expected.line));
        const auto found = output.outputs.find("out");
        const auto value = found == output.outputs.end() ? std::nullopt : std::optional(found->second);
        EXPECT_TRUE(matches(step.expected, value)) << "expected " << describe(step.expected.value) << ", found " << describe(value);
    }
    engine->reset();
    for (const auto& node : engine->nodeList(NodeCategory::Function)) {
        for (const auto* slot : node->inputValues()) EXPECT_FALSE(slot->hasValue()) << "a reset empties the inputs";
    }
}

}  // namespace KelvaneSDK::testing_support
