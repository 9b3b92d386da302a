#include <benchmark/benchmark.h>

#include "Diagrams.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace {

void Load(benchmark::State& state) {
    const auto nodes = static_cast<std::size_t>(state.range(0));
    const std::string document = KelvaneBenchmarks::chain(nodes);
    for (auto _ : state) {
        KelvaneSDK::Kelvane engine;
        benchmark::DoNotOptimize(engine.read(document, true));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nodes));
}

BENCHMARK(Load)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
