// The checker against the engine: random documents are checked, then built and evaluated in a child process.

#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <limits>
#include <map>
#include <random>

#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "fuzz/AnyDiagram.h"
#include "fuzz/support.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

using KelvaneFuzz::stopReason;

using Random = std::mt19937;

bool contains(const std::vector<Finding>& findings, auto predicate) { return std::any_of(findings.begin(), findings.end(), predicate); }
bool hasCode(const std::vector<Finding>& findings, std::string_view code) {
    return contains(findings, [&](const Finding& f) { return f.code == code; });
}
bool isFatal(const Finding& finding) { return finding.fatal; }

std::string textOf(const std::vector<Finding>& findings) {
    std::string text = "\n";
    for (const auto& finding : findings) text += (finding.fatal ? "fatal " : "") + finding.code + " " + findingText(finding) + "\n";
    return text;
}

// Stops that depend on the values that arrive, not on the document alone.
bool dependsOnValues(std::string_view reason) {
    constexpr std::string_view parts[] = {"overflows 64 bits",  "is by zero",      "no 64-bit integer", "does not fit",
                                          "a buffer of length", "an array of",     "lies outside",      "lie",
                                          "is empty",           "fewer than two",  "a width of",        "no earlier sample",
                                          "an empty array",     "beyond the limit"};
    return std::any_of(std::begin(parts), std::end(parts), [&](auto part) { return reason.find(part) != std::string_view::npos; });
}

// Small numbers above 0, and lists that are not empty: what these bytes make.
Value plainValue(ValueType type, Random& random) {
    std::uint8_t bytes[400];
    for (auto& byte : bytes) byte = std::initializer_list<std::uint8_t>{24, 32, 34}.begin()[random() % 3];
    KelvaneFuzz::Choices choices(bytes, sizeof bytes);
    return type == ValueType::Boolean ? Value(true) : anyValue(choices, type);
}

// Every stream brings a value in every batch, but for feedback, which needs labels that no update carries.
void evaluateAll(Kelvane& engine, Random& random) {
    for (int batch = 0; batch < 6; ++batch) {
        KelvaneInput input{1.0 + batch, {}};
        for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
            input.updates.insert_or_assign(stream->label(), plainValue(stream->outputValue()->payload()->type(), random));
        }
        for (const auto& output : engine.nodeList(NodeCategory::VariableOutput)) {
            if (batch % 2 == 1 && input.updates.size() > 1) input.updates.erase(output->label());
        }
        engine.evaluate(input);
    }
}

bool hasOutput(const Kelvane& engine, std::int64_t id) {
    return std::any_of(std::begin(allNodeCategories), std::end(allNodeCategories), [&](auto category) {
        const auto& nodes = engine.nodeList(category);
        return std::any_of(nodes.begin(), nodes.end(),
                           [&](const auto& node) { return node->id == id && node->outputValue() != nullptr && node->outputValue()->hasValue(); });
    });
}

enum Outcome { ends, isReported, endsUnlikeFound, stopsByValues, stops, hangs, crashes };

/// What a document comes to in the engine, and whether that shows what the errors among the findings say.
Outcome evaluate(const std::string& text, const std::vector<Finding>& findings, Random& random) {
    Kelvane engine;
    engine.setLimits({100'000, 1000});
    bool toldError = false;
    const auto reason = stopReason([&] {
        setDiagnosticSink([&](std::string_view line) { toldError = toldError || line.starts_with("ERROR: "); });
        const bool isRead = engine.read(text, true);
        if (isRead) evaluateAll(engine, random);
        toldError = toldError || !isRead;
    });
    if (dependsOnValues(reason)) return stopsByValues;
    if (!reason.empty()) {
        if (!contains(findings, isFatal)) std::cerr << reason << std::endl;
        return stops;
    }
    if (toldError) return isReported;
    const bool isConfirmed = std::all_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        if (finding.severity != Severity::error || finding.code == "duplicate-id") return true;
        // The function need not run.
        if (finding.code.starts_with("constant-")) return true;
        if (finding.code == "id-leaves-no-room") return !stopReason([&] { Kelvane().read(text, false); }).empty();
        // A value of a wrong type is lost in silence.
        return finding.code == "type-mismatch" && (hasCode(findings, "input-connected-twice") || !hasOutput(engine, *finding.nodeId));
    });
    return isConfirmed ? ends : endsUnlikeFound;
}

