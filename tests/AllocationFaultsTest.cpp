#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>

#include "KelvaneSDK/KelvaneSDK.h"
#include "support/AllocationCount.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

using enum AllocationFault::Extent;

long errorLines = 0;

/// Leaks and torn memory are for the sanitizers to see.
class AllocationFaultsTest : public testing::Test {
protected:
    AllocationFaultsTest() : previous(setDiagnosticSink([](std::string_view line) { errorLines += line == "ERROR: out of memory!"; })) {}
    ~AllocationFaultsTest() override { setDiagnosticSink(previous); }

    /// Makes an attempt again and again: prepares a subject and works on it with the first, second, third ... allocation
    /// failing, until none is left to fail, and looks at what the work returned.
    template <class Prepare, class Work, class Look>
    static void atEveryAllocation(Prepare prepare, Work work, Look look) {
        for (const auto extent : {one, allFollowing}) {
            bool happened = true;
            for (long index = 0; happened && !HasFailure(); ++index) {
                SCOPED_TRACE("allocation " + std::to_string(index) + (extent == one ? "" : " and all that follow"));
                auto subject = prepare();
                errorLines = 0;
                std::optional<decltype(work(*subject))> result;
                {
                    const AllocationFault fault(index, extent);
                    result = work(*subject);
                    happened = fault.hasHappened();
                }
                look(*subject, std::move(*result));
                EXPECT_TRUE(happened || errorLines == 0);
            }
        }
    }

    /// What is made is whole, or a line says that memory ran out and it is as it was.
    template <class Make, class Result>
    static void expectWholeOr(const Result& nothing, Make make) {
        const auto whole = make();
        ASSERT_NE(whole, nothing);
        atEveryAllocation([] { return std::make_unique<int>(); }, [&](int&) { return make(); },
                          [&](int&, const Result& result) { EXPECT_EQ(result, errorLines == 0 ? whole : nothing); });
    }

private:
    DiagnosticSink previous;
};

/// Generic slots, containers in one another, a subdiagram, properties and feedback.
DiagramDocument largeDocument() {
    auto d = DiagramDocument::chain("Add");
    const auto list = d.stream("Float array", "a long label of an input stream"), join = d.function("Combine arrays");
    d.connect(d.constant("Float", "0.5", "half"), 2, 1);
    d.connect(d.constant("Integer", "0"), join, 0);
    for (const int input : {1, 2}) d.connect(list, join, input);
    d.connect(join, d.output("Float array", "joined"));
    d.connect(d.stream("Float", "y"), d.output("Float", "an output that has a long label"));
    d.outputType(join, "Float array");
    const ContainerInfo inner{1, 2, "a container inside of a container", {2}, "blue", std::nullopt};
    d.data.info.containers = {{3, 4, "a container around a container", {join}, std::nullopt, {{inner, inner}}}};
    d.data.info.manualLines = {"a line of text that says something"};
    d.data.info.subdiagrams = {{{"everything there is in this diagram", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}}}};
    return d;
}

const std::vector<KelvaneInput>& batches() {
    static const LabelledValues list{{"a long label of an input stream", List<double>{1, 2, 3}}, {"x", 1.0}};
    static const std::vector<KelvaneInput> inputs{{0, list}, {1, {{"x", 2.5}}}, {2, list}, {3, {{"x", 1e10}}}};
    return inputs;
}

// No list grows, which would fail, too.
using Outputs = std::array<KelvaneOutput, 4>;

Outputs evaluateAll(Kelvane& engine) {
    Outputs outputs;
    for (std::size_t i = 0; i < outputs.size(); ++i) outputs[i] = engine.evaluate(batches()[i]);
    return outputs;
}

struct Loaded : Kelvane {
    Loaded() { read(largeDocument().text(), true); }
};

Outputs resultsOfSound() {
    Loaded loaded;
    return evaluateAll(loaded);
}

}  // namespace

TEST_F(AllocationFaultsTest, ADiagramIsReadWholeOrNotAtAll) {
    const auto expected = resultsOfSound();
    const auto document = largeDocument();
    for (const auto& each : {std::pair(document.text(), true), {document.text(), false}, {*writeText(document.data), true}}) {
        const std::string& text = each.first;
        const bool replace = each.second;
        atEveryAllocation([] { return std::make_unique<Loaded>(); }, [&](Loaded& engine) { return engine.read(text, replace); },
                          [&](Loaded& engine, bool succeeded) {
                              EXPECT_EQ(succeeded, errorLines == 0);
                              // A text that could not even be decoded leaves the present diagram.
                              const auto outputs = engine.evaluate(batches()[0]).outputs;
                              EXPECT_TRUE(outputs == expected[0].outputs || (outputs.empty() && !succeeded));
                              ASSERT_TRUE(succeeded || engine.read(text, true));
                              engine.reset();
                              EXPECT_EQ(evaluateAll(engine), expected);
                          });
    }
}

TEST_F(AllocationFaultsTest, ABatchGivesItsWholeResultOrNoneUntilTheEngineIsReset) {
    const auto expected = resultsOfSound();
    atEveryAllocation([] { return std::make_unique<Loaded>(); }, evaluateAll,
                      [&](Loaded& engine, const Outputs& outputs) {
                          const auto result = std::mismatch(outputs.begin(), outputs.end(), expected.begin()).first;
                          EXPECT_TRUE(std::all_of(result, outputs.end(), [](const auto& output) { return output.outputs.empty(); }));
                          EXPECT_EQ(errorLines, result == outputs.end() ? 0 : 1);
                          EXPECT_EQ(errorLines > 0, engine.failure().has_value());
                          engine.reset();
                          EXPECT_EQ(evaluateAll(engine), expected);
                      });
}

