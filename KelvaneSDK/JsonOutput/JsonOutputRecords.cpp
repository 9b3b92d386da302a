#include "KelvaneSDK/JsonOutput/JsonOutputRecords.h"

#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/FileProcessing/PayloadReader.h"

namespace KelvaneSDK {

namespace {

template <class T>
bool readOptional(PayloadReader& payloads, const std::optional<simdjson::dom::element>& element,
                  std::optional<T>& target) {
    return !element || payloads.read(*element, target.emplace());
}

bool readEntry(PayloadReader& payloads, const simdjson::dom::element& element, ValueInfo& entry) {
    simdjson::dom::object object;
    if (element.get_object().get(object) != simdjson::SUCCESS) return false;
    const auto found =
        members<9>(object, {"label", "floatValue", "integerValue", "vectorValue", "orientationValue",
                            "arrayValue", "sequenceValue", "booleanValue", "stringValue"});
    const auto& [label, real, integer, vector, orientation, array, sequence, boolean, string] = found;
    std::optional<String> labelText;
    if (!readOptional(payloads, label, labelText)) return false;
    if (labelText) entry.label = std::string(labelText->view());
    return readOptional(payloads, real, entry.floatValue) &&
           readOptional(payloads, integer, entry.integerValue) &&
           readOptional(payloads, vector, entry.vectorValue) &&
           readOptional(payloads, orientation, entry.orientationValue) &&
           readOptional(payloads, array, entry.arrayValue) &&
           readOptional(payloads, sequence, entry.sequenceValue) &&
           readOptional(payloads, boolean, entry.booleanValue) &&
           readOptional(payloads, string, entry.stringValue);
}

std::optional<JsonInfo> read(const simdjson::dom::element& root) {
    simdjson::dom::object object;
    if (root.get_object().get(object) != simdjson::SUCCESS) return std::nullopt;
    const auto [values] = members<1>(object, {"values"});
    simdjson::dom::array array;
    if (!values || values->get_array().get(array) != simdjson::SUCCESS) return std::nullopt;
    JsonInfo info;
    PayloadReader payloads;
    for (const simdjson::dom::element element : array) {
        if (!readEntry(payloads, element, info.values.emplace_back())) return std::nullopt;
    }
    return info;
}

void writeEntry(JsonWriter& json, const ValueInfo& entry) {
    json.beginObject();
    if (entry.arrayValue) {
        json.key("arrayValue");
        json.beginArray();
        for (const double x : *entry.arrayValue) json.value(x);
        json.endArray();
    }
    if (entry.booleanValue) json.member("booleanValue", *entry.booleanValue);
    if (entry.floatValue) json.member("floatValue", *entry.floatValue);
    if (entry.integerValue) json.member("integerValue", *entry.integerValue);
    if (entry.label) json.member("label", std::string_view(*entry.label));
    if (entry.orientationValue) {
        json.key("orientationValue");
        json.beginObject();
        json.member("w", entry.orientationValue->w);
        json.member("x", entry.orientationValue->x);
        json.member("y", entry.orientationValue->y);
        json.member("z", entry.orientationValue->z);
        json.endObject();
    }
    if (entry.sequenceValue) {
        json.key("sequenceValue");
        json.beginArray();
        for (const auto& [t, f] : entry.sequenceValue->samples()) {
            json.beginObject();
            json.member("f", f);
            json.member("t", t);
            json.endObject();
        }
        json.endArray();
    }
    if (entry.stringValue) json.member("stringValue", entry.stringValue->view());
    if (entry.vectorValue) {
        json.key("vectorValue");
        json.beginObject();
        json.member("x", entry.vectorValue->x);
        json.member("y", entry.vectorValue->y);
        json.member("z", entry.vectorValue->z);
        json.endObject();
    }
    json.endObject();
}

}  // namespace

std::optional<JsonInfo> JsonInfo::decode(std::string_view text) {
    JsonReader reader;
    JsonFailure ignored;
    const auto root = reader.parse(text, ignored);
    if (!root) return std::nullopt;
    if (auto info = read(*root)) return info;
    const auto plain = reader.parseWithPlainIntegers(text);
    return plain ? read(*plain) : std::nullopt;
}

std::string JsonInfo::encode() const {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    json.beginObject();
    json.key("values");
    json.beginArray();
    for (const auto& entry : values) writeEntry(json, entry);
    json.endArray();
    json.endObject();
    return text;
}

}  // namespace KelvaneSDK
