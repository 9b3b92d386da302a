#include <algorithm>

#include "KelvaneSDK/Diagnostics.h"
#include "KelvaneSDK/FunctionFamilies.h"
#include "KelvaneSDK/FunctionNode.h"
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

class JsonOutputFunction final : public FunctionNode {
public:
    void createInputs() override {
        addInputs<StringValue, StringValue, TimestampedVariable>("document", "label", "value");
    }
    void createOutput() override { setOutput<StringValue>(); }
    void setTypeString() override { typeString = "JSON output"; }
    void process() override {
        auto document = JsonInfo::decode(text(0)).value_or(JsonInfo{});
        const std::string_view label = text(1);
        const auto found = std::find_if(document.values.begin(), document.values.end(),
                                        [&](const ValueInfo& entry) { return entry.label == label; });
        ValueInfo& entry = found == document.values.end() ? document.values.emplace_back() : *found;
        entry = ValueInfo{};
        entry.label = std::string(label);
        fill(entry, value(2));
        finish(document.encode());
    }
};

}  // namespace

NodeFamily jsonOutputFunctions() {
    return functionFamily(
        "JSON output",
        {entry<JsonOutputFunction>("the JSON document with the value entered under the label")});
}

}  // namespace KelvaneSDK
