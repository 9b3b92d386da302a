// The engine's evaluation against the plain one: results, lines, settled order and every slot are the same
// after every batch, whatever is hidden, fed back, fed twice or reset in between.

#include "AnyDiagram.h"
#include "support.h"
#include "support/PlainEngine.h"

using namespace KelvaneSDK;
using namespace KelvaneSDK::testing_support;
using KelvaneFuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    KelvaneFuzz::prepare();
    KelvaneFuzz::Choices choices(bytes, size);
    const std::string document = DiagramData{KelvaneFuzz::anyDiagram(choices, choices.oneIn(4))}.encode();
    for (const auto& finding : checkDiagram(document)) {
        if (finding.severity == Severity::fatal) return 0;
    }
    Kelvane engine;
    require(engine.read(document, true), "a sound diagram builds");
    PlainEngine plain(document);
    engine.setLimits(KelvaneFuzz::limits);
    // Without a time limit, which only the engine itself can keep; it goes first.
    plain.engine.setLimits({KelvaneFuzz::limits.maxElements});
    require(idsOf(engine.getFunctionNodes()) == idsOf(plain.order), "the order is the document's at first");
    KelvaneFuzz::setAnyConstants(choices, engine, plain.engine);
    for (const auto& batch : KelvaneFuzz::anyBatches(choices, engine)) {
        KelvaneOutput output, plainOutput;
        std::string lines, plainLines;
        const auto evaluate = [&](auto& evaluator, KelvaneOutput& target, std::string& reported) {
            return KelvaneFuzz::stopReason([&] {
                setDiagnosticSink([&](std::string_view line) { (reported += line) += '\n'; });
                target = evaluator.evaluate(batch);
            });
        };
        const auto stop = evaluate(engine, output, lines);
        if (KelvaneFuzz::wasOutOfTime(stop)) return 0;
        require(stop == evaluate(plain, plainOutput, plainLines), "both stop for the same reason");
        require(lines == plainLines, "the diagnostic lines are the same");
        if (!stop.empty()) return 0;
        require(KelvaneFuzz::textOf(output) == KelvaneFuzz::textOf(plainOutput), "the results are the same");
        require(idsOf(engine.getFunctionNodes()) == idsOf(plain.order), "the settled order is the same");
        require(stateOf(engine) == stateOf(plain.engine), "every slot is the same");
        if (choices.oneIn(16)) {
            for (auto* each : {&engine, &plain.engine}) each->reset();
        }
    }
    return 0;
}
