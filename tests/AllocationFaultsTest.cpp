#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "KelvaneSDK/KelvaneSDK.h"
#include "support/AllocationCount.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

using enum AllocationFault::Extent;

long errorLines = 0;
void countLine(std::string_view line) { errorLines += line == "ERROR: out of memory!"; }

/// Leaks and torn memory are for the sanitizers to see.
class AllocationFaultsTest : public testing::Test {
protected:
    AllocationFaultsTest() : previous(setDiagnosticSink(countLine)) {}
    ~AllocationFaultsTest() override { setDiagnosticSink(previous); }

    /// Makes an attempt again and again. The attempt gives one step to the function that it is given, which runs the
    /// step with its first, second, third ... allocation failing, until none is left to fail, and answers as the step
    /// does: whether it succeeded.
    template <class Attempt>
    static void atEveryAllocation(Attempt attempt) {
        for (const auto extent : {one, allFollowing}) {
            bool happened = true;
            for (long index = 0; happened && !HasFailure(); ++index) {
                SCOPED_TRACE("allocation " + std::to_string(index) + (extent == one ? "" : " and all that follow"));
                ASSERT_LT(index, 100000);
                attempt([&](auto step) {
                    errorLines = 0;
                    bool succeeded = false;
                    {
                        const AllocationFault fault(index, extent);
                        succeeded = step();
                        happened = fault.hasHappened();
                    }
                    EXPECT_TRUE(happened || succeeded);
                    return succeeded;
                });
            }
        }
    }

private:
    DiagnosticSink previous;
};

/// Generic slots, containers in one another, subdiagrams, properties, feedback and a function of each kind of state.
DiagramDocument largeDocument() {
    DiagramDocument d;
    const auto function = [&](std::string_view name, std::initializer_list<std::int64_t> sources) {
        const auto id = d.function(name);
        for (std::int64_t input = 0; const auto source : sources) d.connect(source, id, input++);
        return id;
    };
    const auto x = d.stream("Float", "x"), list = d.stream("Float array", "a long label of an input stream");
    const auto sum = function("Add", {x, d.constant("Float", "0.5", "half")});
    const auto collect = function("Create array", {d.constant("Integer", "3"), sum});
    const auto joined = function("Combine arrays", {d.constant("Integer", "0"), list, collect});
    const auto text = function("JSON output", {d.constant("String", "{\"a\":1}"), d.constant("String", "b"), sum});
    d.connect(sum, d.output("Float", "x again"));
    d.connect(d.stream("Float", "x again"), d.output("Float", "an output that has a long label"));
    d.connect(joined, d.output("Float array", "joined"));
    d.connect(text, d.output("String", "text"));
    d.outputType(joined, "Float array");
    ContainerInfo inner{1, 2, "a container inside of a container", {collect}, "blue", std::nullopt};
    d.data.info.containers = {{3, 4, "a container around a container", {joined}, std::nullopt, {{inner, inner}}}};
    d.data.info.manualLines = {"a line of text that says something"};
    SubdiagramInfo everything{"everything there is in this diagram", {}};
    for (const auto& node : d.data.info.nodes) everything.nodeIds.push_back(node.id);
    d.data.info.subdiagrams = {everything};
    return d;
}

const std::vector<KelvaneInput>& batches() {
    static const LabelledValues list{{"a long label of an input stream", List<double>{1, 2, 3}}, {"x", 1.0}};
    static const std::vector<KelvaneInput> inputs{{0, list}, {1, {{"x", 2.5}}}, {2, list}, {3, {{"x", 1e10}}}};
    return inputs;
}

std::vector<KelvaneOutput> evaluateAll(Kelvane& engine) {
    std::vector<KelvaneOutput> outputs;
    for (const auto& batch : batches()) outputs.push_back(engine.evaluate(batch));
    return outputs;
}

struct Loaded : Kelvane {
    Loaded() { read(largeDocument().text(), true); }
};

std::vector<KelvaneOutput> resultsOfSound() {
    Loaded loaded;
    return evaluateAll(loaded);
}

}  // namespace

TEST_F(AllocationFaultsTest, ADiagramIsReadWholeOrNotAtAll) {
    const auto text = largeDocument().text();
    const auto expected = resultsOfSound();
    for (const bool replace : {true, false}) {
        atEveryAllocation([&](auto underFault) {
            Loaded loaded;
            if (!underFault([&] { return loaded.read(text, replace); })) {
                EXPECT_GT(errorLines, 0);
                // A text that could not even be decoded leaves the present diagram.
                const auto outputs = loaded.evaluate(batches()[0]).outputs;
                EXPECT_TRUE(outputs.empty() || outputs == expected[0].outputs);
                ASSERT_TRUE(loaded.read(text, true));
            }
            loaded.reset();
            EXPECT_EQ(evaluateAll(loaded), expected);
        });
    }
}

