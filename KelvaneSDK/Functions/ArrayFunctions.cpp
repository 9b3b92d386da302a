#include <algorithm>
#include <cmath>
#include <deque>
#include <numeric>
#include <vector>

#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/Functions/ListOperations.h"
#include "KelvaneSDK/Values/ArrayVariables.h"

namespace KelvaneSDK {

namespace {

using Type = ValueClass;
using Floats = std::span<const double>;
using Values = std::span<const Value* const>;
using Slots = std::span<const ValueClass>;

const ArrayVariable& arrayIn(const TimestampedVariable& slot) {
    slot.typedValue();
    const auto* array = dynamic_cast<const ArrayVariable*>(&slot);
    if (array == nullptr) slot.stop("input " + std::to_string(slot.index) + " is no array slot");
    return *array;
}

bool isBelow(std::int64_t index, std::size_t count) {
    return index >= 0 && static_cast<std::size_t>(index) < count;
}

template <class Operation>
List<double> mapped(Floats items, Operation operation) {
    ListBuilder<double> result(items.size());
    for (const double x : items) result.append(operation(x));
    return result.finish();
}

Value insertedOrStop(const Node& node, std::optional<Value> list) {
    if (!list) node.stop("what is to be inserted is not of the type of the array's elements");
    return *std::move(list);
}

// Indices from 0 that a function takes; what it can work with depends on the list, so that a fixed index
// below 0 and a fixed empty list are wrong by themselves.
std::int64_t integerIn(Values values, std::size_t input) { return *values[input]->get<std::int64_t>(); }

std::optional<std::string> negativeIndex(Values values, Slots) {
    const auto index = belowLeast<0, 0>(values);
    if (!index) return std::nullopt;
    return "the index " + *index + " is negative";
}
constexpr Demand indexNotNegative{"the index is 0 or more", {0}, negativeIndex, false};

template <std::size_t input>
std::optional<std::string> emptyArray(Values values, Slots) {
    if (listSize(*values[input]) > 0) return std::nullopt;
    return "the array is empty";
}
template <std::size_t input>
constexpr Demand oneElement{"the array has an element", {input}, emptyArray<input>, false};

template <std::size_t list>
std::optional<std::string> noPlaceToInsert(Values values, Slots) {
    const std::size_t size = listSize(*values[list]);
    if (isBelow(integerIn(values, 0), size + 1)) return std::nullopt;
    return "the index " + std::to_string(integerIn(values, 0)) + " to insert at lies outside 0 to " +
           std::to_string(size);
}
template <std::size_t list>
constexpr Demand placeToInsert{
    "the index lies within 0 and the size of the array", {0, list}, noPlaceToInsert<list>};

std::optional<std::string> nothingToRemove(Values values, Slots) {
    const std::size_t size = listSize(*values[1]);
    if (isBelow(integerIn(values, 0), size)) return std::nullopt;
    return "an array of " + std::to_string(size) + " has no element " + std::to_string(integerIn(values, 0)) +
           " to remove";
}

struct Range {
    std::int64_t first, last;
};
Range trimmedRange(std::int64_t a, std::int64_t b, std::size_t size) {
    const auto [lower, upper] = std::minmax(a, b);
    return {std::max<std::int64_t>(lower, 0), std::min(upper, static_cast<std::int64_t>(size) - 1)};
}
std::optional<std::string> nothingLeft(Values values, Slots) {
    const auto a = integerIn(values, 0), b = integerIn(values, 1);
    const std::size_t size = listSize(*values[2]);
    const auto [first, last] = trimmedRange(a, b, size);
    if (first <= last) return std::nullopt;
    return "no element of an array of " + std::to_string(size) + " lies between the indices " +
           std::to_string(std::min(a, b)) + " and " + std::to_string(std::max(a, b));
}
std::optional<std::string> negativeIndices(Values values, Slots) {
    if (integerIn(values, 0) >= 0 || integerIn(values, 1) >= 0) return std::nullopt;
    return "both indices are negative";
}

std::optional<std::string> negativeLength(Values values, Slots) {
    const auto length = belowLeast<0, 0>(values);
    if (!length) return std::nullopt;
    return "an array of length " + *length + " drops more elements than it holds";
}

std::optional<std::string> nothingToSearch(Values values, Slots) {
    if (!values[1]->items<double>().empty()) return std::nullopt;
    return "an empty array has no element nearest to a value";
}

Value trimmed(std::int64_t a, std::int64_t b, const Value& list) {
    const auto [first, last] = trimmedRange(a, b, listSize(list));
    return slice(list, static_cast<std::size_t>(first), static_cast<std::size_t>(last - first) + 1);
}

List<double> clipped(double lower, double upper, Floats items) {
    ListBuilder<double> kept(items.size());
    for (const double x : items) {
        // Asked this way round, NaN stays.
        if (!(x < lower || upper < x)) kept.append(x);
    }
    return kept.finish();
}

List<std::int64_t> nearest(double wanted, Floats items) {
    // The scan begins at index 0 once more, so that a nearest first element stands twice: diagrams rely on
    // it.
    double best = std::fabs(wanted - items[0]);
    std::vector<std::int64_t> indices{0};
    for (std::size_t i = 0; i < items.size(); ++i) {
        const double distance = std::fabs(wanted - items[i]);
        if (distance < best) {
            indices.clear();
            best = distance;
        } else if (distance != best) {
            continue;
        }
        indices.push_back(static_cast<std::int64_t>(i));
    }
    return List<std::int64_t>(std::span<const std::int64_t>(indices));
}

// The index of the first extreme element.
template <auto extreme>
Maybe<std::int64_t> indexOf(Floats items) {
    if (items.empty()) return Silent{"the array is empty"};
    return static_cast<std::int64_t>(extreme(items.begin(), items.end()) - items.begin());
}
constexpr auto smallest = [](auto begin, auto end) { return std::min_element(begin, end); };
constexpr auto largest = [](auto begin, auto end) { return std::max_element(begin, end); };

class CreateArrayFunction final : public FunctionNode {
public:
    static Declaration declaration() {
        return {.name = "Create array",
                .inputs = {{"length", Type::IntegerValue, "elements, 0 or more"},
                           {"element", Type::ValueVariable}},
                .output = Type::ArrayVariable,
                .description = "the latest elements, oldest first, at most `length` of them",
                .keywords = "collect window list",
                .keepsState = true,
                .demands = {{"the length is 0 or more", {0}, negativeLength}}};
    }
    void process() override {
        stopOnViolation();
        const std::int64_t length = integer(0);
        const Value& element = input(1).typedValue();
        if (isUpdated(1)) array.push_back(element);
        while (array.size() > static_cast<std::size_t>(length)) array.pop_front();
        auto list = listOf(array, element.type());
        if (!list) {
            stop("its elements, the last of type " + std::string(valueTypeName(element.type())) +
                 ", form no array: they must be scalars of one type");
        }
        finish(*std::move(list));
    }
    void reset() override {
        array.clear();
        FunctionNode::reset();
    }

private:
    std::deque<Value> array;
};

}  // namespace

NodeFamily arrayFunctions() {
    const RowSlot index{"index", "counted from 0"};
    return functionFamily(
        "Array",
        {
            pure(
                "Order", {{"descending"}, array("array")},
                [](bool descending, const TimestampedVariable& list) {
                    return arrayIn(list).sorted(descending);
                },
                "the array sorted; falling when descending is true")
                .output(Type::ArrayVariable)
                .keywords("sort rank")
                .applies(SlotOperation::sort)
                .unsupported(
                    {Type::SequenceArrayVariable, Type::VectorArrayVariable, Type::OrientationArrayVariable})
                .also([](Declaration& order) {
                    // An empty array is in order, whatever its type.
                    order.withoutOperation = WithoutOperation::emitsAnyway;
                    order.reportsUnsupported = true;
                }),
            pure(
                "Get element", {index, array("array")},
                [](std::int64_t place, const Value& list) -> Maybe<Value> {
                    if (!isBelow(place, listSize(list))) return Silent{"the index lies outside the array"};
                    return elementAt(list, static_cast<std::size_t>(place));
                },
                "the element at the index, counted from 0")
                .output(Type::ValueVariable)
                .silent("when the index lies outside the array")
                .keywords("item at pick"),
            pure(
                "Trim", {{"first index", "counted from 0"}, {"last index", "counted from 0"}, array("array")},
                [](std::int64_t first, std::int64_t last, const Value& list) {
                    return trimmed(first, last, list);
                },
                "the elements from the first to the last index, both included")
                .output(Type::ArrayVariable)
                .keywords("slice cut part")
                .demands({"an element lies between the indices", {0, 1, 2}, nothingLeft})
                .demands({"an index is 0 or more", {0, 1}, negativeIndices, false})
                .demands(oneElement<2>),
            pure(
                "Array sum", {array("array")},
                [](const TimestampedVariable& list) { return arrayIn(list).sum(); },
                "the sum of all elements; texts are joined")
                .output(Type::ValueVariable)
                .keywords("total join")
                .applies(SlotOperation::sum)
                .unsupported({Type::BooleanArrayVariable, Type::SequenceArrayVariable}),
            pure(
                "Array absolute", {{"array"}},
                [](Floats items) { return mapped(items, [](double x) { return std::fabs(x); }); },
                "the absolute value of every element"),
            pure(
                "Number of elements", {array("array")},
                [](const Value& list) { return static_cast<std::int64_t>(listSize(list)); },
                "how many elements the array has")
                .keywords("length size count"),
            pure(
                "Clip", {{"lower bound"}, {"upper bound"}, {"array"}},
                [](double lower, double upper, Floats items) { return clipped(lower, upper, items); },
                "the elements that lie within the bounds, both included; the others are removed")
                .keywords("filter"),
            pure(
                "Minimum", {{"array"}},
                [](Floats items) {
                    return items.empty() ? 0.0 : *std::min_element(items.begin(), items.end());
                },
                "the smallest element; 0 for an empty array"),
            pure(
                "Maximum", {{"array"}},
                [](Floats items) {
                    return items.empty() ? 0.0 : *std::max_element(items.begin(), items.end());
                },
                "the largest element; 0 for an empty array"),
            pure(
                "Average", {{"array"}},
                [](Floats items) {
                    return std::accumulate(items.begin(), items.end(), 0.0) /
                           static_cast<double>(items.size());
                },
                "the mean of all elements; NaN for an empty array"),
            pure(
                "Add to array", {scalar("element"), array("array")},
                [](const Value& element, const Value& list, const Node& node) {
                    return insertedOrStop(node, withElement(list, listSize(list), element));
                },
                "the array with the element appended at the end")
                .output(Type::ArrayVariable)
                .keywords("append push"),
            pure(
                "Remove from array", {index, array("array")},
                [](std::int64_t place, const Value& list) {
                    return withoutElement(list, static_cast<std::size_t>(place));
                },
                "the array without the element at the index, counted from 0")
                .output(Type::ArrayVariable)
                .keywords("delete erase")
                .demands({"the array has an element at the index", {0, 1}, nothingToRemove})
                .demands(indexNotNegative)
                .demands(oneElement<1>),
            pure(
                "Insert into array", {index, scalar("element"), array("array")},
                [](std::int64_t place, const Value& element, const Value& list, const Node& node) {
                    return insertedOrStop(node, withElement(list, static_cast<std::size_t>(place), element));
                },
                "the array with the element inserted before the index, counted from 0")
                .output(Type::ArrayVariable)
                .demands(placeToInsert<2>)
                .demands(indexNotNegative),
            pure(
                "Shift elements", {{"offset"}, {"array"}},
                [](double offset, Floats items) {
                    return mapped(items, [offset](double x) { return offset + x; });
                },
                "every element plus the offset")
                .keywords("add"),
            entry<CreateArrayFunction>(),
            pure(
                "Combine arrays", {index, array("A"), array("B")},
                [](std::int64_t place, const Value& inserted, const Value& list, const Node& node) {
                    return insertedOrStop(node,
                                          withElements(list, static_cast<std::size_t>(place), inserted));
                },
                "array B with all of array A inserted before the index, counted from 0")
                .output(Type::ArrayVariable)
                .keywords("concatenate join")
                .demands(placeToInsert<2>)
                .demands(indexNotNegative),
            pure(
                "Search array", {{"value"}, {"array"}},
                [](double value, Floats items) { return nearest(value, items); },
                "the indices of the elements nearest to the value; a nearest first element counts twice")
                .keywords("find closest")
                .demands({"the array has an element", {1}, nothingToSearch}),
            pure(
                "Index of maximum", {{"array"}}, [](Floats items) { return indexOf<largest>(items); },
                "the index of the largest element, the first of equals")
                .silent("when the array is empty"),
            pure(
                "Index of minimum", {{"array"}}, [](Floats items) { return indexOf<smallest>(items); },
                "the index of the smallest element, the first of equals")
                .silent("when the array is empty"),
        });
}

}  // namespace KelvaneSDK
