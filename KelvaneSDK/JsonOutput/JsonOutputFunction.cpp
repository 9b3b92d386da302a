#include <algorithm>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/Functions/FastRows.h"
#include "KelvaneSDK/Functions/FunctionFamilies.h"
#include "KelvaneSDK/JsonOutput/JsonOutputRecords.h"

namespace KelvaneSDK {

namespace {

void fill(ValueInfo& entry, const Value& value) {
    switch (value.type()) {
        case ValueType::Float:
            entry.floatValue = value.get<double>();
            break;
        case ValueType::Integer:
            entry.integerValue = value.get<std::int64_t>();
            break;
        case ValueType::Vector:
            entry.vectorValue = value.get<Vector>();
            break;
        case ValueType::Orientation:
            entry.orientationValue = value.get<Orientation>();
            break;
        case ValueType::FloatArray:
            entry.arrayValue = value.get<List<double>>();
            break;
        case ValueType::Sequence:
            entry.sequenceValue = value.get<Sequence>();
            break;
        case ValueType::Boolean:
            entry.booleanValue = value.get<bool>();
            break;
        case ValueType::String:
            entry.stringValue = value.get<String>();
            break;
        default:
            printDiagnostic("ERROR: unsupported type in JSON conversion!");
    }
}

std::string withEntry(std::string_view text, std::string_view label, const Value& value) {
    auto document = JsonInfo::decode(text).value_or(JsonInfo{});
    const auto found = std::find_if(document.values.begin(), document.values.end(),
                                    [&](const ValueInfo& entry) { return entry.label == label; });
    ValueInfo& entry = found == document.values.end() ? document.values.emplace_back() : *found;
    entry = ValueInfo{};
    entry.label = std::string(label);
    fill(entry, value);
    return document.encode();
}

}  // namespace

NodeFamily jsonOutputFunctions() {
    return functionFamily("JSON output",
                          {pure(
                               "JSON output", {{"document", "the JSON text so far"}, {"label"}, {"value"}},
                               [](std::string_view document, std::string_view label, Anything value) {
                                   return withEntry(document, label, value.value);
                               },
                               "the JSON document with the value entered under the label")
                               .keywords("text write format")
                               .applies(SlotOperation::writeJson)
                               .also([](Declaration& json) {
                                   json.withoutOperation = WithoutOperation::emitsAnyway;
                                   json.reportsUnsupported = true;
                               })});
}

}  // namespace KelvaneSDK