TEST_F(AllocationFaultsTest, ABatchGivesItsWholeResultOrNoneUntilTheEngineIsReset) {
    const auto expected = resultsOfSound();
    atEveryAllocation([&](auto underFault) {
        Loaded loaded;
        std::vector<KelvaneOutput> outputs;
        outputs.reserve(batches().size());
        const bool succeeded = underFault([&] {
            for (const auto& batch : batches()) outputs.push_back(loaded.evaluate(batch));
            return !loaded.isOutOfMemory();
        });
        const auto result = std::mismatch(outputs.begin(), outputs.end(), expected.begin()).first;
        EXPECT_TRUE(std::all_of(result, outputs.end(), [](const auto& output) { return output.outputs.empty(); }));
        EXPECT_EQ(outputs.end() - result, errorLines);
        EXPECT_EQ(errorLines == 0, succeeded);
        loaded.reset();
        EXPECT_EQ(evaluateAll(loaded), expected);
    });
}

TEST_F(AllocationFaultsTest, EveryFunctionRecoversByAReset) {
    const std::map<std::string_view, Value> samples{
        {"Float", 2.0},
        {"Integer", 1},
        {"Boolean", true},
        {"String", "a text that needs a block of its own"},
        {"Vector", Vector{1, 2, 3}},
        {"Orientation", Orientation{}},
        {"Sequence", Sequence({{0, 1}, {1, -1}, {2, 1}, {3, -1}})},
        {"Float array", List<double>{3, 1, 2}},
        {"Integer array", List<std::int64_t>{3, 1, 2}},
        {"Boolean array", List<bool>{true, false}},
        {"String array", List<String>{"one text that is long enough", "another \xC3\xA9 e\xCC\x81 text"}},
        {"Vector array", List<Vector>{{1, 2, 3}, {4, 5, 6}}},
        {"Orientation array", List<Orientation>{{}, {}}},
        {"Sequence array", List<Sequence>{Sequence({{0, 1}, {1, 2}})}},
    };
    std::size_t evaluated = 0;
    for (const auto& [name, function] : NodeRegistry::library().classes(NodeCategory::Function)) {
        SCOPED_TRACE(name);
        DiagramDocument document;
        const auto node = document.function(name);
        KelvaneInput batch;
        const auto prototype = function.make();
        for (const auto* slot : prototype->inputValues()) {
            const auto slotClass = slot->valueClass();
            const std::string type(isGeneric(slotClass) ? isArray(slotClass) ? "Float array" : "Float" : typeString(slotClass));
            const auto label = std::to_string(slot->index);
            batch.updates.emplace(label, samples.at(type));
            document.connect(document.stream(type, label), node, slot->index);
        }
        const auto run = [&](Kelvane& engine) {
            for (const double timestamp : {1., 2., 3.}) {
                batch.timestamp = timestamp;
                engine.evaluate(batch);
            }
            return !engine.isOutOfMemory();
        };
        const auto result = [](const Kelvane& engine) {
            const auto* payload = engine.nodeList(NodeCategory::Function)[0]->outputValue()->payload();
            return payload == nullptr ? "none" : getValueString(*payload);
        };
        const auto text = document.text();
        Kelvane undisturbed;
        undisturbed.read(text, true);
        run(undisturbed);
        const auto expected = result(undisturbed);
        evaluated += expected != "none";
        atEveryAllocation([&](auto underFault) {
            Kelvane engine;
            engine.read(text, true);
            underFault([&] { return run(engine); });
            engine.reset();
            run(engine);
            EXPECT_EQ(result(engine), expected);
        });
    }
    EXPECT_GT(evaluated, 100U);
}

