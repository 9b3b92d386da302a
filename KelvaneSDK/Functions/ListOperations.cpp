#include "KelvaneSDK/Functions/ListOperations.h"

#include <initializer_list>
#include <string>

#include "KelvaneSDK/Diagnostics.h"

namespace KelvaneSDK {

namespace {

bool isListType(ValueType type) { return type >= ValueType::FloatArray && type <= ValueType::SequenceArray; }
bool isElementType(ValueType type) { return type <= ValueType::Sequence; }

// Calls operation.operator()<Item>() for an element type or the type of a list of such elements.
template <class Operation>
auto withItemType(ValueType type, Operation operation) {
    switch (type) {
        case ValueType::Float:
        case ValueType::FloatArray:
            return operation.template operator()<double>();
        case ValueType::Integer:
        case ValueType::IntegerArray:
            return operation.template operator()<std::int64_t>();
        case ValueType::Boolean:
        case ValueType::BooleanArray:
            return operation.template operator()<bool>();
        case ValueType::String:
        case ValueType::StringArray:
            return operation.template operator()<String>();
        case ValueType::Vector:
        case ValueType::VectorArray:
            return operation.template operator()<Vector>();
        case ValueType::Orientation:
        case ValueType::OrientationArray:
            return operation.template operator()<Orientation>();
        case ValueType::Sequence:
        case ValueType::SequenceArray:
            return operation.template operator()<Sequence>();
        case ValueType::SampleArray:
            break;
    }
    stopProgram("no slot holds a value of type " + std::string(valueTypeName(type)));
}

// Calls operation(items) with the list's elements in place.
template <class Operation>
auto withItems(const Value& list, Operation operation) {
    if (!isList(list)) {
        stopProgram("a value of type " + std::string(valueTypeName(list.type())) + " was read as a list");
    }
    return withItemType(list.type(), [&]<class Item>() { return operation(list.items<Item>()); });
}

template <class Item>
Value joined(std::initializer_list<std::span<const Item>> pieces) {
    std::size_t count = 0;
    for (const auto& piece : pieces) count += piece.size();
    ListBuilder<Item> result(count);
    for (const auto& piece : pieces) result.append(piece);
    return Value(result.finish());
}

}  // namespace

bool isList(const Value& value) { return isListType(value.type()); }

std::size_t listSize(const Value& list) {
    return withItems(list, [](auto items) { return items.size(); });
}

Value elementAt(const Value& list, std::size_t position) {
    return withItems(list, [position](auto items) { return Value(items[position]); });
}

Value slice(const Value& list, std::size_t first, std::size_t count) {
    return withItems(list, [&]<class Item>(std::span<const Item> items) {
        return count == items.size() ? list : joined<Item>({items.subspan(first, count)});
    });
}

Value withoutElement(const Value& list, std::size_t position) {
    return withItems(list, [position]<class Item>(std::span<const Item> items) {
        return joined<Item>({items.first(position), items.subspan(position + 1)});
    });
}

std::optional<Value> withElement(const Value& list, std::size_t position, const Value& element) {
    return withItems(list, [&]<class Item>(std::span<const Item> items) -> std::optional<Value> {
        const auto item = element.get<Item>();
        if (!item) return std::nullopt;
        return joined<Item>({items.first(position), std::span(&*item, 1), items.subspan(position)});
    });
}

std::optional<Value> withElements(const Value& list, std::size_t position, const Value& inserted) {
    if (inserted.type() != list.type()) return std::nullopt;
    return withItems(list, [&]<class Item>(std::span<const Item> items) -> std::optional<Value> {
        return joined<Item>({items.first(position), inserted.items<Item>(), items.subspan(position)});
    });
}

std::optional<Value> listOf(const std::deque<Value>& elements, ValueType elementType) {
    if (!isElementType(elementType)) return std::nullopt;
    return withItemType(elementType, [&]<class Item>() -> std::optional<Value> {
        ListBuilder<Item> result(elements.size());
        for (const auto& element : elements) {
            const auto item = element.get<Item>();
            if (!item) return std::nullopt;
            result.append(*item);
        }
        return Value(result.finish());
    });
}

}  // namespace KelvaneSDK
