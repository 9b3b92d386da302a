#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FileProcessing/ValueText.h"
#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneSDK {

namespace {

template <class Parse>
std::optional<Value> firstPiece(std::string_view text, Parse parse) {
    const std::string stripped = withoutCharacters(text, brackets);
    const auto parsed = parse(splitAtCommas(stripped).front());
    return parsed ? std::optional(Value(*parsed)) : std::nullopt;
}

template <class Item, class Parse>
std::optional<Value> pieces(std::string_view text, std::string_view unwanted, Parse parse) {
    const std::string stripped = withoutCharacters(text, unwanted);
    ListBuilder<Item> items;
    if (!stripped.empty()) {
        for (const auto piece : splitAtCommas(stripped)) {
            const auto item = parse(piece);
            if (!item) return std::nullopt;
            items.append(*item);
        }
    }
    return Value(items.finish());
}

// Numbers in groups of `width`, each group an item.
template <class Item, class Make>
std::optional<ListBuilder<Item>> groups(std::string_view text, std::size_t width, std::string_view unwanted,
                                        Make make) {
    const auto numbers = numbersBetweenCommas(withoutCharacters(text, unwanted));
    if (!numbers || numbers->size() % width != 0) return std::nullopt;
    ListBuilder<Item> items(numbers->size() / width);
    for (std::size_t i = 0; i < numbers->size(); i += width) items.append(make(numbers->data() + i));
    return items;
}

template <class Item, class Make>
std::optional<Value> list(std::string_view text, std::size_t width, std::string_view unwanted, Make make) {
    auto items = groups<Item>(text, width, unwanted, make);
    return items ? std::optional(Value(items->finish())) : std::nullopt;
}

template <class Item, class Make>
std::optional<Value> single(std::string_view text, std::size_t width, Make make) {
    auto items = groups<Item>(text, width, brackets, make);
    return items && items->size() == 1 ? std::optional(Value(items->items()[0])) : std::nullopt;
}

Vector makeVector(const double* n) { return {n[0], n[1], n[2]}; }
Orientation makeOrientation(const double* n) { return {n[0], n[1], n[2], n[3]}; }

}  // namespace

std::optional<Value> valueFromText(ValueClass valueClass, std::string_view text) {
    switch (valueClass) {
        case ValueClass::FloatValue:
            return firstPiece(text, parseDouble);
        case ValueClass::IntegerValue:
            return firstPiece(text, parseInteger);
        case ValueClass::BooleanValue:
            return firstPiece(text, parseBoolean);
        case ValueClass::VectorValue:
            return single<Vector>(text, 3, makeVector);
        case ValueClass::OrientationValue:
            return single<Orientation>(text, 4, makeOrientation);
        case ValueClass::StringValue:
            return Value(text);
        case ValueClass::SequenceValue: {
            auto samples = groups<Sample>(text, 2, brackets, [](const double* n) {
                return Sample{n[0], n[1]};
            });
            return samples ? std::optional(Value(Sequence(samples->finish()))) : std::nullopt;
        }
        case ValueClass::FloatArrayVariable:
            return pieces<double>(text, brackets, parseDouble);
        case ValueClass::IntegerArrayVariable:
            return pieces<std::int64_t>(text, brackets, parseInteger);
        case ValueClass::BooleanArrayVariable:
            return pieces<bool>(text, brackets, parseBoolean);
        case ValueClass::StringArrayVariable:
            return pieces<String>(text, "",
                                  [](std::string_view piece) { return std::optional(String(piece)); });
        case ValueClass::VectorArrayVariable:
            return list<Vector>(text, 3, " :xyz()[]{}", makeVector);
        case ValueClass::OrientationArrayVariable:
            return list<Orientation>(text, 4, " :xyzw()[]{}", makeOrientation);
        case ValueClass::TimestampedVariable:
        case ValueClass::ValueVariable:
        case ValueClass::ArrayVariable:
        case ValueClass::SequenceArrayVariable:
            break;
    }
    return std::nullopt;
}

bool readsText(ValueClass valueClass) {
    return !isGeneric(valueClass) && valueClass != ValueClass::SequenceArrayVariable;
}

}  // namespace KelvaneSDK
