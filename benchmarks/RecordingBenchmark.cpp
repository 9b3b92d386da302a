#include <benchmark/benchmark.h>

#include <string>

#include "KelvaneSDK/KelvaneSDK.h"

namespace {

using namespace KelvaneSDK;

std::vector<KelvaneOutput> batches(std::size_t count) {
    std::vector<KelvaneOutput> all;
    for (std::size_t i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) * 0.01;
        all.push_back(
            {t, {{"acceleration", Vector{t * 0.37, 9.81 - t, 1 / (t + 1)}}, {"temperature", 20 + t / 3}}});
    }
    return all;
}

std::string written(const std::vector<KelvaneOutput>& all) {
    std::string text;
    for (const auto& batch : all) appendJsonLines(text, batch);
    return text;
}

void ReadRecording(benchmark::State& state) {
    const std::string text = written(batches(10000));
    for (auto _ : state) {
        RecordingReader reader(RecordingReader::Ending::lineBreakAllowed);
        reader.append(text);
        reader.finish();
        while (const auto* batch = reader.next()) benchmark::DoNotOptimize(batch);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void WriteRecording(benchmark::State& state) {
    const auto all = batches(10000);
    std::int64_t bytes = 0;
    for (auto _ : state) bytes += static_cast<std::int64_t>(written(all).size());
    state.SetBytesProcessed(bytes);
}

BENCHMARK(ReadRecording)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteRecording)->Unit(benchmark::kMillisecond);

}  // namespace
