#include <algorithm>
#include <cmath>
#include <deque>
#include <numeric>
#include <vector>

#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"
#include "KelvaneSDK/ListOperations.h"

namespace KelvaneSDK {

namespace {

// The slot's value, which must be of the type that the slot's class holds.
const Value& payloadIn(const TimestampedVariable& slot) {
    const Value* payload = slot.payload();
    if (payload == nullptr) slot.stop("input \"" + std::string(slot.label) + "\" holds no value");
    const auto expected = payloadType(slot.valueClass());
    if (expected && payload->type() != *expected) {
        slot.stop("input \"" + std::string(slot.label) + "\" holds a value of type " +
                  std::string(valueTypeName(payload->type())) + " where " +
                  std::string(valueTypeName(*expected)) + " is needed");
    }
    return *payload;
}

const Value& listIn(const TimestampedVariable& slot) {
    const Value& payload = payloadIn(slot);
    if (!isList(payload)) {
        slot.stop("input \"" + std::string(slot.label) + "\" holds a value of type " +
                  std::string(valueTypeName(payload.type())) + " where a list is needed");
    }
    return payload;
}

bool isBelow(std::int64_t index, std::size_t count) {
    return index >= 0 && static_cast<std::size_t>(index) < count;
}

std::size_t insertionPoint(const FunctionNode& node, std::int64_t index, const Value& list) {
    const std::size_t size = listSize(list);
    if (!isBelow(index, size + 1)) {
        node.stop("the index " + std::to_string(index) + " to insert at lies outside 0 to " +
                  std::to_string(size));
    }
    return static_cast<std::size_t>(index);
}

Value insertedOrStop(const FunctionNode& node, std::optional<Value> list) {
    if (!list) node.stop("what is to be inserted is not of the type of the array's elements");
    return *std::move(list);
}

template <class Operation>
List<double> mapped(std::span<const double> items, Operation operation) {
    ListBuilder<double> result(items.size());
    for (const double x : items) result.append(operation(x));
    return result.finish();
}

class OrderFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<BooleanValue, ArrayVariable>("descending", "array");
        unsupported<SequenceArrayVariable, VectorArrayVariable, OrientationArrayVariable>();
    }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Order"; }
    void process() override { finish(arrayInput(1).sorted(boolean(0))); }
};

class GetElementFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, ArrayVariable>("index", "array"); }
    void createOutput() override { setOutput<ValueVariable>(); }
    void setTypeString() override { typeString = "Get element"; }
    void process() override {
        const std::int64_t index = integer(0);
        const Value& list = listIn(input(1));
        if (!isBelow(index, listSize(list))) return endWithoutOutput();
        finish(elementAt(list, static_cast<std::size_t>(index)));
    }
};

class TrimFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<IntegerValue, IntegerValue, ArrayVariable>("first index", "last index", "array");
    }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Trim"; }
    void process() override {
        const Value& list = listIn(input(2));
        const auto size = static_cast<std::int64_t>(listSize(list));
        const auto [lower, upper] = std::minmax({integer(0), integer(1)});
        const std::int64_t first = std::max<std::int64_t>(lower, 0);
        const std::int64_t last = std::min(upper, size - 1);
        if (last < first) {
            stop("no element of an array of " + std::to_string(size) + " lies between the indices " +
                 std::to_string(lower) + " and " + std::to_string(upper));
        }
        finish(slice(list, static_cast<std::size_t>(first), static_cast<std::size_t>(last - first) + 1));
    }
};

class ArraySumFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<ArrayVariable>("array");
        unsupported<BooleanArrayVariable, SequenceArrayVariable>();
    }
    void createOutput() override { setOutput<ValueVariable>(); }
    void setTypeString() override { typeString = "Array sum"; }
    void process() override { finish(arrayInput(0).sum()); }
};

class ArrayAbsoluteFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable>("array"); }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Array absolute"; }
    void process() override {
        finish(mapped(items<double>(0), [](double x) { return std::fabs(x); }));
    }
};

class NumberOfElementsFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<ArrayVariable>("array"); }
    void createOutput() override { setOutput<IntegerValue>(); }
    void setTypeString() override { typeString = "Number of elements"; }
    void process() override { finish(static_cast<std::int64_t>(listSize(listIn(input(0))))); }
};

class ClipFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<FloatValue, FloatValue, FloatArrayVariable>("lower bound", "upper bound", "array");
    }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Clip"; }
    void process() override {
        const double lower = real(0);
        const double upper = real(1);
        ListBuilder<double> kept(items<double>(2).size());
        for (const double x : items<double>(2)) {
            // Asked this way round, NaN stays.
            if (!(x < lower || upper < x)) kept.append(x);
        }
        finish(kept.finish());
    }
};

class MinimumFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable>("array"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Minimum"; }
    void process() override {
        const auto list = items<double>(0);
        finish(list.empty() ? 0.0 : *std::min_element(list.begin(), list.end()));
    }
};

class MaximumFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable>("array"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Maximum"; }
    void process() override {
        const auto list = items<double>(0);
        finish(list.empty() ? 0.0 : *std::max_element(list.begin(), list.end()));
    }
};

class AverageFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable>("array"); }
    void createOutput() override { setOutput<FloatValue>(); }
    void setTypeString() override { typeString = "Average"; }
    void process() override {
        const auto list = items<double>(0);
        finish(std::accumulate(list.begin(), list.end(), 0.0) / static_cast<double>(list.size()));
    }
};

class AddElementFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<ValueVariable, ArrayVariable>("element", "array"); }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Add to array"; }
    void process() override {
        const Value& list = listIn(input(1));
        finish(insertedOrStop(*this, withElement(list, listSize(list), value(0))));
    }
};

class RemoveElementFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, ArrayVariable>("index", "array"); }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Remove from array"; }
    void process() override {
        const std::int64_t index = integer(0);
        const Value& list = listIn(input(1));
        if (!isBelow(index, listSize(list))) {
            stop("an array of " + std::to_string(listSize(list)) + " has no element " +
                 std::to_string(index) + " to remove");
        }
        finish(withoutElement(list, static_cast<std::size_t>(index)));
    }
};

class InsertElementFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<IntegerValue, ValueVariable, ArrayVariable>("index", "element", "array");
    }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Insert into array"; }
    void process() override {
        const Value& list = listIn(input(2));
        const std::size_t before = insertionPoint(*this, integer(0), list);
        finish(insertedOrStop(*this, withElement(list, before, value(1))));
    }
};

class ShiftElementsFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatArrayVariable>("offset", "array"); }
    void createOutput() override { setOutput<FloatArrayVariable>(); }
    void setTypeString() override { typeString = "Shift elements"; }
    void process() override {
        finish(mapped(items<double>(1), [offset = real(0)](double x) { return offset + x; }));
    }
};

class CreateArrayFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, ValueVariable>("length", "element"); }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Create array"; }
    void process() override {
        const std::int64_t length = integer(0);
        const Value& element = payloadIn(input(1));
        if (length < 0) {
            stop("an array of length " + std::to_string(length) + " drops more elements than it holds");
        }
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

class ConmbineArraysFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<IntegerValue, ArrayVariable, ArrayVariable>("index", "A", "B"); }
    void createOutput() override { setOutput<ArrayVariable>(); }
    void setTypeString() override { typeString = "Combine arrays"; }
    void process() override {
        const Value& inserted = listIn(input(1));
        const Value& list = listIn(input(2));
        const std::size_t before = insertionPoint(*this, integer(0), list);
        finish(insertedOrStop(*this, withElements(list, before, inserted)));
    }
};

class SearchArrayFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatValue, FloatArrayVariable>("value", "array"); }
    void createOutput() override { setOutput<IntegerArrayVariable>(); }
    void setTypeString() override { typeString = "Search array"; }
    void process() override {
        const double wanted = real(0);
        const auto list = items<double>(1);
        if (list.empty()) stop("an empty array has no element nearest to a value");
        // The scan begins at index 0 once more, so that a nearest first element stands twice: diagrams rely
        // on it.
        double best = std::fabs(wanted - list[0]);
        std::vector<std::int64_t> nearest{0};
        for (std::size_t i = 0; i < list.size(); ++i) {
            const double distance = std::fabs(wanted - list[i]);
            if (distance < best) {
                nearest.clear();
                best = distance;
            } else if (distance != best) {
                continue;
            }
            nearest.push_back(static_cast<std::int64_t>(i));
        }
        finish(List<std::int64_t>(std::span<const std::int64_t>(nearest)));
    }
};

class IndexOfMaximumFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable>("array"); }
    void createOutput() override { setOutput<IntegerValue>(); }
    void setTypeString() override { typeString = "Index of maximum"; }
    void process() override {
        const auto list = items<double>(0);
        if (list.empty()) return endWithoutOutput();
        finish(static_cast<std::int64_t>(std::max_element(list.begin(), list.end()) - list.begin()));
    }
};

class IndexOfMinimumFunction final : public FunctionNode {
public:
    void createInputs() override { addInputs<FloatArrayVariable>("array"); }
    void createOutput() override { setOutput<IntegerValue>(); }
    void setTypeString() override { typeString = "Index of minimum"; }
    void process() override {
        const auto list = items<double>(0);
        if (list.empty()) return endWithoutOutput();
        finish(static_cast<std::int64_t>(std::min_element(list.begin(), list.end()) - list.begin()));
    }
};

}  // namespace

NodeFamily arrayFunctions() {
    return functionFamily(
        "Array",
        {
            entry<OrderFunction>("the array sorted; falling when descending is true"),
            entry<GetElementFunction>("the element at the index, counted from 0; silent outside the array"),
            entry<TrimFunction>("the elements from the first to the last index, both included"),
            entry<ArraySumFunction>("the sum of all elements; texts are joined"),
            entry<ArrayAbsoluteFunction>("the absolute value of every element"),
            entry<NumberOfElementsFunction>("how many elements the array has"),
            entry<ClipFunction>(
                "the elements that lie within the bounds, both included; the others are removed"),
            entry<MinimumFunction>("the smallest element; 0 for an empty array"),
            entry<MaximumFunction>("the largest element; 0 for an empty array"),
            entry<AverageFunction>("the mean of all elements; NaN for an empty array"),
            entry<AddElementFunction>("the array with the element appended at the end"),
            entry<RemoveElementFunction>("the array without the element at the index, counted from 0"),
            entry<InsertElementFunction>(
                "the array with the element inserted before the index, counted from 0"),
            entry<ShiftElementsFunction>("every element plus the offset"),
            entry<CreateArrayFunction>("the latest elements, oldest first, at most `length` of them"),
            entry<ConmbineArraysFunction>(
                "array B with all of array A inserted before the index, counted from 0"),
            entry<SearchArrayFunction>(
                "the indices of the elements nearest to the value; a nearest first element "
                "counts twice"),
            entry<IndexOfMaximumFunction>(
                "the index of the largest element, the first of equals; silent for an "
                "empty array"),
            entry<IndexOfMinimumFunction>(
                "the index of the smallest element, the first of equals; silent for an "
                "empty array"),
        });
}

}  // namespace KelvaneSDK
