#include "Shapes.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "KelvaneSDK/FileProcessing/NumberText.h"

namespace KelvaneBenchmarks {

using KelvaneSDK::doubleText;
using KelvaneSDK::Orientation;
using KelvaneSDK::ValueType;
using KelvaneSDK::Vector;

namespace {

constexpr std::size_t batches = 1000;

Operand stream(std::size_t index) { return {Operand::Kind::stream, static_cast<std::uint32_t>(index)}; }

template <class ValueOfBatch>
Stream streamOf(const std::string& label, ValueOfBatch value) {
    Stream result{label, {}};
    for (std::size_t n = 0; n < batches; ++n) result.values.emplace_back(value(static_cast<double>(n)));
    return result;
}
Stream ramp(const std::string& label, double factor = 1) {
    return streamOf(label, [=](double n) { return std::fmod(n * factor, batches) / batches; });
}

Operand scalarStep(Shape& shape, Operand from, std::size_t i, double base) {
    const double steps = static_cast<double>(i % 100);
    return i % 2 == 0 ? shape.append(Operation::add, from, shape.constant(base + steps * 0.01))
                      : shape.append(Operation::multiply, from, shape.constant(0.5));
}

// A constant's text as a document holds it.
std::string textOf(const Value& value) {
    if (const auto v = value.get<Vector>())
        return doubleText(v->x) + "," + doubleText(v->y) + "," + doubleText(v->z);
    if (const auto q = value.get<Orientation>())
        return doubleText(q->x) + "," + doubleText(q->y) + "," + doubleText(q->z) + "," + doubleText(q->w);
    return KelvaneSDK::getValueString(value);
}

const char* functionName(Operation operation) {
    constexpr std::array names{"Add",  "Multiply", "Larger",   "Switch",
                               "Gate", "Buffer",   "Averager", "Pass-through"};
    return names[static_cast<std::size_t>(operation)];
}

// The type of each step's output.
std::vector<ValueType> stepTypes(const Shape& shape) {
    std::vector<ValueType> types;
    for (const auto& [operation, operands] : shape.steps) {
        const bool firstDecides = operation < Operation::larger || operation == Operation::pass;
        const auto [kind, index] = operands[firstDecides ? 0 : 1];
        types.push_back(operation == Operation::larger  ? ValueType::Boolean
                        : kind == Operand::Kind::stream ? shape.streams[index].values[0].type()
                                                        : types[index]);
    }
    return types;
}

class DocumentWriter {
public:
    std::size_t node(std::string_view classString, std::string_view typeString) {
        const auto id = std::to_string(count);
        add(nodes,
            {R"({"id":)", id, R"(,"classString":")", classString, R"(","typeString":")", typeString, "\"}"});
        add(positions, {R"({"id":)", id, R"(,"x":)", id, R"(,"y":0})"});
        return count++;
    }
    void property(std::size_t id, std::string_view name, std::string_view value) {
        add(properties, {R"({"id":)", std::to_string(id), R"(,"propertyString":")", name,
                         R"(","valueString":")", value, "\"}"});
    }
    void connect(std::size_t from, std::size_t to, std::size_t slot) {
        add(connections, {R"({"outputNodeId":)", std::to_string(from), R"(,"inputNodeId":)",
                          std::to_string(to), R"(,"inputIndex":)", std::to_string(slot), "}"});
    }
    std::string text() const {
        return R"({"nodes":[)" + nodes + R"(],"properties":[)" + properties + R"(],"connections":[)" +
               connections + R"(],"positions":[)" + positions + "]}";
    }

private:
    static void add(std::string& list, std::initializer_list<std::string_view> parts) {
        if (!list.empty()) list += ',';
        for (const auto part : parts) list += part;
    }

    std::size_t count = 0;
    std::string nodes, properties, connections, positions;
};

}  // namespace

Operand Shape::constant(const Value& value) {
    auto place = std::find(constants.begin(), constants.end(), value);
    if (place == constants.end()) place = constants.insert(place, value);
    return {Operand::Kind::constant, static_cast<std::uint32_t>(place - constants.begin())};
}

Operand Shape::append(Operation operation, Operand first, Operand second, Operand third) {
    steps.push_back({operation, {first, second, third}});
    return {Operand::Kind::step, static_cast<std::uint32_t>(steps.size() - 1)};
}

Shape chain(std::size_t length) { return sideBySide(1, length); }

Shape sideBySide(std::size_t chains, std::size_t length) {
    Shape shape;
    for (std::size_t c = 0; c < chains; ++c) {
        shape.streams.push_back(ramp("input" + std::to_string(c)));
        Operand last = stream(c);
        for (std::size_t i = 0; i < length; ++i) last = scalarStep(shape, last, i, 1.25);
        shape.output(last);
    }
    return shape;
}

Shape wide(std::size_t width) {
    Shape shape{{ramp("input")}, {}, {}, {}};
    for (std::size_t i = 0; i < width; ++i) shape.output(scalarStep(shape, stream(0), i, 0.25));
    return shape;
}

