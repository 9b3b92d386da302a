// Random diagrams over the whole registry, wild wires included: what the checker calls sound builds and is
// exported, and an exported diagram reads back the same.

#include "AnyDiagram.h"
#include "support.h"

using namespace KelvaneSDK;
using KelvaneFuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    KelvaneFuzz::Choices choices(bytes, size);
    const std::string document = DiagramData{KelvaneFuzz::anyDiagram(choices, choices.flag())}.encode();
    bool exportStops = false, losesConnections = false;
    for (const auto& finding : checkDiagram(document)) {
        if (finding.fatal) return 0;
        exportStops |= finding.code == "integer-array-constant";
        losesConnections |= finding.code == "connection-lost";
    }
    Kelvane engine, again;
    bool isBuilt = false;
    require(KelvaneFuzz::stopReason([&] { isBuilt = engine.read(document, true); }).empty() && isBuilt,
            "a sound diagram builds");
    if (exportStops) return 0;
    KelvaneFuzz::prepare();
    const std::string exported = engine.createJSON();
    require(again.read(exported, true), "an exported diagram builds");
    // What is lost depends on the order of the connections, which an export changes.
    require(losesConnections || again.createJSON() == exported, "an exported diagram reads back the same");
    return 0;
}
