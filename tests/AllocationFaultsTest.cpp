#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "KelvaneSDK/KelvaneSDK.h"
#include "support/AllocationCount.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

using enum AllocationFault::Extent;

long errorLines = 0;
void countLine(std::string_view line) { errorLines += line == "ERROR: out of memory!"; }

/// Runs a step again and again, with its first, second, third ... allocation failing, until none is left to fail.
/// Leaks and torn memory are for the sanitizers to see.
class AllocationFaultsTest : public testing::Test {
protected:
    AllocationFaultsTest() : previous(setDiagnosticSink(countLine)) {}
    ~AllocationFaultsTest() override { setDiagnosticSink(previous); }

    /// `prepare` makes what a step works on, `step` answers whether it succeeded, `check` looks at what is left.
    template <class Prepare, class Step, class Check>
    static void atEveryAllocation(Prepare prepare, Step step, Check check) {
        for (const auto extent : {one, allFollowing}) {
            bool happened = true;
            for (long index = 0; happened; ++index) {
                SCOPED_TRACE("allocation " + std::to_string(index) + (extent == one ? "" : " and all that follow"));
                ASSERT_LT(index, 100000);
                auto subject = prepare();
                errorLines = 0;
                bool succeeded = false;
                {
                    const AllocationFault fault(index, extent);
                    succeeded = step(*subject);
                    happened = fault.hasHappened();
                }
                EXPECT_TRUE(happened || succeeded);
                check(*subject, succeeded);
                if (HasFailure()) return;
            }
        }
    }

private:
    DiagnosticSink previous;
};

/// Generic slots, containers in one another, subdiagrams, properties, feedback and a function of each kind of state.
DiagramDocument largeDocument() {
    DiagramDocument d;
    const auto x = d.stream("Float", "x"), list = d.stream("Float array", "a long label of an input stream"), sum = d.function("Add");
    d.connect(x, sum);
    d.connect(d.constant("Float", "0.5", "half"), sum, 1);
    const auto collect = d.function("Create array"), joined = d.function("Combine arrays"), text = d.function("JSON output");
    d.connect(d.constant("Integer", "3"), collect);
    d.connect(sum, collect, 1);
    d.connect(d.constant("Integer", "0"), joined);
    d.connect(list, joined, 1);
    d.connect(collect, joined, 2);
    d.connect(d.constant("String", "{\"a\":1}"), text);
    d.connect(d.constant("String", "b"), text, 1);
    d.connect(sum, text, 2);
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
    static const List<double> some{1, 2, 3};
    static const std::vector<KelvaneInput> inputs{{0, {{"x", 1.0}, {"a long label of an input stream", some}}},
                                                  {1, {{"x", 2.5}}},
                                                  {2, {{"x", -1.0}, {"a long label of an input stream", some}}},
                                                  {3, {{"x", 1e10}}}};
    return inputs;
}

std::vector<KelvaneOutput> evaluateAll(Kelvane& engine) {
    std::vector<KelvaneOutput> outputs;
    for (const auto& batch : batches()) outputs.push_back(engine.evaluate(batch));
    return outputs;
}

struct Loaded {
    Loaded() { read = engine.read(largeDocument().text(), true); }

    bool read = false;
    Kelvane engine;
    std::vector<KelvaneOutput> outputs;
    std::string text;
};

std::vector<KelvaneOutput> resultsOfSound() {
    Loaded loaded;
    return evaluateAll(loaded.engine);
}

}  // namespace

TEST_F(AllocationFaultsTest, ADiagramIsReadWholeOrNotAtAll) {
    const std::string text = largeDocument().text();
    const auto expected = resultsOfSound();
    for (const bool replace : {true, false}) {
        atEveryAllocation([] { return std::make_unique<Loaded>(); }, [&](Loaded& loaded) { return loaded.engine.read(text, replace); },
                          [&](Loaded& loaded, bool succeeded) {
                              if (!succeeded) {
                                  EXPECT_GT(errorLines, 0);
                                  // A text that could not even be decoded leaves the present diagram.
                                  const auto outputs = loaded.engine.evaluate(batches()[0]).outputs;
                                  EXPECT_TRUE(outputs.empty() || outputs == expected[0].outputs);
                                  ASSERT_TRUE(loaded.engine.read(text, true));
                              }
                              loaded.engine.reset();
                              EXPECT_EQ(evaluateAll(loaded.engine), expected);
                          });
    }
}

