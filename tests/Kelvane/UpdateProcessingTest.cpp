#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "KelvaneSDK/FunctionNode.h"
#include "support/DiagramDocument.h"
#include "support/PlainEngine.h"
#include "support/Stops.h"

namespace KelvaneSDK::testing_support {

namespace {

class SlowFunction final : public FunctionNode {
public:
    void createInputs() override { appendInput(ValueClass::FloatValue, "x"); }
    void createOutput() override { makeOutput(ValueClass::FloatValue); }
    void setTypeString() override { typeString = "Slow"; }
    void process() override {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        finish(real(0));
    }
};

}  // namespace

TEST(UpdateProcessingTest, BatchesThatComeTooSoonAreSkipped) {
    const auto results = std::make_shared<Results>();
    Kelvane engine(results);
    engine.registerNodes(functionFamily("Test", {entry<SlowFunction>("sleeps")}));
    engine.read(DiagramDocument::chain("Slow").text(), true);
    const struct {
        double timestamp;
        std::size_t outputs;
        std::int64_t skipped;
    } steps[] = {
        {1e-9, 1, 0},                              // the first is compared with no time at all
        {1e-9 + 1e-6, 0, 1},                       // sooner than the last evaluation took
        {1e-9 + 2e-6, 1, 1},                       // always evaluated after a skipped one
        {1e-9 + 3e-6, 0, 2}, {1e-9 + 3e-6, 1, 0},  // not later than the previous one
        {-5, 1, 0},          {100, 1, 0},
    };
    for (const auto& [timestamp, outputs, skipped] : steps) {
        engine.updateInputStreams({timestamp, {{"x", timestamp}}});
        EXPECT_EQ(results->outputs.back().timestamp, timestamp);
        EXPECT_EQ(results->outputs.back().outputs.size(), outputs);
        EXPECT_EQ(engine.getFramesSkipped(), skipped);
    }
    engine.updateInputStreams({200, {{"unknown", 1.0}}});
    EXPECT_EQ(results->outputs.size(), std::size(steps)) << "an empty result is not delivered";
}

// The engine knows the labels of a batch again, which may be the same object with other labels.
// So many groups and outputs that a batch passes over those that it cannot reach.
TEST(UpdateProcessingTest, ABatchReachesAllThatDependsOnIt) {
    constexpr int streams = 700;
    std::string text = "total: Float\ntotal: Float = Add(s0, Trigger(Updated(s699), total at first))\ntotal at first: Float\n";
    for (int i = 0; i < streams; ++i) {
        const auto name = [&](char letter, int number) { return letter + std::to_string(number % streams); };
        text += name('s', i) + ": Float\n" + name('a', i) + " = Add(" + name('s', i) + ", " + name('s', 7 * i + 1) + ")\n" + name('o', i) +
                ": Float = Pass updated(" + name('a', i) + ", Gate(Larger(" + name('s', i) + ", 0), " + (i > 0 ? name('a', i - 1) : "total") + "))\n";
    }
    Kelvane engine;
    PlainEngine plain;
    for (auto* each : {&engine, &plain.engine}) ASSERT_TRUE(each->read(text, true));
    plain.takeNodes();
    std::minstd_rand random;
    for (int batch = 0; batch < 60; ++batch) {
        KelvaneInput input{0.1 * batch, {}};
        for (int updates = batch % 4; updates >= 0; --updates)
            input.updates["s" + std::to_string(random() % streams)] = static_cast<double>(random() % 9) - 4;
        if (batch % 7 == 0) input.updates["total at first"] = 1.0;
        EXPECT_EQ(engine.evaluate(input), plain.evaluate(input)) << batch;
    }
    EXPECT_EQ(stateOf(engine), stateOf(plain.engine));
}

TEST(UpdateProcessingTest, ABatchMayBeKeptAndChanged) {
    Kelvane engine;
    engine.read(DiagramDocument::chain("Absolute").text(), true);
    KelvaneInput input{1, {{"x", -1.0}}};
    KelvaneOutput output;
    const auto result = [&](double x) {
        input.updates[input.updates.begin()->first] = x;
        engine.evaluateInto(input, output);
        return output.outputs;
    };
    EXPECT_EQ(result(-2), (LabelledValues{{"y", 2.0}}));
    EXPECT_EQ(result(-3), (LabelledValues{{"y", 3.0}}));
    input.updates.erase("x");
    input.updates["z"] = 0.0;
    EXPECT_EQ(result(-4), LabelledValues{});
    input.updates = {{"a", 1.0}, {"x", -5.0}};
    EXPECT_EQ(result(1), (LabelledValues{{"y", 5.0}}));
    const auto kept = std::exchange(input.updates, LabelledValues{{"x", -6.0}});
    EXPECT_EQ(result(-7), (LabelledValues{{"y", 7.0}}));
    input.updates = kept;
    EXPECT_EQ(result(1), (LabelledValues{{"y", 5.0}}));
    output.outputs["w"] = 0.0;
    EXPECT_EQ(result(1), (LabelledValues{{"y", 5.0}}));
}

TEST(UpdateProcessingTest, HandlesStandForLabels) {
    auto document = DiagramDocument::chain("Absolute");
    document.property(3, "Hidden", "true");
    Kelvane engine;
    engine.read(document.text(), true);
    EXPECT_FALSE(engine.inputStream("y") || engine.variableOutput("x"));
    const auto x = engine.inputStream("x").value();
    const auto y = engine.variableOutput("y").value();
    for (const double value : {-1., -2.}) engine.set(x, value);
    engine.evaluateSet(1);
    ASSERT_NE(engine.result(y), nullptr);
    EXPECT_EQ(*engine.result(y), Value(2.0));
    engine.evaluateSet(2);
    EXPECT_EQ(engine.result(y), nullptr) << "a value counts once";
}

TEST(UpdateProcessingTest, ALimitOfTimeOrAnInterruptionEndsWhatHasNoEnd) {
    // A node whose slot a stream feeds as well goes on without end; two that are fed by each other wait without end.
    auto goesOn = DiagramDocument::chain("Absolute");
    goesOn.connect(2, 2);
    DiagramDocument waits;
    const auto first = waits.function("Absolute"), second = waits.function("Absolute");
    waits.connect(first, second);
    waits.connect(second, first);
    const std::atomic<bool> interrupted = true;
    for (const auto* document : {&goesOn, &waits}) {
        Kelvane engine, other;
        for (auto* each : {&engine, &other}) each->read(document->text(), true);
        engine.setLimits({.maxBatchSeconds = 0.01});
        EXPECT_STOP(engine.evaluate({1, {{"x", 1.0}}}), "node [0-9] .*taken longer than the limit of 0.01 seconds");
        other.setLimits({.interrupted = &interrupted});
        EXPECT_STOP(other.evaluate({1, {{"x", 1.0}}}), "node [0-9] .*the batch was interrupted");
    }
}

TEST(UpdateProcessingTest, AReceiverMayVanishOrGiveTheNextBatch) {
    class Echo final : public VariableOutputUpdatesReceiver {
    public:
        void newVariableOutputUpdates(const KelvaneOutput& output) override {
            if (output.timestamp < 1000) engine->updateInputStreams({output.timestamp + 1000, {{"x", 2.0}}});
            seen.push_back(output.outputs.at("y"));
        }
        void allUpdatesProcessed(const std::vector<KelvaneOutput>&) override {}
        Kelvane* engine = nullptr;
        std::vector<Value> seen;
    };
    auto echo = std::make_shared<Echo>();
    Kelvane engine(echo);
    echo->engine = &engine;
    engine.read(DiagramDocument::chain("Absolute").text(), true);
    engine.updateInputStreams({1, {{"x", -1.0}}});
    EXPECT_EQ(echo->seen, (std::vector<Value>{2.0, 1.0}));
    echo.reset();
    engine.updateInputStreams({3000, {{"x", -1.0}}});
}

}  // namespace KelvaneSDK::testing_support
