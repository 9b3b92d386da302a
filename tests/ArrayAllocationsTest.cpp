#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "KelvaneSDK/Kelvane/NodeRegistry.h"

namespace {

std::size_t allocations = 0;

}  // namespace

// Counts what this program allocates. The form that may fail is replaced too: a sanitizer's own would not
// match the delete below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace KelvaneSDK {

namespace {

using Floats = List<double>;
using Texts = List<String>;

}  // namespace

TEST(ArrayFunctions, AllocateANewListOnceAndNothingElse) {
    const struct {
        std::string_view function;
        std::vector<Value> inputs;
        std::size_t expected;
    } cases[]{{"Add to array", {1., Floats{1, 2}}, 1},
              {"Add to array", {"c", Texts{"a", "b"}}, 1},
              {"Insert into array", {1, 1., Floats{1, 2}}, 1},
              {"Remove from array", {1, Floats{1, 2}}, 1},
              {"Combine arrays", {1, Floats{1, 2}, Floats{1, 2}}, 1},
              {"Trim", {1, 2, Floats{1, 2, 3}}, 1},
              {"Trim", {0, 9, Floats{1, 2, 3}}, 0},
              {"Clip", {1., 2., Floats{1, 2, 3}}, 1},
              {"Shift elements", {1., Floats{1, 2, 3}}, 1},
              {"Array absolute", {Floats{1, 2, 3}}, 1},
              {"Get element", {1, Texts{"a", "b"}}, 0},
              {"Maximum", {Floats{1, 2, 3}}, 0}};
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.function);
        const auto node = NodeRegistry::library().find(NodeCategory::Function, testCase.function)->make();
        for (std::size_t i = 0; i < testCase.inputs.size(); ++i) {
            node->inputValues()[i]->setValue(testCase.inputs[i]);
        }
        const std::size_t before = allocations;
        node->process();
        EXPECT_EQ(allocations - before, testCase.expected);
    }
}

}  // namespace KelvaneSDK
