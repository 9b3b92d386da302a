// The checker against the engine: random documents are checked, then built and evaluated in a child process.

#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <set>

#include "KelvaneSDK/FileProcessing/TextPlace.h"
#include "support/DiagramDocument.h"

namespace KelvaneSDK::testing_support {

namespace {

struct Outcome {
    bool hung = false;
    bool failedToRead = false;
    bool printedError = false;
    /// Why the program stopped; empty when it did not.
    std::string stopReason;
    /// Nodes that hold an output value after the last batch.
    std::set<std::int64_t> nodesWithOutput;

    bool ended() const { return !hung && stopReason.empty(); }
};

Value sampleValue(std::string_view type, int batch) {
    const double x = 0.5 + batch;
    const Sample samples[] = {{0, x}, {1, 2}, {2, -1}};
    const double numbers[] = {x, 2, 3};
    const std::int64_t integers[] = {1, 2, 3};
    const bool truths[] = {true, false};
    const String texts[] = {String("a"), String("b")};
    const Vector vectors[] = {{1, 2, x}, {0, 1, 0}};
    const Orientation turns[] = {{0, 0, 0, 1}, {1, 0, 0, 0}};
    const Sequence sequences[] = {Sequence(List<Sample>(std::span(samples)))};
    if (type == "Float") return Value(x);
    if (type == "Integer") return Value(1 + batch % 3);
    if (type == "Boolean") return Value(true);
    if (type == "Vector") return Value(vectors[0]);
    if (type == "Orientation") return Value(turns[0]);
    if (type == "Sequence") return Value(sequences[0]);
    if (type == "String") return Value("text");
    if (type == "Float array") return Value(List<double>(std::span(numbers)));
    if (type == "Integer array") return Value(List<std::int64_t>(std::span(integers)));
    if (type == "Boolean array") return Value(List<bool>(std::span(truths)));
    if (type == "String array") return Value(List<String>(std::span(texts)));
    if (type == "Vector array") return Value(List<Vector>(std::span(vectors)));
    if (type == "Orientation array") return Value(List<Orientation>(std::span(turns)));
    return Value(List<Sequence>(std::span(sequences)));
}

// In the child: every stream brings a value in every batch.
void evaluateAll(Kelvane& engine) {
    for (int batch = 0; batch < 6; ++batch) {
        KelvaneInput input{1.0 + batch, {}};
        for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
            input.updates.insert_or_assign(stream->label(), sampleValue(stream->typeString, batch));
        }
        // Feedback needs labels that no update carries.
        if (batch % 2 == 1) {
            for (const auto& output : engine.nodeList(NodeCategory::VariableOutput)) {
                if (input.updates.size() > 1) input.updates.erase(output->label());
            }
        }
        engine.evaluate(input);
    }
}

void report(int pipe, const std::string& line) {
    const std::string whole = line + "\n";
    if (write(pipe, whole.data(), whole.size()) < 0) _exit(3);
}

[[noreturn]] void runChild(const std::string& text, bool append, int pipe) {
    // Processor time, so that a busy machine does not look like an evaluation without end.
    const itimerval limit{{0, 0}, {0, 150'000}};
    setitimer(ITIMER_VIRTUAL, &limit, nullptr);
    setStopHandler([pipe](std::string_view reason) {
        report(pipe, "S" + std::string(reason));
        _exit(0);
    });
    bool told = false;
    setDiagnosticSink([&](std::string_view line) {
        if (!told && line.starts_with("ERROR: ")) report(pipe, "E");
        told = told || line.starts_with("ERROR: ");
    });
    Kelvane engine;
    if (!engine.read(text, !append)) {
        report(pipe, "R");
        _exit(0);
    }
    if (!append) evaluateAll(engine);
    for (const auto category : allNodeCategories) {
        for (const auto& node : engine.nodeList(category)) {
            if (node->outputValue() != nullptr && node->outputValue()->hasValue()) {
                report(pipe, "V" + std::to_string(*node->id));
            }
        }
    }
    _exit(0);
}

Outcome outcomeOf(const std::string& text, bool append = false) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        runChild(text, append, ends[1]);
    }
    close(ends[1]);
    std::string told;
    char piece[512];
    for (ssize_t length = 0; (length = read(ends[0], piece, sizeof piece)) > 0;) {
        told.append(piece, static_cast<std::size_t>(length));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);

    Outcome outcome;
    outcome.hung = WIFSIGNALED(status) && WTERMSIG(status) == SIGVTALRM;
    if (WIFSIGNALED(status) && !outcome.hung) outcome.stopReason = "signal " + std::to_string(WTERMSIG(status));
    for (std::size_t begin = 0; begin < told.size();) {
        const auto end = told.find('\n', begin);
        const std::string line = told.substr(begin, end - begin);
        begin = end + 1;
        if (line[0] == 'S') outcome.stopReason = line.substr(1);
        if (line[0] == 'E') outcome.printedError = true;
        if (line[0] == 'R') outcome.failedToRead = true;
        if (line[0] == 'V') outcome.nodesWithOutput.insert(std::stoll(line.substr(1)));
    }
    return outcome;
}

// Stops that depend on the values that arrive, not on the document alone.
bool dependsOnValues(std::string_view reason) {
    constexpr std::string_view parts[] = {
        "overflows 64 bits", "is by zero",     "no 64-bit integer", "does not fit",      "a buffer of length", "an array of", "lies outside", "lie",
        "is empty",          "fewer than two", "a width of",        "no earlier sample", "an empty array"};
    return std::any_of(std::begin(parts), std::end(parts), [&](auto part) { return reason.find(part) != std::string_view::npos; });
}

/// Random documents: mostly sound wiring with faults strewn in.
class DocumentMaker {
public:
    explicit DocumentMaker(std::uint32_t seed) : random(seed) {
        for (const auto& [name, nodeClass] : NodeRegistry::library().classes(NodeCategory::Function)) functions.push_back(name);
    }