TEST_F(AllocationFaultsTest, ARecordingIsReadUpToAWholeBatch) {
    const auto text = createJsonLines(batches());
    const auto& all = batches();
    for (const std::size_t pieceSize : {text.size(), std::size_t{7}}) {
        atEveryAllocation([&](auto underFault) {
            RecordingReader reader;
            std::size_t count = 0;
            bool isWhole = true;
            const auto drain = [&] {
                while (const auto* batch = reader.next()) {
                    // Only the last one may lack what would have followed in it.
                    ASSERT_TRUE(isWhole && count < all.size());
                    const auto& expected = all[count++];
                    for (const auto& [label, value] : batch->updates) EXPECT_TRUE(value == expected.updates.at(label));
                    isWhole = *batch == expected;
                }
            };
            const bool succeeded = underFault([&] {
                for (std::size_t at = 0; at < text.size(); at += pieceSize) {
                    reader.append(std::string_view(text).substr(at, pieceSize));
                    if (at > text.size() / 2) drain();
                }
                reader.finish();
                drain();
                return !reader.failure();
            });
            drain();
            EXPECT_EQ(succeeded, isWhole && count == all.size());
            EXPECT_EQ(succeeded ? "" : reader.failure()->diagnostic(), succeeded ? "" : "ERROR: out of memory!");
        });
    }
    atEveryAllocation([&](auto underFault) {
        std::vector<KelvaneInput> read;
        const bool succeeded = underFault([&] { return (read = readKelvaneInputs(text)), errorLines == 0; });
        EXPECT_EQ(read == all, succeeded);
    });
}

TEST_F(AllocationFaultsTest, TextsAreWholeOrEmpty) {
    Loaded loaded;
    const auto results = resultsOfSound();
    const auto expectWholeOrNothing = [](const std::string& before, auto write) {
        std::string whole = before;
        write(whole);
        atEveryAllocation([&](auto underFault) {
            std::string text = before;
            const bool succeeded = underFault([&] { return write(text), text != before; });
            EXPECT_EQ(text, succeeded ? whole : before);
        });
    };
    expectWholeOrNothing("", [&](std::string& text) { text = loaded.createJSON(); });
    expectWholeOrNothing("", [](std::string& text) { text = createJsonLines(batches()); });
    expectWholeOrNothing("before\n", [&](std::string& text) { appendJsonLines(text, results[0]); });
}

TEST_F(AllocationFaultsTest, ListsOfAnEngineAreWholeOrEmpty) {
    const std::array<std::size_t, 4> whole{3, 1, 4, 5};
    atEveryAllocation([&](auto underFault) {
        const Loaded engine;
        std::array<std::size_t, 4> sizes{};
        const bool succeeded = underFault([&] {
            sizes = {engine.getInputStreams().size(), engine.getManualLines().size(), engine.getVariableOutputs().size(),
                     engine.getConstants().size()};
            return errorLines == 0;
        });
        for (std::size_t i = 0; i < whole.size(); ++i) EXPECT_TRUE(sizes[i] == 0 || sizes[i] == whole[i]) << i;
        EXPECT_EQ(succeeded, sizes == whole);
    });
}

TEST_F(AllocationFaultsTest, ACheckTellsAllFindingsOrThatMemoryRanOut) {
    auto document = largeDocument();
    document.connect(document.function("Add"), document.function("Subtract"), 7);
    document.add("Function", "Absolut");
    document.connect(99, 98);
    document.data.info.containers->push_back({0, 0, "", {}, "no colour", std::nullopt});
    // Its one fatal finding is rehearsed.
    DiagramDocument mistyped;
    mistyped.connect(mistyped.stream("Integer", "n"), mistyped.function("Sine"));
    for (const std::string& text : {document.text(), mistyped.text(), std::string("{\"nodes\":[{}]}"), std::string("{")}) {
        const auto expected = checkDiagram(text);
        ASSERT_FALSE(expected.empty());
        atEveryAllocation([&](auto underFault) {
            std::vector<Finding> findings;
            const bool succeeded = underFault([&] {
                try {
                    findings = checkDiagram(text);
                } catch (const std::bad_alloc&) {
                    // Not even one finding could be made.
                    return false;
                }
                return findings.front().code != "out-of-memory";
            });
            if (succeeded) {
                EXPECT_EQ(findings, expected);
            } else if (!findings.empty()) {
                EXPECT_EQ(findings.size(), 1U);
                EXPECT_TRUE(findings.front().fatal);
            }
        });
    }
}

TEST_F(AllocationFaultsTest, ABackgroundRunThatCannotBeStartedIsTold) {
    atEveryAllocation([](auto underFault) {
        const auto queue = std::make_shared<DrainedMainQueue>();
        const auto results = std::make_shared<Results>();
        Kelvane engine(results, queue);
        auto inputs = batches();
        const bool started = underFault([&] { return engine.processAllUpdates(std::move(inputs)), errorLines == 0; });
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(started ? 20 : 0);
        EXPECT_EQ(queue->runNext(deadline), started);
    });
}

}  // namespace KelvaneSDK::testing_support
