#include <algorithm>
#include <memory>

#include "Benchmark.h"
#include "Engine.h"

namespace KelvaneBenchmarks {

namespace {

// Runs batches from a number on and returns a digest of what came out.
using Run = std::function<std::uint64_t(std::size_t first, std::size_t count)>;

template <class Runner>
Run runOf(const Shape& shape, std::uint64_t (Runner::*run)(std::size_t, std::size_t) = &Runner::run) {
    return [runner = std::make_shared<Runner>(shape), run](std::size_t first, std::size_t count) {
        return (*runner.*run)(first, count);
    };
}

// Each round runs the next ten slices of batches and takes the fastest, so that a moment in which the machine
// was busy elsewhere does not count. The figure is a batch's seconds times `scale`.
Contestant contestant(const std::string& name, Run run, std::size_t batches, double scale) {
    run(0, batches);
    return [=, next = batches](Trial& trial) mutable {
        double least = noEnd;
        std::uint64_t digest = 0;
        for (int slice = 0; slice < 10; ++slice) {
            least = std::min(least, secondsOf([&] { digest += run(next, batches); }));
            next += batches;
        }
        trial.figure(name, least / static_cast<double>(batches) * scale);
        trial.result("outputs", name, digest);
    };
}

// What every shape is compared with; some have further contestants.
std::vector<Contestant> enginesOf(const Shape& shape, double nanosecondsPerNode) {
    return {contestant("kelvane", runOf<Engine>(shape), 1000, nanosecondsPerNode),
            contestant("push graph", runOf<PushGraph>(shape), 1000, nanosecondsPerNode)};
}

Subject scalarSubject(const std::string& work, Shape (*makeShape)(), double must, double aim) {
    const auto unit = "ns/node";
    return {{{work, unit, "kelvane", "push graph", must, aim},
             {work + ", tape", unit, "kelvane", "tape"},
             {work + ", Pure Data", unit, "kelvane", "Pure Data", 1, 0.5}},
            [=] {
                const Shape shape = makeShape();
                const double scale = 1e9 / static_cast<double>(shape.steps.size());
                auto all = enginesOf(shape, scale);
                all.push_back(contestant("tape", runOf<Tape>(shape), 1000, scale));
                if (auto patch = pureData(shape)) all.push_back(std::move(patch));
                return all;
            }};
}

Subject extendedSubject(const std::string& work, Shape (*makeShape)()) {
    return {{{work, "ns/node", "kelvane", "push graph", 1, 0.4}},
            [=] { return enginesOf(makeShape(), 1e7); }};
}

Subject oneNodeSubject() {
    const std::string work = "one batch through one node, ";
    return {{{work + "by label", "ns", "by label", "push graph", 1, 0.6},
             {work + "by handles", "ns", "by handles", "push graph", 0.6, 0.3}},
            [] {
                const Shape shape = chain(1);
                return std::vector{
                    contestant("by label", runOf(shape, &Engine::runByLabel), 10000, 1e9),
                    contestant("by handles", runOf(shape, &Engine::runByHandles), 10000, 1e9),
                    contestant("push graph", runOf(shape, &PushGraph::runByLabel), 10000, 1e9)};
            }};
}

// All streams bring one value, so that all outputs are the same.
Subject sparseSubject() {
    return {{{"1 of 1,000 streams updated, 10,000 nodes", "us", "one", "all", 0.01}}, [] {
                constexpr std::size_t streams = 1000;
                const Shape all = sideBySide(streams, 10);
                Shape one = all;
                one.streams = {all.streams[streams / 2]};
                const auto runOne = [engine = std::make_shared<Engine>(one, documentOf(all))](
                                        auto... batches) { return engine->run(batches...) * streams; };
                return std::vector{contestant("one", runOne, 10, 1e6),
                                   contestant("all", runOf<Engine>(all), 10, 1e6)};
            }};
}

// What passing a list on may cost: what the batch costs with one slot, and what 99 more slots cost for a
// short list.
Subject listSubject() {
    const auto reference = "1 slot, 99 of a short list";
    return {{{"list of 100,000 doubles to 100 slots", "us", "100 slots", reference, 1.1}}, [=] {
                const auto slots = [](const char* name, std::size_t elements, std::size_t count) {
                    const auto run = [=, run = runOf<Engine>(lists(elements, count))](auto... batches) {
                        return run(batches...) / (elements * count);
                    };
                    return contestant(name, run, 200, 1e6);
                };
                return std::vector{slots("100 slots", 100000, 100), slots("1 slot", 100000, 1),
                                   slots("100 slots, short", 1, 100), slots("1 slot, short", 1, 1),
                                   Contestant([=](Trial& trial) {
                                       auto& figures = trial.figures;
                                       trial.figure(reference, figures["1 slot"] +
                                                                   figures["100 slots, short"] -
                                                                   figures["1 slot, short"]);
                                   })};
            }};
}

const std::map<std::string, Shape (*)()> scalarShapes{
    {"chain", [] { return chain(100); }},
    {"wide", [] { return wide(100); }},
    {"mixed", mixed},
    {"buffers", [] { return chainOf(Operation::buffer, 100); }}};

}  // namespace

std::vector<Subject> evaluationSubjects() {
    return {scalarSubject("chain of 100 scalar nodes", scalarShapes.at("chain"), 0.45, 0.25),
            scalarSubject("one input to 100 nodes and outputs", scalarShapes.at("wide"), 0.45, 0.2),
            scalarSubject("50 mixed nodes in 5 layers", scalarShapes.at("mixed"), 0.4, 0.18),
            oneNodeSubject(),
            sparseSubject(),
            extendedSubject("100 rotations and sums of vectors", rotations),
            extendedSubject("chain of 100 gates", [] { return chainOf(Operation::gate, 100); }),
            extendedSubject("chain of 100 buffers", [] { return chainOf(Operation::buffer, 100); }),
            extendedSubject("chain of 100 averagers", [] { return chainOf(Operation::average, 100); }),
            listSubject()};
}

void runEvaluation(const std::string& work, std::size_t batches) {
    if (work == "label") {
        Engine(chain(1)).runByLabel(0, batches);
    } else if (work == "handles") {
        Engine(chain(1)).runByHandles(0, batches);
    } else {
        Engine(scalarShapes.at(work)()).run(0, batches);
    }
}

}  // namespace KelvaneBenchmarks