    DiagramDocument make() {
        document = {};
        outputs.clear();
        careful = chance(2);
        const int streams = 1 + below(3), constants = below(3), steps = 1 + below(7);
        for (int i = 0; i < streams; ++i) source(document.stream(type(), std::string(1, static_cast<char>('p' + i))));
        for (int i = 0; i < constants; ++i) {
            const auto name = type();
            source(document.constant(name, constantText(name), "c" + std::to_string(i)));
        }
        for (int i = 0; i < steps; ++i) step();
        deliverUnused();
        if (slip(3)) std::shuffle(document.data.info.connections.begin(), document.data.info.connections.end(), random);
        if (slip(2)) disturb();
        return std::move(document);
    }

    std::size_t below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random); }
    int below(int count) { return static_cast<int>(below(static_cast<std::size_t>(count))); }
    bool chance(int oneIn) { return below(oneIn) == 0; }
    bool slip(int oneIn) { return !careful && chance(oneIn); }

private:
    struct Output {
        std::int64_t id;
        ValueClass valueClass;
    };

    std::string type() {
        static const std::vector<std::string> common{"Float", "Float", "Float", "Integer", "Boolean", "Vector", "Sequence"};
        if (!chance(4)) return common[below(common.size())];
        const auto& all = NodeRegistry::library().classes(NodeCategory::InputStream);
        return std::next(all.begin(), static_cast<std::ptrdiff_t>(below(all.size())))->first;
    }

    std::string constantText(const std::string& name) {
        if (name == "Boolean") return "true";
        if (name == "Vector") return "1,2,3";
        if (name == "Orientation") return "0,0,0,1";
        if (name == "Sequence") return "0,1,1,2,2,3";
        if (name == "Boolean array") return "true,false";
        if (name == "Vector array") return "1,2,3,4,5,6";
        if (name == "Orientation array") return "0,0,0,1";
        return slip(6) ? std::to_string(below(4) - 3) : std::to_string(1 + below(2));
    }

    void source(std::int64_t id) { outputs.push_back({id, *concreteClassNamed(document.data.info.nodes.back().typeString)}); }

    std::optional<Output> choose(ValueClass wanted) {
        std::vector<Output> fitting;
        for (const auto& output : outputs) {
            const bool fits = output.valueClass == wanted || isGeneric(output.valueClass) || wanted == ValueClass::TimestampedVariable ||
                              (wanted == ValueClass::ValueVariable && !isArray(output.valueClass)) ||
                              (wanted == ValueClass::ArrayVariable && isArray(output.valueClass));
            if (fits) fitting.push_back(output);
        }
        if (fitting.empty() || slip(25)) fitting = outputs;
        return fitting[below(fitting.size())];
    }

    void step() {
        static const std::vector<std::string> flow{"Pass-through", "Add",     "Equal",     "Pass updated", "Gate",           "Max",  "Negate",
                                                   "Switch",       "Trigger", "Timestamp", "Scale",        "Update counter", "Adder"};
        const auto& name = chance(2) ? flow[below(flow.size())] : functions[below(functions.size())];
        const auto id = document.function(name);
        const auto shape = NodeRegistry::library().find(NodeCategory::Function, name)->make();
        ValueClass adopted = ValueClass::TimestampedVariable;
        for (const auto* slot : shape->inputValues()) {
            if (slip(30)) continue;
            const ValueClass wanted =
                slot->isGenericSlot() && !isGeneric(adopted) && slot->valueClass() == ValueClass::TimestampedVariable ? adopted : slot->valueClass();
            const auto from = choose(wanted);
            if (slot->isGenericSlot()) adopted = from->valueClass;
            document.connect(from->id, id, slot->index);
            if (slip(25)) document.connect(choose(wanted)->id, id, slot->index);
        }
        if (slip(12)) document.outputType(id, type());
        // Loops: a node behind feeds one before, or itself.
        if (slip(6)) {
            const auto functionsSoFar = static_cast<std::size_t>(std::count_if(document.data.info.nodes.begin(), document.data.info.nodes.end(),
                                                                               [](const auto& n) { return n.classString == "Function"; }));
            const auto back = id - static_cast<std::int64_t>(below(functionsSoFar));
            document.connect(id, back, below(2));
        }
        const ValueClass output = shape->outputValue()->valueClass();
        outputs.push_back({id, isGeneric(output) ? adopted : output});
    }

    void deliverUnused() {
        std::set<std::int64_t> used;
        for (const auto& connection : document.data.info.connections) used.insert(connection.outputNodeId);
        int number = 0;
        for (const auto& from : outputs) {
            if (used.contains(from.id) || slip(20)) continue;
            const auto name = isGeneric(from.valueClass) || slip(20) ? type() : std::string(typeString(from.valueClass));
            // Now and then the label of a stream, which is then fed back.
            const auto label = chance(6) ? std::string(1, static_cast<char>('p' + below(3))) : "out" + std::to_string(number++);
            document.connect(from.id, document.output(name, label));
        }
    }

    std::int64_t anyId() { return 1 + below(static_cast<int>(document.data.info.nodes.size())); }

    void disturb() {
        DiagramInfo& info = document.data.info;
        switch (below(14)) {
            case 0:
                info.nodes[below(info.nodes.size())].typeString += "x";
                break;
            case 1:
                info.nodes[below(info.nodes.size())].id = anyId();
                break;
            case 2:
                document.connect(anyId(), anyId(), below(5) - 1);
                break;
            case 3:
                document.connect(anyId(), 99);
                break;
            case 4:
                document.property(anyId(), "Colour", "blue");
                break;
            case 5:
                document.property(anyId(), "OutputValue", "one");
                break;
            case 6:
                document.outputType(anyId(), "float");
                break;
            case 7:
                info.nodes.front().id = std::numeric_limits<std::int64_t>::max();
                break;
            case 8:
                info.containers = {{0, 0, "box", {anyId(), anyId()}, "blue", std::nullopt}};
                break;
            case 9:
                info.containers = {{0, 0, "box", {anyId()}, std::nullopt, {{{0, 0, "inner", {99}, {}, {}}}}}};
                break;
            case 10:
                info.subdiagrams = {{"part", {anyId(), 99}}};
                break;
            case 11:
                info.containers = {{0, 0, "all", {}, {}, {}}};
                for (const auto& node : info.nodes) info.containers->front().nodeIds.push_back(node.id);
                break;
            case 12:
                document.property(77, "Description", "nobody");
                break;
            default:
                document.property(anyId(), "Color", "blu");
                break;
        }
    }

    std::mt19937 random;
    bool careful = false;
    std::vector<std::string> functions;
    DiagramDocument document;
    std::vector<Output> outputs;
};

