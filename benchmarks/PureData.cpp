#include <cmath>
#include <sstream>

#include "Benchmark.h"
#include "Processes.h"
#include "References.h"

namespace KelvaneBenchmarks {

namespace {

constexpr std::size_t messages = 100000;

// A patch that counts messages into the shape's streams, prints the milliseconds that this took and then the
// last value of every output. Objects do not wait for their operands: the second one stands in a cold inlet,
// set by a message that is sent before the one to the hot inlet.
class Patch {
public:
    explicit Patch(const Shape& shape, bool isWithSteps) {
        const auto begin = object("loadbang"), parts = object("t b b b b b"), clock = object("realtime");
        const auto count = object("f " + std::to_string(messages)), until = object("until");
        const auto quit = add("#X msg 10 10 \\; pd quit"), time = object("print ms");
        connect(begin, 0, parts, 0);
        connect(parts, 4, clock, 0);
        connect(parts, 3, count, 0);
        connect(count, 0, until, 0);
        connect(parts, 2, clock, 1);
        connect(clock, 0, time, 0);
        connect(parts, 0, quit, 0);
        const auto number = object("f"), next = object("+ 1"), order = object("t f f");
        connect(until, 0, number, 0);
        connect(number, 0, next, 0);
        connect(next, 0, number, 1);
        connect(number, 0, order, 0);
        std::vector<std::size_t> streams;
        for (std::size_t s = 0; s < shape.streams.size(); ++s) {
            const auto factor =
                shape.streams[s].values[1].as<double>() * 1000;  // batch n brings n * factor % 1000 / 1000
            const auto scaled = object("* " + text(factor)), wrapped = object("mod 1000"),
                       value = object("/ 1000");
            connect(order, s, scaled, 0);
            connect(scaled, 0, wrapped, 0);
            connect(wrapped, 0, value, 0);
            streams.push_back(value);
            if (!isWithSteps) connect(value, 0, object("f"), 1);
        }
        if (isWithSteps) addSteps(shape, streams, parts);
    }

    std::string text() const { return "#N canvas 0 0 400 300 12;\n" + objects + connections; }

private:
    static std::string text(double x) {
        std::ostringstream stream;
        stream << x;
        return stream.str();
    }
    std::size_t add(const std::string& record) {
        objects += record + ";\n";
        return size++;
    }
    std::size_t object(const std::string& words) { return add("#X obj 10 10 " + words); }
    void connect(std::size_t from, std::size_t outlet, std::size_t to, std::size_t inlet) {
        for (const auto part : {from, outlet, to, inlet}) ending += ' ' + std::to_string(part);
        connections += "#X connect" + std::exchange(ending, {}) + ";\n";
    }

    void addSteps(const Shape& shape, const std::vector<std::size_t>& streams, std::size_t parts) {
        std::vector<std::size_t> steps;
        for (const auto& [operation, operands] : shape.steps) {
            const auto [kind, index] = operands[1];
            const char* name = operation == Operation::add ? "+" : operation == Operation::larger ? ">" : "*";
            steps.push_back(object(kind == Operand::Kind::constant
                                       ? name + (' ' + text(shape.constants[index].as<double>()))
                                       : name));
        }
        // A value goes to cold inlets first, and to steps in reverse order: a second operand is a later
        // step's result.
        const auto feed = [&](Operand::Kind kind, std::size_t index, std::size_t from) {
            for (const std::size_t inlet : {1u, 0u}) {
                for (auto i = steps.size(); i-- > 0;) {
                    const auto& operand = shape.steps[i].operands[inlet];
                    if (operand.kind == kind && operand.index == index) connect(from, 0, steps[i], inlet);
                }
            }
        };
        for (auto s = streams.size(); s-- > 0;) feed(Operand::Kind::stream, s, streams[s]);
        for (std::size_t i = 0; i < steps.size(); ++i) feed(Operand::Kind::step, i, steps[i]);
        for (std::size_t i = 0; i < shape.outputs.size(); ++i) {
            const auto last = object("f"), print = object("print " + outputLabel(i));
            connect(steps[shape.outputs[i]], 0, last, 1);
            connect(parts, 1, last, 0);
            connect(last, 0, print, 0);
        }
    }

    std::size_t size = 0;
    std::string objects, connections, ending;
};

struct Printed {
    double seconds = 0;
    std::map<std::string, double> values;
};

Printed run(const TemporaryFile& patch) {
    Printed printed;
    std::istringstream lines(
        runCommand("timeout 60 pd -nogui -batch -noprefs '" + patch.path + "' 2>&1").output);
    for (std::string line; std::getline(lines, line);) {
        const auto colon = line.find(": ");
        if (colon != std::string::npos)
            printed.values[line.substr(0, colon)] = std::strtod(&line[colon + 2], nullptr);
    }
    if (printed.values.count("ms") != 0) printed.seconds = printed.values["ms"] / 1000;
    return printed;
}

}  // namespace

Contestant pureData(const Shape& shape) {
    if (runCommand("command -v pd").status != 0) return {};
    const auto name = std::to_string(shape.steps.size()) + std::to_string(shape.outputs.size());
    const auto patch = std::make_shared<TemporaryFile>(name + ".pd", Patch(shape, true).text());
    const auto empty = std::make_shared<TemporaryFile>(name + "-empty.pd", Patch(shape, false).text());
    const double nodes = static_cast<double>(messages * shape.steps.size());
    const auto expected = Tape(shape).outputsOf(messages - 1);
    return [=](Trial& trial) {
        const auto driver = run(*empty), all = run(*patch);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const auto value = all.values.find(outputLabel(i));
            // Its numbers are 32-bit floats, printed with six digits.
            if (value == all.values.end() ||
                !(std::abs(value->second - expected[i]) <= 1e-4 * (1 + std::abs(expected[i]))))
                fail("Pure Data: " + outputLabel(i) + " is not " + std::to_string(expected[i]));
        }
        trial.figure("Pure Data", (all.seconds - driver.seconds) * 1e9 / nodes);
    };
}

}  // namespace KelvaneBenchmarks