TEST_F(AllocationFaultsTest, ABatchGivesItsWholeResultOrNoneUntilTheEngineIsReset) {
    const auto expected = resultsOfSound();
    const auto prepare = [&] {
        auto loaded = std::make_unique<Loaded>();
        loaded->outputs.reserve(batches().size());
        return loaded;
    };
    const auto evaluate = [](Loaded& loaded) {
        for (const auto& batch : batches()) loaded.outputs.push_back(loaded.engine.evaluate(batch));
        return !loaded.engine.isOutOfMemory();
    };
    atEveryAllocation(prepare, evaluate, [&](Loaded& loaded, bool succeeded) {
        const auto [result, wanted] = std::mismatch(loaded.outputs.begin(), loaded.outputs.end(), expected.begin());
        const auto missing = loaded.outputs.end() - result;
        EXPECT_TRUE(std::all_of(result, loaded.outputs.end(), [](const auto& output) { return output.outputs.empty(); }));
        EXPECT_EQ(missing, errorLines);
        EXPECT_EQ(missing == 0, succeeded);
        loaded.engine.reset();
        EXPECT_FALSE(loaded.engine.isOutOfMemory());
        EXPECT_EQ(evaluateAll(loaded.engine), expected);
    });
}

TEST_F(AllocationFaultsTest, EveryFunctionRecoversByAReset) {
    const std::map<std::string_view, Value> samples{{"Float", 2.0},
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
                                                    {"Sequence array", List<Sequence>{Sequence({{0, 1}, {1, 2}})}}};
    std::size_t evaluated = 0;
    for (const auto& [name, function] : NodeRegistry::library().classes(NodeCategory::Function)) {
        SCOPED_TRACE(name);
        DiagramDocument document;
        const auto node = document.function(name);
        KelvaneInput batch;
        std::int64_t index = 0;
        const auto prototype = function.make();
        for (const auto* slot : prototype->inputValues()) {
            const auto slotClass = slot->valueClass();
            const std::string type(isGeneric(slotClass) ? isArray(slotClass) ? "Float array" : "Float" : typeString(slotClass));
            const auto label = std::to_string(index);
            batch.updates.emplace(label, samples.at(type));
            document.connect(document.stream(type, label), node, index++);
        }
        const auto text = document.text();
        const auto run = [&](Kelvane& engine) {
            for (const double timestamp : {1., 2., 3.}) {
                batch.timestamp = timestamp;
                engine.evaluate(batch);
            }
            return !engine.isOutOfMemory();
        };
        const auto result = [](Kelvane& engine) {
            const auto* payload = engine.nodeList(NodeCategory::Function)[0]->outputValue()->payload();
            return payload == nullptr ? "none" : getValueString(*payload);
        };
        const auto prepare = [&] {
            auto engine = std::make_unique<Kelvane>();
            engine->read(text, true);
            return engine;
        };
        const auto undisturbed = prepare();
        run(*undisturbed);
        const auto expected = result(*undisturbed);
        evaluated += expected != "none";
        atEveryAllocation(prepare, run, [&](Kelvane& engine, bool) {
            engine.reset();
            run(engine);
            EXPECT_EQ(result(engine), expected);
        });
    }
    EXPECT_GT(evaluated, 100U);
}

TEST_F(AllocationFaultsTest, ARecordingIsReadUpToAWholeBatch) {
    const auto text = createJsonLines(batches());
    struct Reading {
        RecordingReader reader;
        std::vector<KelvaneInput> batches;
    };
    for (const std::size_t pieceSize : {text.size(), std::size_t{7}}) {
        const auto read = [&](Reading& reading) {
            for (std::size_t at = 0; at < text.size(); at += pieceSize) reading.reader.append(std::string_view(text).substr(at, pieceSize));
            reading.reader.finish();
            return !reading.reader.failure();
        };
        atEveryAllocation([] { return std::make_unique<Reading>(); }, read,
                          [&](Reading& reading, bool succeeded) {
                              while (auto batch = reading.reader.next()) reading.batches.push_back(std::move(*batch));
                              const auto& all = batches();
                              const auto count = reading.batches.size();
                              ASSERT_LE(count, all.size());
                              for (std::size_t i = 0; i + 1 < count; ++i) EXPECT_EQ(reading.batches[i], all[i]);
                              // The last one may lack what would have followed in it.
                              for (const auto& [label, value] : reading.batches.back().updates) EXPECT_EQ(value, all[count - 1].updates.at(label));
                              EXPECT_EQ(succeeded, reading.batches == all);
                              if (!succeeded) {
                                  EXPECT_EQ(reading.reader.failure()->diagnostic(), "ERROR: out of memory!");
                              }
                          });
    }
    using Batches = std::vector<KelvaneInput>;
    atEveryAllocation([] { return std::make_unique<Batches>(); }, [&](Batches& read) { return (read = readKelvaneInputs(text)), errorLines == 0; },
                      [](const Batches& read, bool succeeded) { EXPECT_EQ(read == batches(), succeeded); });
}

