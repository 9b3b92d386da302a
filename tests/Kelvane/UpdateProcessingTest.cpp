#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <thread>

#include "KelvaneSDK/FunctionNode.h"
#include "support/DiagramDocument.h"
#include "support/PlainEngine.h"

namespace KelvaneSDK::testing_support {

namespace {

// Diagrams of float and boolean nodes without cycles, listed in any order; some inputs are left open, some
// are fed twice, and the outputs share labels with each other and with the streams.
class RandomDiagram {
public:
    explicit RandomDiagram(unsigned seed) : random(seed) {
        for (const std::string label : {"f", "g", "h"}) {
            sources["Float"].push_back(document.stream("Float", label));
            if (chance(2)) document.property(sources["Float"].back(), "Forwarding", "true");
        }
        sources["Float"].push_back(document.constant("Float", "1.5"));
        sources["Boolean"] = {document.stream("Boolean", "b"), document.constant("Boolean", "true")};
        for (auto count = 1 + random() % 9; count > 0; --count) {
            const auto& [name, inputs, output] = functions[random() % std::size(functions)];
            const auto id = document.function(name);
            document.outputType(id, output);
            for (std::size_t input = 0; input < inputs.size(); ++input) {
                if (chance(20)) continue;
                do connectFrom(inputs[input], id, static_cast<std::int64_t>(input));
                while (chance(8));
            }
            sources[output].push_back(id);
        }
        for (const auto* label : {"f", "x", "h", "x", "y"}) {
            const auto id = document.output("Float", label);
            if (chance(6)) document.property(id, "Hidden", "true");
            connectFrom("Float", id, 0);
        }
        std::shuffle(document.data.info.nodes.begin(), document.data.info.nodes.end(), random);
    }

    KelvaneInput batch(double timestamp) {
        KelvaneInput input{timestamp, {}};
        for (const auto* label : {"f", "g", "h", "b", "unknown"}) {
            const bool asBoolean = (*label == 'b') != chance(12);
            if (chance(3)) continue;
            input.updates.emplace(label, asBoolean ? Value(chance(2)) : Value(static_cast<double>(random() % 9)));
        }
        return input;
    }

    DiagramDocument document;

private:
    struct Function {
        std::string name;
        std::vector<std::string> inputs;
        std::string output;
    };
    inline static const Function functions[] = {
        {"Add", {"Float", "Float"}, "Float"},
        {"Max", {"Float", "Float"}, "Float"},
        {"Gate", {"Boolean", "Float"}, "Float"},
        {"Pass updated", {"Float", "Float"}, "Float"},
        {"Trigger", {"Boolean", "Float"}, "Float"},
        {"Switch", {"Boolean", "Float", "Float"}, "Float"},
        {"Larger", {"Float", "Float"}, "Boolean"},
        {"Negate", {"Boolean"}, "Boolean"},
        {"Adder", {"Float"}, "Float"},
        {"Timestamp", {"Float"}, "Float"},
    };

    bool chance(unsigned oneIn) { return random() % oneIn == 0; }
    void connectFrom(const std::string& type, std::int64_t to, std::int64_t input) {
        document.connect(sources[type][random() % sources[type].size()], to, input);
    }

