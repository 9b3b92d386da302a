#pragma once

#include <cstddef>
#include <string>

namespace KelvaneBenchmarks {

/// A float stream "in", `length` functions in a row that add and multiply by constants in turn, and the
/// output "out". `reversed`: the documents lists the functions from the last to the first, so that the order
/// has to settle.
std::string chain(std::size_t length, bool reversed = false);

/// A float stream "in" that feeds `width` functions, each with an output of its own.
std::string fan(std::size_t width);

}  // namespace KelvaneBenchmarks
