// Any bytes as a recording: reading in pieces, in which no line is whole and the quick reader has none,
// equals reading whole, and what was read is written and read back equal.

#include "support.h"

using namespace KelvaneSDK;

namespace {

struct Reading {
    std::vector<KelvaneInput> batches;
    std::optional<RecordingFailure> failure;
};

Reading read(std::string_view text, std::size_t pieceSize) {
    RecordingReader reader;
    Reading reading;
    const auto drain = [&] {
        while (const auto* batch = reader.next()) reading.batches.push_back(*batch);
    };
    while (!text.empty()) {
        reader.append(text.substr(0, pieceSize));
        text.remove_prefix(std::min(pieceSize, text.size()));
        drain();
    }
    reader.finish();
    drain();
    reading.failure = reader.failure();
    return reading;
}

std::string describe(const std::optional<RecordingFailure>& failure) {
    if (!failure) return {};
    return std::to_string(failure->line) + ":" + std::to_string(failure->column) + ": " + failure->reason;
}

// The engine's own sequences have no key in recordings; as lists of sample records they have.
void useSampleRecords(std::vector<KelvaneInput>& batches) {
    for (auto& batch : batches) {
        for (auto& [name, value] : batch.updates) {
            if (const auto sequence = value.get<Sequence>()) value = Value(sequence->samples());
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    KelvaneFuzz::prepare();
    if (size == 0) return 0;
    const std::size_t pieceSize = data[0] % 16 + 1u;
    const auto text = KelvaneFuzz::textOf(data + 1, size - 1);
    const Reading whole = read(text, text.size() + 1);
    const Reading pieces = read(text, pieceSize);
    KelvaneFuzz::require(describe(whole.failure) == describe(pieces.failure),
                         "pieces fail as the whole fails");
    KelvaneFuzz::require(whole.batches == pieces.batches, "pieces give the batches of the whole");

    auto batches = whole.batches;
    useSampleRecords(batches);
    const std::string written = createJsonLines(batches);
    auto fromPieces = pieces.batches;
    useSampleRecords(fromPieces);
    KelvaneFuzz::require(createJsonLines(fromPieces) == written, "pieces give the bits of the whole");
    // Batches without updates leave no line.
    std::erase_if(batches, [](const auto& batch) { return batch.updates.empty(); });
    Reading again = read(written, written.size() + 1);
    KelvaneFuzz::require(written.empty() || !again.failure, "a written recording has no invalid line");
    useSampleRecords(again.batches);
    std::erase_if(again.batches, [](const auto& batch) { return batch.updates.empty(); });
    KelvaneFuzz::require(createJsonLines(again.batches) == written, "a written recording reads back equal");
    return 0;
}
