#include "KelvaneSDK/FileProcessing/InputRecording.h"
#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

void write(JsonWriter& json, double x) { json.value(x); }
void write(JsonWriter& json, std::int64_t n) { json.value(n); }
void write(JsonWriter& json, bool truth) { json.value(truth); }
void write(JsonWriter& json, const String& text) { json.value(text.view()); }

void write(JsonWriter& json, const Vector& v) {
    json.beginObject();
    json.member("x", v.x);
    json.member("y", v.y);
    json.member("z", v.z);
    json.endObject();
}

void write(JsonWriter& json, const Orientation& q) {
    json.beginObject();
    json.member("x", q.x);
    json.member("y", q.y);
    json.member("z", q.z);
    json.member("w", q.w);
    json.endObject();
}

void write(JsonWriter& json, const Sample& sample) {
    json.beginObject();
    json.member("t", sample.t);
    json.member("f", sample.f);
    json.endObject();
}

void write(JsonWriter& json, const Sequence& sequence);

template <class Item>
void write(JsonWriter& json, std::span<const Item> items) {
    json.beginArray();
    for (const auto& item : items) write(json, item);
    json.endArray();
}

void write(JsonWriter& json, const Sequence& sequence) { write(json, sequence.samples().items()); }

template <class T>
void member(JsonWriter& json, std::string_view key, const T& content) {
    json.key(key);
    write(json, content);
}

// Writes the value under its key. Only results have keys for the engine's own sequences and for arrays of
// them.
void writeValue(JsonWriter& json, const Value& value, bool isResult) {
    switch (value.type()) {
        case ValueType::Float:
            return member(json, "floatValue", value.as<double>());
        case ValueType::Integer:
            return member(json, "integerValue", value.as<std::int64_t>());
        case ValueType::Boolean:
            return member(json, "booleanValue", value.as<bool>());
        case ValueType::Vector:
            return member(json, "vectorValue", value.as<Vector>());
        case ValueType::Orientation:
            return member(json, "orientationValue", value.as<Orientation>());
        case ValueType::String:
            return member(json, "stringValue", value.as<String>());
        case ValueType::SampleArray:
            return member(json, "sequenceValue", value.items<Sample>());
        case ValueType::FloatArray:
            return member(json, "floatArrayValue", value.items<double>());
        case ValueType::IntegerArray:
            return member(json, "integerArrayValue", value.items<std::int64_t>());
        case ValueType::BooleanArray:
            return member(json, "booleanArrayValue", value.items<bool>());
        case ValueType::VectorArray:
            return member(json, "vectorArrayValue", value.items<Vector>());
        case ValueType::OrientationArray:
            return member(json, "orientationArrayValue", value.items<Orientation>());
        case ValueType::StringArray:
            return member(json, "stringArrayValue", value.items<String>());
        case ValueType::Sequence:
            if (isResult) member(json, "sequenceValue", value.items<Sample>());
            return;
        case ValueType::SequenceArray:
            if (isResult) member(json, "sequenceArrayValue", value.items<Sequence>());
            return;
    }
}

void appendLine(std::string& text, double timestamp, std::string_view name, const Value& value,
                bool isResult) {
    JsonWriter json(text);
    json.beginObject();
    json.member("timestamp", timestamp);
    json.member("name", name);
    writeValue(json, value, isResult);
    json.endObject();
    text += '\n';
}

}  // namespace

std::string createJsonLines(const std::vector<KelvaneInput>& from) {
    auto written = withinMemoryOrError([&] {
        std::string text;
        for (const auto& batch : from) {
            for (const auto& [name, value] : batch.updates) {
                appendLine(text, batch.timestamp, name, value, false);
            }
        }
        if (!text.empty()) text.pop_back();
        return text;
    });
    return std::move(written).value_or(std::string());
}

bool appendJsonLines(std::string& text, const KelvaneOutput& output) {
    const auto before = text.size();
    const auto appended = withinMemoryOrError([&] {
        for (const auto& [name, value] : output.outputs) {
            appendLine(text, output.timestamp, name, value, true);
        }
        return true;
    });
    if (!appended) text.resize(before);
    return appended.has_value();
}

}  // namespace KelvaneSDK