std::string textOf(const std::vector<Finding>& findings) {
    std::string text;
    for (const auto& finding : findings) {
        text += (finding.severity == Severity::error ? finding.fatal ? "fatal " : "error " : "warning ") + finding.code + " " + findingText(finding) +
                "\n";
    }
    return text;
}

std::string summaryOf(const DiagramInfo& info) {
    std::string text = "\n";
    for (const auto& node : info.nodes) {
        text += std::to_string(node.id) + " " + node.classString + " " + node.typeString + " " + node.outputType.value_or("") + "\n";
    }
    for (const auto& [from, to, input] : info.connections) {
        text += std::to_string(from) + " -> " + std::to_string(to) + "." + std::to_string(input) + "\n";
    }
    for (const auto& [id, name, value] : info.properties) text += std::to_string(id) + "." + name + " = " + value + "\n";
    return text;
}

bool contains(const std::vector<Finding>& findings, auto predicate) { return std::any_of(findings.begin(), findings.end(), predicate); }

// Something that the finding says is visible in the run.
bool isConfirmed(const Finding& finding, const Outcome& outcome, const std::vector<Finding>& all, const std::string& text) {
    if (outcome.printedError || outcome.failedToRead || !outcome.ended()) return true;
    if (finding.code == "id-leaves-no-room") return !outcomeOf(text, true).stopReason.empty();
    // The engine finds only the first node of an id.
    if (finding.code == "duplicate-id") return true;
    const bool fedTwice = contains(all, [](const Finding& f) { return f.code == "input-connected-twice"; });
    return finding.code == "type-mismatch" && (fedTwice || !outcome.nodesWithOutput.contains(*finding.nodeId));
}

}  // namespace