Shape mixed() {
    constexpr std::size_t width = 10;
    Shape shape{{ramp("input a"), ramp("input b", 7)}, {}, {}, {}};
    std::array<std::array<Operand, width>, 5> layer;
    const auto joined = [&](std::size_t i, Operand a, Operand b) {
        return shape.append(i % 2 == 0 ? Operation::add : Operation::multiply, a, b);
    };
    for (std::size_t i = 0; i < width; ++i)
        layer[0][i] = scalarStep(shape, stream(i < width / 2 ? 0 : 1), i, 1);
    for (std::size_t i = 0; i < width; ++i)
        layer[1][i] = joined(i, layer[0][i], i + 1 < width ? layer[0][i + 1] : stream(1));
    for (std::size_t i = 0; i < width; ++i)
        layer[2][i] =
            shape.append(Operation::larger, layer[1][i], i + 3 < width ? layer[1][i + 3] : layer[0][i]);
    for (std::size_t i = 0; i < width; ++i)
        layer[3][i] = shape.append(Operation::select, layer[2][i], layer[1][i], shape.constant(0.0));
    for (std::size_t i = 0; i < width; ++i)
        layer[4][i] = joined(i, layer[3][i], i + 1 < width ? layer[3][i + 1] : layer[1][i]);
    for (const auto last : layer[4]) shape.output(last);
    return shape;
}

Shape rotations() {
    Shape shape;
    shape.streams.push_back(streamOf("orientation", [](double n) {
        return Orientation{std::sin(n), 0, 0, std::cos(n)};
    }));
    shape.streams.push_back(streamOf("position", [](double n) { return Vector{n, -n, 1}; }));
    const auto turn = shape.constant(Orientation{0.48, 0, 0.6, 0.64});
    const auto drift = shape.constant(Orientation{0.001, 0.002, -0.001, 0});
    const auto scale = shape.constant(Vector{0.5, 0.75, 0.25});
    const auto shift = shape.constant(Vector{0.25, -1.5, 2});
    Operand rotated = stream(0), moved = stream(1);
    for (int i = 0; i < 25; ++i) {
        rotated = shape.append(Operation::multiply, rotated, turn);
        rotated = shape.append(Operation::add, rotated, drift);
        moved = shape.append(Operation::multiply, moved, scale);
        moved = shape.append(Operation::add, moved, shift);
    }
    shape.output(rotated);
    shape.output(moved);
    return shape;
}

Shape chainOf(Operation operation, std::size_t length) {
    Shape shape;
    // The gates' stream comes first: the push graph passes a value on as soon as it arrives.
    if (operation == Operation::gate)
        shape.streams.push_back(streamOf("open", [](double n) { return std::fmod(n, 16) != 0; }));
    const Operand other = operation == Operation::gate
                              ? stream(0)
                              : shape.constant(operation == Operation::buffer ? Value(3) : Value(true));
    Operand last = stream(shape.streams.size());
    shape.streams.push_back(ramp("value"));
    for (std::size_t i = 0; i < length; ++i) last = shape.append(operation, other, last);
    shape.output(last);
    return shape;
}

Shape lists(std::size_t elements, std::size_t width) {
    const std::vector<double> list(elements, 1.5);
    Shape shape{{{"list", {KelvaneSDK::List<double>(list)}}}, {}, {}, {}};
    for (std::size_t i = 0; i < width; ++i) shape.output(shape.append(Operation::pass, stream(0)));
    return shape;
}

std::string documentOf(const Shape& shape, std::span<const std::uint32_t> order) {
    DocumentWriter document;
    std::vector<std::size_t> streams, constants, steps(shape.steps.size());
    for (const auto& each : shape.streams) {
        streams.push_back(document.node("Input stream", valueTypeName(each.values[0].type())));
        document.property(streams.back(), "Description", each.label);
        document.property(streams.back(), "Forwarding", "false");
    }
    for (const auto& each : shape.constants) {
        constants.push_back(document.node("Constant", valueTypeName(each.type())));
        document.property(constants.back(), "OutputValue", textOf(each));
    }
    std::vector<std::uint32_t> own;
    if (order.empty()) {
        own.resize(steps.size());
        std::iota(own.begin(), own.end(), 0);
        order = own;
    }
    for (const auto i : order) steps[i] = document.node("Function", functionName(shape.steps[i].operation));
    for (std::size_t i = 0; i < steps.size(); ++i) {
        for (std::size_t slot = 0; slot < 3; ++slot) {
            const auto [kind, index] = shape.steps[i].operands[slot];
            if (kind == Operand::Kind::none) continue;
            const auto& list = kind == Operand::Kind::stream ? streams
                               : kind == Operand::Kind::step ? steps
                                                             : constants;
            document.connect(list[index], steps[i], slot);
        }
    }
    const auto types = stepTypes(shape);
    for (std::size_t i = 0; i < shape.outputs.size(); ++i) {
        const auto output = document.node("Variable output", valueTypeName(types[shape.outputs[i]]));
        document.property(output, "Description", outputLabel(i));
        document.connect(steps[shape.outputs[i]], output, 0);
    }
    return document.text();
}

}  // namespace KelvaneBenchmarks
