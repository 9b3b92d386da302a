#include <algorithm>
#include <array>

#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/FileProcessing/JsonText.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

void write(JsonText& json, double x) { json.number(x); }
void write(JsonText& json, std::int64_t n) { json.number(n); }
void write(JsonText& json, bool truth) { json.boolean(truth); }
void write(JsonText& json, const String& text) { json.string(text.view()); }

void write(JsonText& json, const Vector& v) {
    json.put("{\"x\":");
    json.number(v.x);
    json.put(",\"y\":");
    json.number(v.y);
    json.put(",\"z\":");
    json.number(v.z);
    json.put('}');
}

void write(JsonText& json, const Orientation& q) {
    json.put("{\"x\":");
    json.number(q.x);
    json.put(",\"y\":");
    json.number(q.y);
    json.put(",\"z\":");
    json.number(q.z);
    json.put(",\"w\":");
    json.number(q.w);
    json.put('}');
}

void write(JsonText& json, const Sample& sample) {
    json.put("{\"t\":");
    json.number(sample.t);
    json.put(",\"f\":");
    json.number(sample.f);
    json.put('}');
}

void write(JsonText& json, const Sequence& sequence);

template <class Item>
void write(JsonText& json, std::span<const Item> items) {
    json.put('[');
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) json.put(',');
        write(json, items[i]);
    }
    json.put(']');
}

void write(JsonText& json, const Sequence& sequence) { write(json, sequence.samples().items()); }

template <class T>
void member(JsonText& json, std::string_view key, const T& content) {
    json.put(key);
    write(json, content);
}

// Writes the value under its key. Only results have keys for the engine's own sequences and for arrays of
// them.
void writeValue(JsonText& json, const Value& value, bool isResult) {
    switch (value.type()) {
        case ValueType::Float:
            return member(json, ",\"floatValue\":", value.as<double>());
        case ValueType::Integer:
            return member(json, ",\"integerValue\":", value.as<std::int64_t>());
        case ValueType::Boolean:
            return member(json, ",\"booleanValue\":", value.as<bool>());
        case ValueType::Vector:
            return member(json, ",\"vectorValue\":", value.as<Vector>());
        case ValueType::Orientation:
            return member(json, ",\"orientationValue\":", value.as<Orientation>());
        case ValueType::String:
            return member(json, ",\"stringValue\":", value.as<String>());
        case ValueType::SampleArray:
            return member(json, ",\"sequenceValue\":", value.items<Sample>());
        case ValueType::FloatArray:
            return member(json, ",\"floatArrayValue\":", value.items<double>());
        case ValueType::IntegerArray:
            return member(json, ",\"integerArrayValue\":", value.items<std::int64_t>());
        case ValueType::BooleanArray:
            return member(json, ",\"booleanArrayValue\":", value.items<bool>());
        case ValueType::VectorArray:
            return member(json, ",\"vectorArrayValue\":", value.items<Vector>());
        case ValueType::OrientationArray:
            return member(json, ",\"orientationArrayValue\":", value.items<Orientation>());
        case ValueType::StringArray:
            return member(json, ",\"stringArrayValue\":", value.items<String>());
        case ValueType::Sequence:
            if (isResult) member(json, ",\"sequenceValue\":", value.items<Sample>());
            return;
        case ValueType::SequenceArray:
            if (isResult) member(json, ",\"sequenceArrayValue\":", value.items<Sequence>());
            return;
    }
}

void appendLines(std::string& text, double timestamp, const LabelledValues& values, bool isResult) {
    constexpr std::string_view beforeTimestamp = "{\"timestamp\":", beforeName = ",\"name\":";
    std::array<char, beforeTimestamp.size() + JsonText::longestNumber + beforeName.size()> space;
    char* end = std::copy(beforeTimestamp.begin(), beforeTimestamp.end(), space.data());
    end = JsonText::write(end, timestamp);
    end = std::copy(beforeName.begin(), beforeName.end(), end);
    const std::string_view opening(space.data(), static_cast<std::size_t>(end - space.data()));

    JsonText json(text);
    for (const auto& [name, value] : values) {
        json.put(opening);
        json.string(name);
        writeValue(json, value, isResult);
        json.put("}\n");
    }
    json.flush();
}

}  // namespace

std::string createJsonLines(const std::vector<KelvaneInput>& from) {
    auto written = withinMemoryOrError([&] {
        std::string text;
        for (const auto& batch : from) appendLines(text, batch.timestamp, batch.updates, false);
        if (!text.empty()) text.pop_back();
        return text;
    });
    return std::move(written).value_or(std::string());
}

bool appendJsonLines(std::string& text, const KelvaneOutput& output) {
    const auto before = text.size();
    const auto appended = withinMemoryOrError([&] {
        appendLines(text, output.timestamp, output.outputs, true);
        return true;
    });
    if (!appended) text.resize(before);
    return appended.has_value();
}

}  // namespace KelvaneSDK