TEST(DiagramCheckDifferential, FindsWhatTheEngineMeets) {
    DocumentMaker maker(20);
    int hangsLeft = 8, sound = 0, fatal = 0, erroneous = 0;
    const int count = 1000;
    for (int i = 0; i < count && !HasFailure(); ++i) {
        const DiagramDocument document = maker.make();
        const std::string text = document.text();
        const auto findings = checkDiagram(text);
        SCOPED_TRACE(summaryOf(document.data.info) + textOf(findings));
        const bool isFatal = contains(findings, [](const Finding& f) { return f.fatal; });
        const bool mayHang = contains(findings, [](const Finding& f) {
            return f.fatal && (f.code.ends_with("cycle") || f.code == "connection-unknown-id" || f.code == "constant-never-ends");
        });
        if (mayHang && hangsLeft-- <= 0) continue;

        const Outcome outcome = outcomeOf(text);
        SCOPED_TRACE(outcome.hung ? "hung" : "stopped: " + outcome.stopReason);
        if (isFatal) {
            ++fatal;
            EXPECT_FALSE(outcome.ended());
        } else {
            const bool mayStop = contains(findings, [](const Finding& f) { return f.code == "type-mismatch"; });
            EXPECT_TRUE(outcome.stopReason.empty() || mayStop || dependsOnValues(outcome.stopReason));
            const bool restless = contains(findings, [](const Finding& f) { return f.code == "restless-cycle"; });
            EXPECT_TRUE(!outcome.hung || restless);
        }
        for (const auto& finding : findings) {
            if (finding.severity != Severity::error) continue;
            ++erroneous;
            if (!finding.fatal) {
                EXPECT_TRUE(isConfirmed(finding, outcome, findings, text)) << findingText(finding);
            }
        }
        if (findings.empty()) ++sound;
    }
    // The maker must keep making all kinds.
    EXPECT_GT(sound, count / 50);
    EXPECT_GT(fatal, count / 20);
    EXPECT_GT(erroneous, count / 20);
    RecordProperty("sound", sound);
    RecordProperty("fatal", fatal);
    RecordProperty("errors", erroneous);
}

// One row per rule about fixed values: the checker foresees what the engine then does.
TEST(DiagramCheckDifferential, ForeseesWhatConstantsDo) {
    struct Row {
        std::string function;
        /// Of each input the type, and the text of the constant that feeds it, or none for a stream.
        std::vector<std::pair<std::string, std::string>> inputs;
    };
    const Row rows[] = {
        {"Add", {{"Integer", "9223372036854775807"}, {"Integer", "1"}}},
        {"Subtract", {{"Integer", "-9223372036854775808"}, {"Integer", "1"}}},
        {"Multiply", {{"Integer", "4294967296"}, {"Integer", "4294967296"}}},
        {"Divide", {{"Integer", ""}, {"Integer", "0"}}},
        {"Divide", {{"Integer", "-9223372036854775808"}, {"Integer", "-1"}}},
        {"Negate", {{"Integer", "-9223372036854775808"}}},
        {"Scale", {{"Float", "1e30"}, {"Integer", ""}}},
        {"Scale", {{"Float", "nan"}, {"Integer array", ""}}},
        {"Integer", {{"Float", "inf"}}},
        {"Buffer", {{"Integer", "-2"}, {"Vector", ""}}},
        {"Create array", {{"Integer", "-1"}, {"Float", ""}}},
        {"Remove from array", {{"Integer", "-1"}, {"Float array", ""}}},
        {"Insert into array", {{"Integer", "-1"}, {"Float", ""}, {"Float array", ""}}},
        {"Combine arrays", {{"Integer", "-1"}, {"Float array", ""}, {"Float array", ""}}},
        {"Trim", {{"Integer", "-1"}, {"Integer", "-3"}, {"Float array", ""}}},
        {"Search array", {{"Float", ""}, {"Float array", "[]"}}},
        {"Delay", {{"Float", "0"}, {"Float", ""}}},
        {"Sequencer", {{"Float", "nan"}, {"Float", ""}}},
        {"Centered moving average", {{"Integer", "-1"}, {"Sequence", ""}}},
        {"Resample", {{"Float", "-0.5"}, {"Sequence", ""}}},
        {"Resample", {{"Float", "0"}, {"Sequence", "0,1,2,3"}}},
        {"Resample", {{"Float", "1"}, {"Sequence", "()"}}},
        {"Time derivative", {{"Sequence", "0,1"}}},
        {"Time integral", {{"Sequence", "0,1"}}},
        {"Sequence rectifier", {{"Sequence", "()"}}},
        {"Normalize", {{"Sequence", "()"}}},
        {"Start time", {{"Sequence", "()"}}},
        {"End time", {{"Sequence", "()"}}},
        {"Duration", {{"Sequence", "()"}}},
        {"Scale time", {{"Float", ""}, {"Float", ""}, {"Sequence", "()"}}},
        {"Get interpolated values", {{"Float array", ""}, {"Sequence", "()"}}},
    };
    for (const auto& [function, inputs] : rows) {
        DiagramDocument document;
        const auto node = document.function(function);
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const auto& [type, text] = inputs[i];
            const auto label = std::string(1, static_cast<char>('p' + i));
            const auto source = text.empty() ? document.stream(type, label) : document.constant(type, text, label);
            document.connect(source, node, static_cast<std::int64_t>(i));
        }
        const auto findings = checkDiagram(document.data.info);
        SCOPED_TRACE(summaryOf(document.data.info) + textOf(findings));
        EXPECT_EQ(std::count_if(findings.begin(), findings.end(), [](const auto& f) { return f.fatal; }), 1);
        EXPECT_FALSE(outcomeOf(document.text()).ended());
    }
}