TEST_F(AllocationFaultsTest, TextsAreWholeOrEmpty) {
    const auto exported = Loaded().engine.createJSON();
    atEveryAllocation([] { return std::make_unique<Loaded>(); }, [](Loaded& loaded) { return !(loaded.text = loaded.engine.createJSON()).empty(); },
                      [&](Loaded& loaded, bool succeeded) { EXPECT_EQ(loaded.text, succeeded ? exported : ""); });

    const auto written = createJsonLines(batches());
    atEveryAllocation([] { return std::make_unique<std::string>(); }, [](std::string& text) { return !(text = createJsonLines(batches())).empty(); },
                      [&](const std::string& text, bool succeeded) { EXPECT_EQ(text, succeeded ? written : ""); });

    const auto results = resultsOfSound();
    std::string whole = "before\n";
    EXPECT_TRUE(appendJsonLines(whole, results[0]));
    atEveryAllocation([] { return std::make_unique<std::string>("before\n"); }, [&](std::string& text) { return appendJsonLines(text, results[0]); },
                      [&](const std::string& text, bool succeeded) { EXPECT_EQ(text, succeeded ? whole : "before\n"); });
}

TEST_F(AllocationFaultsTest, ListsOfAnEngineAreWholeOrEmpty) {
    struct Lists : Loaded {
        std::vector<std::string> streams, lines;
        std::vector<VariableOutputDescription> variableOutputs;
        std::vector<ConstantDescription> constants;
    };
    const auto isWholeOrEmpty = [](const auto& list, std::size_t size) { return list.empty() || list.size() == size; };
    atEveryAllocation([] { return std::make_unique<Lists>(); },
                      [](Lists& lists) {
                          lists.streams = lists.engine.getInputStreams();
                          lists.lines = lists.engine.getManualLines();
                          lists.variableOutputs = lists.engine.getVariableOutputs();
                          lists.constants = lists.engine.getConstants();
                          return errorLines == 0;
                      },
                      [&](const Lists& lists, bool succeeded) {
                          EXPECT_TRUE(isWholeOrEmpty(lists.streams, 3) && isWholeOrEmpty(lists.lines, 1));
                          EXPECT_TRUE(isWholeOrEmpty(lists.variableOutputs, 4) && isWholeOrEmpty(lists.constants, 5));
                          EXPECT_EQ(succeeded,
                                    lists.streams.size() + lists.lines.size() + lists.variableOutputs.size() + lists.constants.size() == 13);
                      });
}

TEST_F(AllocationFaultsTest, ACheckTellsAllFindingsOrThatMemoryRanOut) {
    auto document = largeDocument();
    document.connect(document.function("Add"), document.function("Subtract"), 7);
    document.add("Function", "Absolut");
    document.connect(99, 98);
    document.data.info.containers->push_back({0, 0, "", {}, "no colour", std::nullopt});
    for (const std::string& text : {document.text(), std::string("{\"nodes\":[{}]}"), std::string("{")}) {
        const auto expected = checkDiagram(text);
        ASSERT_FALSE(expected.empty());
        using Findings = std::vector<Finding>;
        const auto check = [&](Findings& findings) {
            try {
                findings = checkDiagram(text);
            } catch (const std::bad_alloc&) {
                // Not even one finding could be made.
                return false;
            }
            return findings.front().code != "out-of-memory";
        };
        atEveryAllocation([] { return std::make_unique<Findings>(); }, check,
                          [&](const Findings& findings, bool succeeded) {
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
    struct Run {
        std::shared_ptr<DrainedMainQueue> queue = std::make_shared<DrainedMainQueue>();
        std::shared_ptr<Results> results = std::make_shared<Results>();
        Kelvane engine{results, queue};
        std::vector<KelvaneInput> inputs = batches();
    };
    atEveryAllocation([] { return std::make_unique<Run>(); },
                      [](Run& run) {
                          run.engine.processAllUpdates(std::move(run.inputs));
                          return errorLines == 0;
                      },
                      [](Run& run, bool succeeded) {
                          const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(succeeded ? 20 : 0);
                          EXPECT_EQ(run.queue->runNext(deadline), succeeded);
                      });
}

}  // namespace KelvaneSDK::testing_support