TEST_F(AllocationFaultsTest, ARecordingIsReadUpToAWholeBatch) {
    const auto text = createJsonLines(batches());
    const auto& all = batches();
    for (const std::size_t pieceSize : {text.size(), std::size_t{7}}) {
        struct Reading {
            RecordingReader reader;
            std::size_t count = 0;
            bool isWhole = true, isRight = true;

            void drain(const std::vector<KelvaneInput>& expected) {
                while (const auto* batch = reader.next()) {
                    // Only the last one may lack what would have followed in it.
                    isRight = isRight && isWhole && count < expected.size();
                    if (!isRight) return;
                    for (const auto& [label, value] : batch->updates) isRight = isRight && value == expected[count].updates.at(label);
                    isWhole = *batch == expected[count++];
                }
            }
        };
        const auto read = [&](Reading& reading) {
            for (std::size_t at = 0; at < text.size(); at += pieceSize) {
                reading.reader.append(std::string_view(text).substr(at, pieceSize));
                if (at > text.size() / 2) reading.drain(all);
            }
            reading.reader.finish();
            reading.drain(all);
            return !reading.reader.failure();
        };
        atEveryAllocation([] { return std::make_unique<Reading>(); }, read,
                          [&](Reading& reading, bool succeeded) {
                              reading.drain(all);
                              EXPECT_TRUE(reading.isRight);
                              EXPECT_EQ(succeeded, reading.isWhole && reading.count == all.size());
                              EXPECT_EQ(succeeded ? "" : reading.reader.failure()->diagnostic(), succeeded ? "" : "ERROR: out of memory!");
                          });
    }
    atEveryAllocation([] { return std::make_unique<int>(); }, [&](int&) { return readKelvaneInputs(text); },
                      [&](int&, const auto& batchesRead) { EXPECT_EQ(batchesRead == all, errorLines == 0); });
}

TEST_F(AllocationFaultsTest, TextsAndListsAreWholeOrEmpty) {
    Loaded engine;
    const auto results = resultsOfSound();
    const std::string before = "before\n";
    expectWholeOr(std::string(), [&] { return engine.createJSON(); });
    expectWholeOr(std::string(), [] { return createJsonLines(batches()); });
    expectWholeOr(before, [&] {
        auto text = before;
        appendJsonLines(text, results[0]);
        return text;
    });
    expectWholeOr(std::size_t{0}, [&] { return engine.getInputStreams().size(); });
    expectWholeOr(std::size_t{0}, [&] { return engine.getManualLines().size(); });
    expectWholeOr(std::size_t{0}, [&] { return engine.getVariableOutputs().size(); });
    expectWholeOr(std::size_t{0}, [&] { return engine.getConstants().size(); });
}

TEST_F(AllocationFaultsTest, ATextIsReadAndWrittenWholeOrNotAtAll) {
    const auto data = largeDocument().data;
    const auto text = *writeText(data);
    const auto sound = readText(text).data->info;
    atEveryAllocation([] { return std::make_unique<int>(); }, [&](int&) { return std::pair(writeText(data), formatText(text)); },
                      [&](int&, const auto& texts) {
                          EXPECT_TRUE(!texts.first || texts.first == text);
                          EXPECT_TRUE(!texts.second || texts.second == text);
                      });
    const auto read = [&](int&) {
        try {
            return readText(text);
        } catch (const std::bad_alloc&) {
            // Not even the fault could be made.
            return TextReading();
        }
    };
    atEveryAllocation([] { return std::make_unique<int>(); }, read,
                      [&](int&, const TextReading& reading) {
                          EXPECT_TRUE(!reading.data || reading.data->info == sound);
                          EXPECT_TRUE(reading.data || reading.faults.empty() || reading.faults[0].what == "out of memory");
                      });
}

TEST_F(AllocationFaultsTest, AnEditGivesTheWholeTextOrNone) {
    for (const std::string& text : {largeDocument().text(), writeText(largeDocument().data).value_or("")}) {
        auto edited = text.starts_with('{') ? largeDocument().data.info : readText(text).data->info;
        edited.properties.front().valueString = "another label of the first stream";
        edited.connections.pop_back();
        const auto edit = [&](int&) { return rewriteDiagram(text, edited).text; };
        int none = 0;
        const auto whole = edit(none);
        ASSERT_TRUE(whole);
        atEveryAllocation([] { return std::make_unique<int>(); }, edit,
                          [&](int&, const std::optional<std::string>& result) { EXPECT_TRUE(!result || result == whole); });
    }
}

TEST_F(AllocationFaultsTest, ACheckReturnsAllFindingsOrThatMemoryRanOut) {
    auto document = largeDocument();
    document.connect(document.function("Add"), document.function("Subtract"), 7);
    document.add("Function", "Absolut");
    document.connect(99, 98);
    auto ring = DiagramDocument::chain("Add");
    ring.connect(2, 2, 1);
    for (const std::string& text : {document.text(), ring.text(), std::string("{\"nodes\":[{}]}"), std::string("{"), *writeText(document.data),
                                    std::string("a = Nott(b)\n~")}) {
        const auto expected = checkDiagram(text);
        const auto check = [&](int&) {
            try {
                return checkDiagram(text);
            } catch (const std::bad_alloc&) {
                // Not even one finding could be made.
                return std::vector<Finding>();
            }
        };
        ASSERT_FALSE(expected.empty());
        atEveryAllocation([] { return std::make_unique<int>(); }, check,
                          [&](int&, const std::vector<Finding>& findings) {
                              const bool isReported = findings.empty() || (findings[0].severity == Severity::fatal &&
                                                                           findings[0].code == "out-of-memory" && findings.size() == 1);
                              EXPECT_TRUE(isReported || findings == expected);
                          });
    }
}

}  // namespace KelvaneSDK::testing_support