// What random documents seldom hold: a function (2) between a stream (1) and a variable output (3), and what
// is wired to it besides.
TEST(DiagramCheckDifferential, ForeseesWhatCyclesDo) {
    struct Row {
        std::string code, type, function;
        std::vector<std::pair<std::int64_t, std::int64_t>> wires;  // from a node to an input of node 2
        std::string constant = {};                                 // node 4
    };
    const Row rows[] = {
        {"endless-cycle", "Float", "Absolute", {{2, 0}}},
        {"endless-cycle", "Vector", "Normalize vector", {{2, 0}}},
        {"endless-cycle", "Float", "Add", {{1, 1}, {2, 0}, {2, 1}}},
        {"endless-cycle", "Float", "Pass updated", {{1, 1}, {2, 1}}},
        {"resting-cycle", "Float", "Add", {{4, 1}, {2, 0}}, "1"},
        {"resting-cycle", "Float", "Limiter", {{1, 1}, {2, 0}}},
        {"cycle", "Float", "Add", {{2, 1}}},
        {"cycle", "Float", "Add", {{4, 1}, {2, 1}}, "1"},
        {"self-connection-stops", "Float", "Pass-through", {}},
        {"type-mismatch", "Float", "Switch", {{1, 1}}},
    };
    for (const Row& row : rows) {
        const auto& [code, type, function, wires, constant] = row;
        DiagramDocument document;
        const auto stream = document.stream(type, "in");
        const auto node = document.function(function);
        const auto output = document.output(type, "out");
        if (!constant.empty()) document.constant(type, constant);
        if (code == "self-connection-stops") document.connect(node, node);
        document.connect(stream, node);
        document.connect(node, output);
        for (const auto& [from, input] : wires) document.connect(from, node, input);
        const auto findings = checkDiagram(document.data.info);
        SCOPED_TRACE(summaryOf(document.data.info) + textOf(findings));
        EXPECT_TRUE(contains(findings, [&](const Finding& f) { return f.code == row.code; }));
        EXPECT_EQ(outcomeOf(document.text()).ended(), !contains(findings, [](const Finding& f) { return f.fatal; }));
    }
}

TEST(DiagramCheckDifferential, TellsDamagedTextsAsTheDecoderDoes) {
    DocumentMaker maker(7);
    int damaged = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string text = maker.make().text();
        constexpr std::string_view pieces[] = {"{",
                                               "}",
                                               "[",
                                               "]",
                                               ",",
                                               ":",
                                               "\"",
                                               "\\",
                                               "\\u12",
                                               "1",
                                               "-",
                                               ".",
                                               "e9",
                                               "e999",
                                               "null",
                                               "\x01",
                                               "\xC3",
                                               "\xF0\x9F\x98\x80",
                                               "\xED\xA0\x80",
                                               "0",
                                               "nul",
                                               " "};
        const auto at = maker.below(text.size());
        text.replace(at, maker.below(std::size_t{3}), pieces[maker.below(std::size(pieces))]);
        if (maker.chance(10)) text.resize(at);
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
