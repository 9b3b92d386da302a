#include "References.h"

#include <deque>
#include <functional>

#include "KelvaneSDK/Functions/ElementArithmetic.h"

namespace KelvaneBenchmarks {

namespace {

double number(const Payload& payload) {
    if (const auto* x = std::get_if<double>(&payload)) return *x;
    const auto* b = std::get_if<bool>(&payload);
    return b != nullptr && *b ? 1 : 0;
}

template <class Operator>
Payload joined(const Payload& a, const Payload& b, Operator apply) {
    if (const auto* x = std::get_if<double>(&a)) return apply(*x, number(b));
    if (const auto* v = std::get_if<Vector>(&a)) return apply(*v, std::get<Vector>(b));
    return apply(std::get<Orientation>(a), std::get<Orientation>(b));
}

// The second operand is the constant, or what the second slot holds.
template <class Operator>
class PushJoin final : public PushNode {
    void run(double timestamp) override {
        emit(joined(slots[0].value, slots.size() == 1 ? constant : slots[1].value, Operator()), timestamp);
    }
};

class PushLarger final : public PushNode {
    void run(double timestamp) override { emit(number(slots[0].value) > number(slots[1].value), timestamp); }
};

class PushSelect final : public PushNode {
    void run(double timestamp) override {
        emit(std::get<bool>(slots[0].value) ? slots[1].value : constant, timestamp);
    }
};

class PushGate final : public PushNode {
    void run(double timestamp) override {
        if (std::get<bool>(slots[0].value)) emit(slots[1].value, timestamp);
    }
};

class PushBuffer final : public PushNode {
    void run(double timestamp) override {
        held.push_back(slots[0].value);
        const auto length = static_cast<std::size_t>(std::get<std::int64_t>(constant));
        if (held.size() <= length) return;
        if (held.size() > length + 1) held.pop_front();
        emit(held.front(), timestamp);
    }
    std::deque<Payload> held;
};

class PushAverage final : public PushNode {
    void run(double timestamp) override { emit((total += number(slots[0].value)) / ++count, timestamp); }
    double total = 0, count = 0;
};

class PushOn final : public PushNode {
    void run(double timestamp) override { emit(slots[0].value, timestamp); }
};

template <class Node>
std::unique_ptr<PushNode> make() {
    return std::make_unique<Node>();
}

}  // namespace

class PushOutput final : public PushNode {
public:
    explicit PushOutput(PushGraph& owner) : graph(owner) {}

private:
    void run(double) override {
        if (graph.isCollecting) {
            graph.collected.emplace_back(&label, slots[0].value);
        } else {
            graph.digest += digestOf(slots[0].value);
        }
    }
    PushGraph& graph;
};

Payload payloadOf(const Value& value) {
    if (const auto x = value.get<double>()) return *x;
    if (const auto n = value.get<std::int64_t>()) return *n;
    if (const auto b = value.get<bool>()) return *b;
    if (const auto v = value.get<Vector>()) return *v;
    return value.as<Orientation>();
}

std::unique_ptr<PushNode> makePushNode(Operation operation) {
    constexpr std::array makers{make<PushJoin<std::plus<>>>,
                                make<PushJoin<std::multiplies<>>>,
                                make<PushLarger>,
                                make<PushSelect>,
                                make<PushGate>,
                                make<PushBuffer>,
                                make<PushAverage>,
                                make<PushOn>};
    return makers[static_cast<std::size_t>(operation)]();
}

PushGraph::PushGraph(const Shape& shape) {
    const auto add = [&](std::unique_ptr<PushNode> node) {
        nodes.push_back(std::move(node));
        return nodes.back().get();
    };
    for (const auto& stream : shape.streams) {
        auto* node = add(makePushNode(Operation::pass));
        node->slots.resize(1);
        node->label = stream.label;
        streams[stream.label] = node;
        streamList.push_back(node);
        values.emplace_back();
        for (const auto& value : stream.values) values.back().push_back(payloadOf(value));
    }
    std::vector<PushNode*> steps;
    for (const auto& step : shape.steps) {
        auto* node = add(makePushNode(step.operation));
        for (const auto& [kind, index] : step.operands) {
            if (kind == Operand::Kind::constant) node->constant = payloadOf(shape.constants[index]);
            if (kind == Operand::Kind::stream) streamList[index]->links.push_back({node, node->slots.size()});
            if (kind == Operand::Kind::step) steps[index]->links.push_back({node, node->slots.size()});
            if (kind == Operand::Kind::stream || kind == Operand::Kind::step) node->slots.emplace_back();
        }
        steps.push_back(node);
    }
    for (std::size_t i = 0; i < shape.outputs.size(); ++i) {
        auto* node = add(std::make_unique<PushOutput>(*this));
        node->slots.resize(1);
        node->label = outputLabel(i);
        steps[shape.outputs[i]]->links.push_back({node, 0});
    }
}

std::uint64_t PushGraph::run(std::size_t first, std::size_t count) {
    isCollecting = false;
    digest = 0;
    for (std::size_t n = first; n < first + count; ++n) {
        for (std::size_t s = 0; s < streamList.size(); ++s)
            streamList[s]->receive(0, values[s][n % values[s].size()], static_cast<double>(n));
    }
    return digest;
}

std::uint64_t PushGraph::runByLabel(std::size_t first, std::size_t count) {
    isCollecting = true;
    digest = 0;
    std::vector<std::pair<std::string, Payload>> batch;
    for (const auto* stream : streamList) batch.emplace_back(stream->label, Payload());
    for (std::size_t n = first; n < first + count; ++n) {
        collected.clear();
        for (std::size_t s = 0; s < batch.size(); ++s) batch[s].second = values[s][n % values[s].size()];
        for (const auto& [label, value] : batch) {
            const auto stream = streams.find(label);
            if (stream != streams.end()) stream->second->receive(0, value, static_cast<double>(n));
        }
        for (const auto& [label, value] : collected) digest += digestOf(value);
    }
    return digest;
}

Tape::Tape(const Shape& shape) {
    const auto streams = shape.streams.size(), constants = streams + shape.constants.size();
    registers.resize(constants + shape.steps.size());
    for (const auto& stream : shape.streams) {
        values.emplace_back();
        for (const auto& value : stream.values) values.back().push_back(value.as<double>());
    }
    for (std::size_t i = 0; i < shape.constants.size(); ++i)
        registers[streams + i] = shape.constants[i].as<double>();
    for (const auto& step : shape.steps) {
        Instruction instruction{
            step.operation, {}, static_cast<std::uint32_t>(constants + instructions.size())};
        for (std::size_t i = 0; i < 3; ++i) {
            const auto [kind, index] = step.operands[i];
            const auto begin = kind == Operand::Kind::constant ? streams
                               : kind == Operand::Kind::step   ? constants
                                                               : 0;
            instruction.from[i] = static_cast<std::uint32_t>(begin + index);
        }
        instructions.push_back(instruction);
    }
    for (const auto output : shape.outputs) outputs.push_back(static_cast<std::uint32_t>(constants + output));
}

void Tape::step(std::size_t batch) {
    double* const at = registers.data();
    for (std::size_t s = 0; s < values.size(); ++s) at[s] = values[s][batch % values[s].size()];
    for (const auto& [operation, from, to] : instructions) {
        switch (operation) {
            case Operation::add:
                at[to] = at[from[0]] + at[from[1]];
                break;
            case Operation::multiply:
                at[to] = at[from[0]] * at[from[1]];
                break;
            case Operation::larger:
                at[to] = at[from[0]] > at[from[1]] ? 1 : 0;
                break;
            case Operation::select:
                at[to] = at[from[0]] != 0 ? at[from[1]] : at[from[2]];
                break;
            default:
                fail("the tape has no such operation");
        }
    }
}

std::uint64_t Tape::run(std::size_t first, std::size_t count) {
    std::uint64_t digest = 0;
    for (std::size_t n = first; n < first + count; ++n) {
        step(n);
        for (const auto output : outputs) digest += digestOf(registers[output]);
    }
    return digest;
}

std::vector<double> Tape::outputsOf(std::size_t batch) {
    step(batch);
    std::vector<double> result;
    for (const auto output : outputs) result.push_back(registers[output]);
    return result;
}

}  // namespace KelvaneBenchmarks
