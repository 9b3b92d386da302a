#include <benchmark/benchmark.h>

#include "Diagrams.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace {

using KelvaneSDK::Kelvane;
using KelvaneSDK::KelvaneInput;

void evaluate(benchmark::State& state, const std::string& document, std::size_t functions) {
    Kelvane engine;
    engine.read(document, true);
    KelvaneInput input{0, {{"in", 0.0}}};
    for (auto _ : state) {
        input.timestamp += 1;
        input.updates.begin()->second = KelvaneSDK::Value(input.timestamp);
        benchmark::DoNotOptimize(engine.evaluate(input));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(functions));
}

void Chain(benchmark::State& state) {
    const auto length = static_cast<std::size_t>(state.range(0));
    evaluate(state, KelvaneBenchmarks::chain(length), length);
}

void Fan(benchmark::State& state) {
    const auto width = static_cast<std::size_t>(state.range(0));
    evaluate(state, KelvaneBenchmarks::fan(width), width);
}

// The first batch of a chain whose functions the document lists backwards.
void SettleReversedChain(benchmark::State& state) {
    const std::string document = KelvaneBenchmarks::chain(static_cast<std::size_t>(state.range(0)), true);
    for (auto _ : state) {
        state.PauseTiming();
        Kelvane engine;
        engine.read(document, true);
        state.ResumeTiming();
        benchmark::DoNotOptimize(engine.evaluate({1, {{"in", 1.0}}}));
    }
}

BENCHMARK(Chain)->Arg(1)->Arg(100)->Arg(10000);
BENCHMARK(Fan)->Arg(100);
BENCHMARK(SettleReversedChain)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
