// Any bytes as a diagram in the text form: reading, checking and formatting survive them, and what reads is
// written and read back equal.

#include <algorithm>

#include "support.h"
#include "support/NormalisedDiagram.h"

using namespace KelvaneSDK;

namespace {

void checkFaults(const std::vector<TextFault>& faults, std::string_view text) {
    KelvaneFuzz::require(!faults.empty() && faults.size() <= mostTextFaults, "a refused text has faults");
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    const TextFault* before = nullptr;
    for (const auto& fault : faults) {
        const bool isInText = fault.line > 0 && fault.line <= lines && fault.column > 0;
        KelvaneFuzz::require(isInText, "a fault stands in the text");
        KelvaneFuzz::require(!fault.what.empty() && fault.what.size() < 1000,
                             "a fault says what is wrong, shortly");
        if (before != nullptr) {
            KelvaneFuzz::require(
                std::pair(before->line, before->column) <= std::pair(fault.line, fault.column),
                "faults are in the order of the text");
        }
        before = &fault;
    }
}

void checkOffsets(const TextReading& reading, std::size_t size) {
    const auto& info = reading.data->info;
    const auto& offsets = reading.offsets;
    const auto isWhole = [&](const auto& records, const std::vector<std::size_t>& places) {
        return records.size() == places.size() &&
               std::all_of(places.begin(), places.end(), [&](std::size_t at) { return at < size; });
    };
    KelvaneFuzz::require(isWhole(info.nodes, offsets.nodes) && isWhole(info.properties, offsets.properties) &&
                             isWhole(info.connections, offsets.connections) &&
                             isWhole(info.positions, offsets.positions),
                         "every record has its place");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    KelvaneFuzz::prepare();
    const auto text = KelvaneFuzz::textOf(data, size);
    const auto reading = readText(text);
    const auto formatted = formatText(text);
    if (formatted) KelvaneFuzz::require(formatText(*formatted) == formatted, "good order is a fixed point");
    const auto findings = checkDiagram(text);
    if (!reading.data) {
        checkFaults(reading.faults, text);
        KelvaneFuzz::require(!findings.empty(), "the check finds why a text is refused");
        return 0;
    }
    checkOffsets(reading, size);
    for (const auto& finding : findings)
        KelvaneFuzz::require(!findingText(finding).empty(), "every finding has a text");
    KelvaneFuzz::require(formatted.has_value(), "what reads can be formatted");
    const auto inOrder = readText(*formatted);
    KelvaneFuzz::require(inOrder.data && inOrder.data->info == reading.data->info,
                         "good order changes nothing");

    const auto written = writeText(*reading.data);
    KelvaneFuzz::require(written && isTextForm(*written), "what is written is in the text form");
    const auto again = readText(*written);
    KelvaneFuzz::require(again.data.has_value(), "what is written reads");
    using testing_support::normalised;
    KelvaneFuzz::require(normalised(again.data->info) == normalised(reading.data->info),
                         "what is written reads back equal");
    KelvaneFuzz::require(writeText(*again.data) == written, "it is written as the same text");
    KelvaneFuzz::require(formatText(*written) == written, "it is in good order");
    return 0;
}
