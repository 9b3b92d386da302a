// Sound diagrams with extreme values, within limits: two engines agree batch by batch, in what they stop on
// too, and an engine gives the same after every reset.

#include "AnyDiagram.h"
#include "support.h"

using namespace KelvaneSDK;
using KelvaneFuzz::require;

namespace {

struct Evaluation {
    std::string results;
    /// Empty: evaluated to the end.
    std::string stopReason;

    bool operator==(const Evaluation&) const = default;
};

Evaluation evaluate(Kelvane& engine, const std::vector<KelvaneInput>& batches) {
    Evaluation evaluation;
    evaluation.stopReason = KelvaneFuzz::stopReason([&] {
        for (const auto& batch : batches)
            evaluation.results += KelvaneFuzz::textOf(engine.evaluate(batch)) + "\n";
    });
    return evaluation;
}

void requireEqual(const Evaluation& first, const Evaluation& second, const char* property) {
    require(first == second || KelvaneFuzz::wasOutOfTime(second.stopReason), property);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    KelvaneFuzz::prepare();
    KelvaneFuzz::Choices choices(bytes, size);
    const std::string document = DiagramData{KelvaneFuzz::anyDiagram(choices, false)}.encode();
    for (const auto& finding : checkDiagram(document)) {
        if (finding.fatal) return 0;
    }
    Kelvane engine, twin;
    require(engine.read(document, true) && twin.read(document, true), "a sound diagram builds");
    for (auto* each : {&engine, &twin}) each->setLimits(KelvaneFuzz::limits);
    KelvaneFuzz::setAnyConstants(choices, engine, twin);
    const auto batches = KelvaneFuzz::anyBatches(choices, engine);
    const auto evaluation = evaluate(engine, batches);
    if (KelvaneFuzz::wasOutOfTime(evaluation.stopReason)) return 0;
    requireEqual(evaluation, evaluate(twin, batches), "two engines agree");
    if (!evaluation.stopReason.empty()) return 0;
    // Not the same as at first: a reset keeps the settled order, and the values that outputs hold.
    engine.reset();
    const auto afterReset = evaluate(engine, batches);
    if (!afterReset.stopReason.empty()) return 0;
    engine.reset();
    requireEqual(afterReset, evaluate(engine, batches), "an engine gives the same after every reset");
    return 0;
}