Outcome outcomeOf(const std::string& text, const std::vector<Finding>& findings, Random& random) {
    const pid_t child = fork();
    if (child == 0) {
        // Processor time, so that a busy machine does not look like an evaluation without end.
        const itimerval limit{{0, 0}, {0, 150'000}};
        setitimer(ITIMER_VIRTUAL, &limit, nullptr);
        _exit(evaluate(text, findings, random));
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status)) return static_cast<Outcome>(WEXITSTATUS(status));
    return WTERMSIG(status) == SIGVTALRM ? hangs : crashes;
}

/// Puts something wrong into a document, which may be harmless there.
void disturb(DiagramDocument& document, Random& random) {
    DiagramInfo& info = document.data.info;
    const auto one = [&](auto& items) -> auto& { return items[random() % items.size()]; };
    auto& node = one(info.nodes);
    const auto other = one(info.nodes);
    auto& connection = one(info.connections);
    const std::function<void()> faults[] = {
        [&] { node.typeString += "x"; },
        [&] { node.typeString = other.typeString; },
        [&] { node.id = other.id; },
        [&] { node.id = std::numeric_limits<std::int64_t>::max(); },
        [&] { node.outputType = "float"; },
        [&] { node.outputType = other.typeString; },
        [&] { connection.outputNodeId = node.id; },
        [&] { connection.inputNodeId = node.id; },
        [&] { document.connect(connection.inputNodeId, connection.outputNodeId); },
        [&] { document.connect(connection.inputNodeId, connection.inputNodeId, connection.inputIndex); },
        [&] { connection.inputIndex += 1; },
        [&] { connection.inputIndex = -1; },
        [&] { connection.outputNodeId = 99; },
        [&] { document.connect(node.id, other.id, random() % 3); },
        [&] { document.property(node.id, "Colour", "blue"); },
        [&] { document.property(node.id, "Color", "blu"); },
        [&] { document.property(node.id, "OutputValue", "one"); },
        [&] { document.property(99, "Description", "nobody"); },
        [&] {
            info.containers.emplace().push_back({0, 0, "box", {node.id, other.id}, "blue", {{{0, 0, "inner", {99}, {}, {}}}}});
        },
        [&] {
            info.subdiagrams.emplace().push_back({"part", {node.id, 99}});
        },
    };
    faults[random() % std::size(faults)]();
}

/// Over the whole registry; most of them have faults.
DiagramDocument randomDocument(Random& random) {
    std::uint8_t bytes[1000];
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    KelvaneFuzz::Choices choices(bytes, sizeof bytes);
    DiagramDocument document;
    document.data.info = anyDiagram(choices, false);
    // Few labels are shared.
    for (auto& [id, name, value] : document.data.info.properties) {
        if (name == "Description" && random() % 8 != 0) value += std::to_string(id);
    }
    if (random() % 2 == 0) {
        // Types then spread along the connections.
        for (auto& node : document.data.info.nodes) node.outputType.reset();
    }
    for (auto faults = random() % 4; faults > 0; --faults) disturb(document, random);
    return document;
}

}  // namespace

TEST(DiagramCheckDifferential, FindsWhatTheEngineMeets) {
    // Other seeds find one document in some thousands whose fatal function waits for a value that never comes.
    Random random(20);
    std::map<std::string, int> waits;
    int sound = 0, fatal = 0, erroneous = 0;
    const int count = 1000;
    for (int i = 0; i < count && !HasFailure(); ++i) {
        const std::string text = randomDocument(random).text();
        const auto findings = checkDiagram(text);
        const auto hang = std::find_if(findings.begin(), findings.end(), [](const Finding& f) {
            return f.fatal && (f.code.ends_with("cycle") || f.code == "connection-unknown-id" || f.code == "constant-never-ends");
        });
        if (hang != findings.end() && ++waits[hang->code] > 4) continue;
        SCOPED_TRACE(text + textOf(findings));
        const Outcome outcome = outcomeOf(text, findings, random);
        if (contains(findings, isFatal)) {
            ++fatal;
            EXPECT_TRUE(outcome >= stopsByValues && outcome != crashes) << outcome;
        } else {
            EXPECT_NE(outcome, endsUnlikeFound);
            EXPECT_NE(outcome, crashes);
            EXPECT_TRUE(outcome != stops || hasCode(findings, "type-mismatch"));
            // Of an input that is fed twice the checker does not know the value.
            EXPECT_TRUE(outcome != hangs || hasCode(findings, "restless-cycle") || hasCode(findings, "input-connected-twice"));
            const bool isErroneous = contains(findings, [](const Finding& f) { return f.severity == Severity::error; });
            (isErroneous ? erroneous : sound) += outcome <= isReported;
        }
    }
    // The documents must stay of all kinds.
    EXPECT_GT(sound, count / 8);
    EXPECT_GT(fatal, count / 8);
    EXPECT_GT(erroneous, count / 8);
}

