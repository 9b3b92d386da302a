// Any bytes as a document: decoding and checking survive them, and what decodes is edited, written and read
// back equal.

#include "support.h"

using namespace KelvaneSDK;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    KelvaneFuzz::prepare();
    const auto text = KelvaneFuzz::textOf(data, size);
    DecodeFailure failure;
    const auto document = DiagramData::decode(text, &failure);
    const auto findings = checkDiagram(text);
    if (!document) {
        KelvaneFuzz::require(!failure.reason.empty(), "a refused document has a reason");
        const bool isError = findings.size() == 1 && findings.front().severity != Severity::warning;
        KelvaneFuzz::require(isError || isTextForm(text), "a refused document is an error");
        return 0;
    }
    // A key that nobody knows makes the decoder take the long way, to the same records.
    std::string longer(text);
    longer.insert(longer.find('{') + 1, R"("?":[],)");
    const auto other = DiagramData::decode(longer);
    KelvaneFuzz::require(other && other->info == document->info, "both ways of decoding give the same");
    auto edited = document->info;
    edited.nodes.insert(edited.nodes.begin(), {7, "Function", "Add", "Float"});
    if (!edited.connections.empty()) edited.connections.pop_back();
    if (!edited.properties.empty()) edited.properties.front().valueString += "\n\u00e9";
    edited.manualLines.emplace().push_back("note");
    KelvaneFuzz::require(rewriteDiagram(text, edited).text.has_value(), "any document can be edited");
    const auto again = DiagramData::decode(document->encode());
    KelvaneFuzz::require(again && again->info == document->info, "a written document reads back equal");
    for (const auto& finding : findings) {
        KelvaneFuzz::require(!findingText(finding).empty(), "every finding has a text");
    }
    return 0;
}
