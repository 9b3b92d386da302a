#include "Report/ValueSeries.h"

#include <cstring>
#include <span>

namespace kelvane {

using namespace KelvaneSDK;

namespace {

// Of a text that is kept.
constexpr std::size_t mostBytes = 200;

std::string cutText(std::string_view text) {
    if (text.size() <= mostBytes) return std::string(text);
    std::size_t end = mostBytes;
    const auto continues = [&] { return (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80; };
    while (end > 0 && continues()) --end;
    return std::string(text.substr(0, end)) + "…";
}

std::string itemText(double item) { return getValueString(item); }
std::string itemText(std::int64_t item) { return getValueString(item); }
std::string itemText(bool item) { return getValueString(item); }
std::string itemText(const Vector& item) { return getValueString(item); }
std::string itemText(const Orientation& item) { return getValueString(item); }
std::string itemText(const String& item) { return '"' + cutText(item.view()) + '"'; }
std::string itemText(const Sequence& item) { return valueExcerpt(item); }
std::string itemText(const Sample& item) {
    return "(t: " + getValueString(item.t) + ", f: " + getValueString(item.f) + ")";
}

template <class Item>
std::string listText(const Value& value, std::string_view noun = "values") {
    const auto items = value.items<Item>();
    std::string text = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto item = itemText(items[i]);
        if (text.size() + item.size() > mostBytes && i > 0)
            return text + "… " + std::to_string(items.size()) + " " + std::string(noun) + "]";
        text += item + (i + 1 < items.size() ? ", " : "");
    }
    return text + "]";
}

// Bit by bit, so that NaN equals itself.
template <class Number>
bool areSame(const std::vector<Number>& a, const std::vector<Number>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Number)) == 0);
}

ValueSeries::Encoding encodingOf(ValueType type) {
    switch (type) {
        case ValueType::Float:
        case ValueType::Vector:
        case ValueType::Orientation:
            return ValueSeries::Encoding::numbers;
        case ValueType::Integer:
            return ValueSeries::Encoding::integers;
        case ValueType::Boolean:
            return ValueSeries::Encoding::booleans;
        default:
            return ValueSeries::Encoding::texts;
    }
}

}  // namespace

std::string valueExcerpt(const Value& value) {
    switch (value.type()) {
        case ValueType::String:
            return cutText(value.as<String>().view());
        case ValueType::FloatArray:
            return listText<double>(value);
        case ValueType::IntegerArray:
            return listText<std::int64_t>(value);
        case ValueType::BooleanArray:
            return listText<bool>(value);
        case ValueType::StringArray:
            return listText<String>(value);
        case ValueType::VectorArray:
            return listText<Vector>(value);
        case ValueType::OrientationArray:
            return listText<Orientation>(value);
        case ValueType::SequenceArray:
            return listText<Sequence>(value, "sequences");
        case ValueType::Sequence:
        case ValueType::SampleArray:
            return listText<Sample>(value, "samples");
        default:
            return getValueString(value);
    }
}

void ValueSeries::add(std::uint32_t batch, const Value& value) {
    if (valueCount == 0) start(value);
    if (value.type() != firstType) becomeTexts();
    if (isDense() && batch != valueCount) {
        for (std::uint32_t i = 0; i < valueCount; ++i) batches.push_back(i);
        batches.push_back(batch);
    } else if (!isDense()) {
        batches.push_back(batch);
    }
    ++valueCount;
    if (storedAs == Encoding::texts) {
        appendText(valueExcerpt(value));
    } else if (storedAs == Encoding::integers) {
        integers.push_back(value.unchecked<std::int64_t>());
    } else if (storedAs == Encoding::booleans) {
        booleans.push_back(value.unchecked<bool>() ? 1 : 0);
    } else if (firstType == ValueType::Vector) {
        const auto vector = value.unchecked<Vector>();
        components[0].push_back(vector.x);
        components[1].push_back(vector.y);
        components[2].push_back(vector.z);
    } else if (firstType == ValueType::Orientation) {
        const auto rotation = value.unchecked<Orientation>();
        components[0].push_back(rotation.w);
        components[1].push_back(rotation.x);
        components[2].push_back(rotation.y);
        components[3].push_back(rotation.z);
    } else {
        components[0].push_back(value.unchecked<double>());
    }
}

void ValueSeries::start(const Value& value) {
    firstType = value.type();
    storedAs = encodingOf(firstType);
}

// A node that gives now this, now that has nothing in common but its texts.
void ValueSeries::becomeTexts() {
    if (storedAs == Encoding::texts) return;
    const auto& [a, b, c, d] = components;
    for (std::size_t i = 0; i < valueCount; ++i) {
        const Value value = storedAs == Encoding::integers   ? Value(integers[i])
                            : storedAs == Encoding::booleans ? Value(booleans[i] != 0)
                            : firstType == ValueType::Vector ? Value(Vector{a[i], b[i], c[i]})
                            : firstType == ValueType::Float  ? Value(a[i])
                                                             : Value(Orientation{b[i], c[i], d[i], a[i]});
        appendText(getValueString(value));
    }
    storedAs = Encoding::texts;
    components = {};
    integers = {};
    booleans = {};
}

void ValueSeries::appendText(std::string_view text) {
    lengths.push_back(static_cast<std::uint32_t>(text.size()));
    texts += text;
}

std::string_view ValueSeries::encodingName() const {
    constexpr std::array<std::string_view, 4> names = {"float", "integer", "boolean", "text"};
    return names[static_cast<std::size_t>(storedAs)];
}

std::vector<std::string_view> ValueSeries::componentNames() const {
    if (storedAs == Encoding::numbers && firstType == ValueType::Vector) return {"x", "y", "z"};
    if (storedAs == Encoding::numbers && firstType == ValueType::Orientation) return {"w", "x", "y", "z"};
    return {};
}

bool ValueSeries::hasSameColumns(const ValueSeries& other) const {
    if (valueCount != other.valueCount || storedAs != other.storedAs) return false;
    for (std::size_t i = 0; i < components.size(); ++i)
        if (!areSame(components[i], other.components[i])) return false;
    return areSame(batches, other.batches) && areSame(integers, other.integers) &&
           areSame(booleans, other.booleans) && areSame(lengths, other.lengths) && texts == other.texts;
}

void ValueSeries::write(ChunkWriter& chunk) const {
    chunk.writeColumn(std::span(batches));
    for (const auto& component : components) chunk.writeColumn(std::span(component));
    chunk.writeColumn(std::span(integers));
    chunk.writeColumn(std::span(booleans));
    chunk.writeColumn(std::span(lengths));
    chunk.writeBytes(texts);
}

}  // namespace kelvane