// What random documents seldom hold: a function (2) fed by a stream (1), by itself and by a constant (4), before a variable output.
TEST(DiagramCheckDifferential, ForeseesWhatCyclesAndConstantsDo) {
    struct Row {
        std::string code, type, function;
        std::vector<std::pair<std::int64_t, std::int64_t>> wires;  // from a node to an input of node 2
        std::string constantType = {}, constant = {};
    };
    const Row rows[] = {
        {"endless-cycle", "Float", "Absolute", {{1, 0}, {2, 0}}},
        {"endless-cycle", "Vector", "Normalize vector", {{1, 0}, {2, 0}}},
        {"endless-cycle", "Float", "Add", {{1, 0}, {1, 1}, {2, 0}, {2, 1}}},
        {"endless-cycle", "Float", "Pass updated", {{1, 0}, {1, 1}, {2, 1}}},
        {"resting-cycle", "Float", "Add", {{1, 0}, {4, 1}, {2, 0}}, "Float", "1"},
        {"resting-cycle", "Float", "Limiter", {{1, 0}, {1, 1}, {2, 0}}},
        {"cycle", "Float", "Add", {{1, 0}, {2, 1}}},
        {"cycle", "Float", "Add", {{1, 0}, {4, 1}, {2, 1}}, "Float", "1"},
        {"self-connection-stops", "Float", "Pass-through", {{2, 0}, {1, 0}}},
        {"type-mismatch", "Float", "Switch", {{1, 0}, {1, 1}}},
        {"constant-stops", "Integer", "Divide", {{1, 0}, {4, 1}}, "Integer", "0"},
        {"constant-stops", "Integer", "Scale", {{4, 0}, {1, 1}}, "Float", "1e30"},
        {"constant-stops", "Integer array", "Scale", {{4, 0}, {1, 1}}, "Float", "nan"},
    };
    Random random(1);
    for (const auto& [code, type, function, wires, constantType, constant] : rows) {
        DiagramDocument document;
        document.stream(type, "in");
        const auto node = document.function(function);
        const auto output = document.output(type, "out");
        if (!constant.empty()) document.constant(constantType, constant);
        for (const auto& [from, input] : wires) document.connect(from, node, input);
        document.connect(node, output);
        const auto findings = checkDiagram(document.data.info);
        SCOPED_TRACE(document.text() + textOf(findings));
        EXPECT_TRUE(hasCode(findings, code));
        EXPECT_EQ(outcomeOf(document.text(), findings, random) >= stopsByValues, contains(findings, isFatal));
    }
}

TEST(DiagramCheckDifferential, TellsDamagedTextsAsTheDecoderDoes) {
    constexpr std::string_view characters = "{}[],:\"\\1-.0 \x01\xC3";
    const std::string longer[] = {"\\u12", "e9", "e999", "null", "nul", "\xF0\x9F\x98\x80", "\xED\xA0\x80"};
    Random random(7);
    int damaged = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string text = randomDocument(random).text();
        const auto at = random() % text.size();
        text.replace(at, random() % 3,
                     random() % 3 == 0 ? longer[random() % std::size(longer)] : std::string(1, characters[random() % characters.size()]));
        if (random() % 10 == 0) text.resize(at);
        DecodeFailure failure;
        const bool decodes = DiagramData::decode(text, &failure).has_value();
        const auto findings = checkDiagram(text);
        SCOPED_TRACE(text.substr(at < 40 ? 0 : at - 40, 80) + " " + failure.reason);
        ASSERT_EQ(findings.size() == 1 && findings[0].code == "undecodable", !decodes);
        if (decodes) continue;
        ++damaged;
        ASSERT_GT(findings[0].line, 0U);
        // The scan, which finds the place, agrees with the decoder on what is JSON.
        const bool isJson = !failure.reason.starts_with("not ") && !failure.reason.starts_with("the text is empty");
        ASSERT_EQ(findJsonFault(text, maximumDocumentDepth).has_value(), !isJson);
    }
    EXPECT_GT(damaged, 1000);
}

}  // namespace KelvaneSDK::testing_support
