#pragma once

#include "Benchmark.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "References.h"

namespace KelvaneBenchmarks {

/// An engine with a diagram loaded, driven as an application drives it: the one place that knows how.
class Engine {
public:
    Engine(const Shape& shape, const std::string& document) {
        std::string diagnostic;
        const auto previous =
            KelvaneSDK::setDiagnosticSink([&](std::string_view line) { diagnostic = line; });
        const bool isRead = engine.read(document, true);
        KelvaneSDK::setDiagnosticSink(previous);
        if (!isRead || !diagnostic.empty()) fail("the engine does not take a diagram: " + diagnostic);
        for (const auto& stream : shape.streams) {
            streams.push_back(stream);
            input.updates.emplace(stream.label, stream.values[0]);
        }
        for (const auto& stream : streams) places.push_back(&input.updates.find(stream.label)->second);
    }
    explicit Engine(const Shape& shape) : Engine(shape, documentOf(shape)) {}
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    /// Runs batches from number `first` on and returns the digest of all outputs. The batch is kept and its
    /// values are set in place.
    std::uint64_t run(std::size_t first, std::size_t count) {
        std::uint64_t digest = 0;
        for (std::size_t n = first; n < first + count; ++n) {
            for (std::size_t s = 0; s < streams.size(); ++s) *places[s] = streams[s].at(n);
            evaluate(n);
            for (const auto& [label, value] : output.outputs) digest += digestOf(value);
        }
        return digest;
    }

    /// The same for one stream and one output, both found by their labels in every batch.
    std::uint64_t runByLabel(std::size_t first, std::size_t count) {
        const std::string stream = streams[0].label, result = outputLabel(0);
        std::uint64_t digest = 0;
        for (std::size_t n = first; n < first + count; ++n) {
            input.updates.find(stream)->second = streams[0].at(n);
            evaluate(n);
            digest += digestOf(output.outputs.find(result)->second);
        }
        return digest;
    }

    /// The same by handles.
    std::uint64_t runByHandles(std::size_t first, std::size_t count) {
        const auto stream = *engine.inputStream(streams[0].label);
        const auto result = *engine.variableOutput(outputLabel(0));
        std::uint64_t digest = 0;
        for (std::size_t n = first; n < first + count; ++n) {
            engine.set(stream, streams[0].at(n));
            engine.evaluateSet(static_cast<double>(n));
            digest += digestOf(*engine.result(result));
        }
        return digest;
    }

private:
    void evaluate(std::size_t batch) {
        input.timestamp = static_cast<double>(batch);
        engine.evaluateInto(input, output);
    }

    KelvaneSDK::Kelvane engine;
    KelvaneSDK::KelvaneInput input;
    KelvaneSDK::KelvaneOutput output;
    std::vector<Stream> streams;
    std::vector<Value*> places;
};

}  // namespace KelvaneBenchmarks