    std::mt19937 random;
    std::map<std::string, std::vector<std::int64_t>> sources;
};

class SlowFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue>("x"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Slow"; }
    void process() override {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        finish(real(0));
    }
};

}  // namespace

TEST(UpdateProcessingTest, EvaluatesAsThePlainDescriptionSays) {
    CapturedDiagnostics captured;
    for (unsigned seed = 0; seed < 500 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomDiagram diagram(seed);
        Kelvane engine;
        ASSERT_TRUE(engine.read(diagram.document.text(), true));
        PlainEngine plain(diagram.document.text());
        for (int number = 1; number <= 6; ++number) {
            if (number == 5) {
                engine.reset();
                plain.engine.reset();
            }
            const auto batch = diagram.batch(number);
            captured.lines.clear();
            const auto output = engine.evaluate(batch);
            const auto lines = std::exchange(captured.lines, {});
            EXPECT_EQ(output, plain.evaluate(batch));
            EXPECT_EQ(lines, captured.lines);
            EXPECT_EQ(idsOf(engine.getFunctionNodes()), idsOf(plain.order));
            EXPECT_EQ(stateOf(engine), stateOf(plain.engine));
        }
    }
}

TEST(UpdateProcessingTest, TheSettledOrderPersists) {
    auto document = DiagramDocument::chain("Absolute");
    const auto first = document.function("Absolute");
    document.connect(1, first);
    document.data.info.connections[0].outputNodeId = first;
    Kelvane engine;
    engine.read(document.text(), true);
    const std::vector<std::int64_t> settled{first, 2};
    EXPECT_NE(idsOf(engine.getFunctionNodes()), settled);
    engine.evaluate({1, {}});
    EXPECT_EQ(idsOf(engine.getFunctionNodes()), settled);
    engine.reset();
    EXPECT_EQ(engine.evaluate({2, {{"x", -2.0}}}).outputs, (LabelledValues{{"y", 2.0}}));
    EXPECT_EQ(idsOf(engine.getFunctionNodes()), settled);
}

TEST(UpdateProcessingTest, OutputsFeedTheStreamsOfTheirLabel) {
    // x -> Absolute -> "again"; "again" -> Update counter -> "count", hidden or not.
    DiagramDocument document = DiagramDocument::chain("Absolute");
    const auto again = document.stream("Float", "again"), counter = document.function("Update counter");
    document.property(3, "Description", "again");
    document.property(3, "Hidden", "true");
    document.connect(again, counter);
    document.connect(counter, document.output("Integer", "count"));
    const auto results = std::make_shared<Results>();
    Kelvane engine(results);
    engine.read(document.text(), true);
    EXPECT_EQ(engine.evaluate({1, {{"x", 1.0}}}).outputs, (LabelledValues{{"count", 1}}));
    engine.setVariableOutputHidden("again", false);
    EXPECT_EQ(engine.evaluate({2, {{"x", 2.0}, {"again", 5.0}}}).outputs.at("count"), Value(2));
    engine.setInputStreamForwarding("again", true);
    engine.setInputStreamForwarding("x", true);
    EXPECT_EQ(engine.evaluate({3, {{"x", -3.0}}}).outputs, (LabelledValues{{"again", 3.0}, {"count", 3}, {"x", -3.0}}));
}

TEST(UpdateProcessingTest, AWrongTypeIsReportedAndTheRestGoesOn) {
    auto document = DiagramDocument::chain("Absolute");
    document.property(1, "Forwarding", "true");
    Kelvane engine;
    engine.read(document.text(), true);
    engine.evaluate({1, {{"x", 7.0}}});
    CapturedDiagnostics captured;
    EXPECT_EQ(engine.evaluate({2, {{"x", 3}}}).outputs, (LabelledValues{{"x", 7.0}})) << "what it still has";
    EXPECT_EQ(captured.lines, std::vector<std::string>{"ERROR: trying to set input stream 'x' with wrong type!"});
}

TEST(UpdateProcessingTest, BatchesThatComeTooSoonAreSkipped) {
    const auto results = std::make_shared<Results>();
    Kelvane engine(results);
    engine.registerNodes(functionFamily("Test", {entry<SlowFunction>("sleeps")}));
    engine.read(DiagramDocument::chain("Slow").text(), true);
    struct Step {
        double timestamp;
        std::size_t outputs;
        std::int64_t skipped;
    };
    const Step steps[] = {
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
    const auto delivered = results->outputs.size();
    EXPECT_EQ(delivered, std::size(steps));
    engine.updateInputStreams({200, {{"unknown", 1.0}}});
    EXPECT_EQ(results->outputs.size(), delivered) << "an empty result is not delivered";
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

TEST(UpdateProcessingTest, ACycleOfFunctionsNeverEnds) {
    auto document = DiagramDocument::chain("Max");
    document.outputType(2, "Float");
    const auto other = document.function("Absolute");
    document.connect(2, other);
    document.connect(other, 2, 1);
    Kelvane engine;
    engine.read(document.text(), true);
    const auto evaluate = [&] {
        alarm(1);
        engine.evaluate({1, {{"x", 1.0}}});
    };
    EXPECT_EXIT(evaluate(), testing::KilledBySignal(SIGALRM), "");
}

}  // namespace KelvaneSDK::testing_support
