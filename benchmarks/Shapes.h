#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "KelvaneSDK/Value.h"

namespace KelvaneBenchmarks {

using KelvaneSDK::Value;

enum class Operation : std::uint8_t { add, multiply, larger, select, gate, buffer, average, pass };

/// What feeds a slot: a stream, an earlier step or a constant, by its index.
struct Operand {
    enum class Kind : std::uint8_t { none, stream, step, constant };
    Kind kind = Kind::none;
    std::uint32_t index = 0;
};

/// A function node, its operands in the order of the function's inputs.
struct Step {
    Operation operation;
    std::array<Operand, 3> operands;
};

struct Stream {
    std::string label;
    std::vector<Value> values;  ///< batch n brings values[n % size]

    const Value& at(std::size_t batch) const { return values[batch % values.size()]; }
};

/// A diagram as the engine and the references build it.
struct Shape {
    std::vector<Stream> streams;
    std::vector<Value> constants;
    std::vector<Step> steps;
    std::vector<std::uint32_t> outputs;  ///< the steps that have a variable output each

    Operand constant(const Value& value);
    /// Appends a step and returns it as the next one's operand.
    Operand append(Operation operation, Operand first, Operand second = {}, Operand third = {});
    void output(Operand step) { outputs.push_back(step.index); }
};

inline std::string outputLabel(std::size_t index) { return "output" + std::to_string(index); }

/// Additions and multiplications by constants in turn, from one stream to one output.
Shape chain(std::size_t length);
/// One stream to `width` such steps, each with an output of its own.
Shape wide(std::size_t width);
/// 50 steps in five layers: by constants, two operands, comparisons, switches, two operands.
Shape mixed();
/// As many chains of `length` steps side by side, each with a stream and an output; all streams bring one
/// value.
Shape sideBySide(std::size_t chains, std::size_t length);
/// A chain of rotations and sums of orientations and one of vectors, 50 steps each.
Shape rotations();
/// Gates that a stream opens most of the time, buffers of three values, or averagers.
Shape chainOf(Operation operation, std::size_t length);
/// One stream that brings the same list again and again, passed on to `width` outputs.
Shape lists(std::size_t elements, std::size_t width);

/// The shape as a diagram document, with its function nodes in the order given, or in that of the steps.
/// Connections are made along the steps.
std::string documentOf(const Shape& shape, std::span<const std::uint32_t> order = {});

}  // namespace KelvaneBenchmarks
