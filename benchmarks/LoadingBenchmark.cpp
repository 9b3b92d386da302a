#include <malloc.h>
#include <simdjson.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "Benchmark.h"
#include "Engine.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "Processes.h"

namespace KelvaneBenchmarks {

namespace {

constexpr unsigned secondsAllowed = 20;

/// The reference loader: the same document as a DOM, and the push graph of its nodes with their ids in a hash
/// map.
class LoadedGraph {
public:
    explicit LoadedGraph(const std::string& text) {
        const simdjson::dom::object document = parser.parse(text);
        for (const simdjson::dom::object node : document["nodes"].get_array())
            add(node["id"].get_int64(), node["classString"], node["typeString"]);
        for (const simdjson::dom::object property : document["properties"].get_array()) {
            PushNode& node = *byId.at(property["id"].get_int64());
            const std::string_view name = property["propertyString"], value = property["valueString"];
            if (name == "Description") node.label = value;
            if (name == "OutputValue") node.constant = KelvaneSDK::parseDouble(value).value();
        }
        for (const simdjson::dom::object connection : document["connections"].get_array()) {
            byId.at(connection["outputNodeId"].get_int64())
                ->links.push_back({byId.at(connection["inputNodeId"].get_int64()),
                                   static_cast<std::size_t>(connection["inputIndex"].get_int64())});
            ++links;
        }
    }
    /// Nodes and links.
    std::size_t size() const { return nodes.size() + links; }

private:
    void add(std::int64_t id, std::string_view classString, std::string_view typeString) {
        const bool isProduct = typeString == "Multiply";
        nodes.push_back(makePushNode(isProduct ? Operation::multiply : Operation::add));
        nodes.back()->slots.resize(classString == "Function" ? 2 : 1);
        byId.emplace(id, nodes.back().get());
    }

    simdjson::dom::parser parser;
    std::vector<std::unique_ptr<PushNode>> nodes;
    std::unordered_map<std::int64_t, PushNode*> byId;
    std::size_t links = 0;
};

double heapBytes() {
    const auto heap = ::mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

enum class Order { straight, reversed, shuffled };

std::string chainDocument(const Shape& shape, Order order) {
    std::vector<std::uint32_t> steps(shape.steps.size());
    std::iota(steps.begin(), steps.end(), 0);
    if (order == Order::reversed) std::reverse(steps.begin(), steps.end());
    if (order == Order::shuffled) std::shuffle(steps.begin(), steps.end(), std::mt19937(42));
    std::string text = documentOf(shape, steps);
    text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    return text;
}

// Loads a chain and evaluates its first batch; in a process of its own, so that every load meets a fresh
// heap. Once it did not end in time, it is not tried again.
Contestant ours(std::size_t nodes, Order order, const std::string& name) {
    return [=, hasEnded = true](Trial& trial) mutable {
        std::vector<double> figures;
        if (hasEnded) {
            figures = inChild(secondsAllowed, [&](const Report& report) {
                const Shape shape = chain(nodes);
                const std::string document = chainDocument(shape, order);
                const auto expected = Tape(shape).run(0, 1);
                const double before = heapBytes();
                std::optional<Engine> engine;
                report(secondsOf([&] { engine.emplace(shape, document); }));
                report(secondsOf([&] {
                    if (engine->run(0, 1) != expected) fail("a chain gives another result");
                }));
                report(heapBytes() - before);
            });
        }
        hasEnded = figures.size() == 3;
        figures.resize(3, noEnd);
        trial.figure("load" + name, figures[0] * 1e6 / static_cast<double>(nodes));
        trial.figure("first batch" + name, figures[1] * 1e3);
        trial.figure("memory" + name, figures[2] / static_cast<double>(nodes));
    };
}

Contestant reference(std::size_t nodes) {
    return [=](Trial& trial) {
        const auto figures = inChild(secondsAllowed, [&](const Report& report) {
            const Shape shape = chain(nodes);
            const std::string document = chainDocument(shape, Order::straight);
            std::optional<LoadedGraph> graph;
            report(secondsOf([&] { graph.emplace(document); }));
            // The chain's own, the stream, the output and its link; each step is fed twice.
            if (graph->size() != 3 * nodes + shape.constants.size() + 3)
                fail("the reference loads another diagram");
        });
        trial.figure("DOM and push graph", figures.at(0) * 1e6 / static_cast<double>(nodes));
    };
}

Subject loadSubject(std::size_t nodes, const std::string& count) {
    Subject subject{{{"load of " + count + " nodes", "us/node", "load", "DOM and push graph", 1.5, 1}}, [=] {
                        return std::vector{ours(nodes, Order::straight, ""), reference(nodes)};
                    }};
    if (nodes == 100000) subject.rows.push_back({"memory per scalar node", "bytes", "memory", "", 500, 300});
    return subject;
}

}  // namespace

std::vector<Subject> loadingSubjects() {
    constexpr std::size_t million = 1'000'000;
    Subject largest = loadSubject(million, "1,000,000");
    largest.rows.push_back(
        {"chain of 1,000,000, reversed: first batch", "ms", "first batch, reversed", "first batch", 3, 2});
    largest.rows.push_back(
        {"chain of 1,000,000, shuffled: first batch", "ms", "first batch, shuffled", "first batch", 3, 2});
    largest.prepare = [] {
        return std::vector{ours(million, Order::straight, ""), ours(million, Order::reversed, ", reversed"),
                           ours(million, Order::shuffled, ", shuffled"), reference(million)};
    };
    return {loadSubject(10000, "10,000"), loadSubject(100000, "100,000"), largest};
}

}  // namespace KelvaneBenchmarks
