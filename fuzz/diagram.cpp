// Random diagrams over the whole registry, wild wires included. A document without errors builds and ends
// without an ERROR line, and stops on nothing but values; one with a fatal error stops or never ends. What
// builds is exported, and an exported diagram reads back the same.

#include <algorithm>

#include "AnyDiagram.h"
#include "support.h"

using namespace KelvaneSDK;
using KelvaneFuzz::require;

namespace {

struct NeverEnds {};

struct Outcome {
    bool isBuilt = false, printsErrors = false;
    /// Why building or evaluating stopped, or was broken off.
    std::string stop;
    /// The node that stopped has a loop of its own whose end values decide.
    bool hasOwnLoop = false;
};

bool hasOwnLoop(const Kelvane& engine, std::optional<std::int64_t> id) {
    for (const auto& node : engine.nodeList(NodeCategory::Function)) {
        const auto* const declaration = static_cast<const FunctionNode&>(*node).declaration();
        if (node->id != id || declaration == nullptr) continue;
        return std::any_of(declaration->demands.begin(), declaration->demands.end(),
                           [](const Demand& demand) { return !demand.isAskedEachStep; });
    }
    return false;
}

// Every stream brings values of its type in every batch.
Outcome evaluate(const std::string& document, KelvaneFuzz::Choices& choices, const EvaluationLimits& limits) {
    Outcome outcome;
    std::size_t errors = 0;
    Kelvane engine;
    engine.setStopBehavior(StopBehavior::failCall);
    engine.setLimits(limits);
    engine.setDiagnosticSink([&](std::string_view line) {
        if (line.starts_with("ERROR: ") && ++errors > 10'000) throw NeverEnds();
    });
    try {
        outcome.isBuilt = engine.read(document, true);
        for (int second = 0; outcome.isBuilt && !engine.failure() && second < 3; ++second) {
            KelvaneInput batch{static_cast<double>(second), {}};
            for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
                const auto type = stream->outputValue()->payload()->type();
                batch.updates.insert_or_assign(stream->label(), KelvaneFuzz::anyValue(choices, type));
            }
            engine.evaluate(batch);
        }
        if (engine.failure()) {
            outcome.stop = engine.failure()->text;
            outcome.hasOwnLoop = hasOwnLoop(engine, engine.failure()->nodeId);
        }
    } catch (const NeverEnds&) {
        outcome.stop = "building never ends";
    }
    outcome.printsErrors = errors > 0;
    return outcome;
}

void checkExport(const std::string& document, bool losesConnections) {
    Kelvane engine, again;
    engine.setDiagnosticSink([](std::string_view) {});
    again.setDiagnosticSink([](std::string_view) {});
    engine.read(document, true);
    const std::string exported = engine.createJSON();
    require(again.read(exported, true), "an exported diagram builds");
    // What is lost depends on the order of the connections, which an export changes.
    require(losesConnections || again.createJSON() == exported, "an exported diagram reads back the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    KelvaneFuzz::Choices choices(bytes, size);
    const std::string document = DiagramData{KelvaneFuzz::anyDiagram(choices, choices.flag())}.encode();
    const auto findings = checkDiagram(document);
    auto gravest = Severity::warning;
    for (const auto& finding : findings) gravest = std::max(gravest, finding.severity);
    const auto has = [&](std::string_view code) {
        return std::any_of(findings.begin(), findings.end(),
                           [&](const Finding& f) { return f.code == code; });
    };
    const bool isSound = gravest == Severity::warning;
    const auto outcome = evaluate(document, choices, {2000, isSound ? 1 : 0.02});
    const auto stopsFor = [&](std::string_view reason) {
        return outcome.stop.find(reason) != std::string::npos;
    };
    // Two streams of a label do not both get a value of their type.
    const bool isFed = !has("label-types-differ");
    require(gravest == Severity::fatal ? !isFed || !outcome.stop.empty() : outcome.isBuilt,
            "what is fatal stops or never ends, and what is not builds");
    require(!isSound || !isFed || !outcome.printsErrors, "what has no errors prints none");
    require(!isSound || !(stopsFor(" is needed") || (stopsFor("longer than") && !outcome.hasOwnLoop)),
            "what has no errors ends, and stops on nothing but values");
    if (gravest != Severity::fatal && !has("integer-array-constant"))
        checkExport(document, has("connection-lost"));
    return 0;
}
