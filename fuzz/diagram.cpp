// Random diagrams over the whole registry: what the checker calls sound builds and evaluates without an end
// that the diagram alone causes, two engines agree batch by batch, a reset engine repeats itself, and an
// exported diagram reads back the same.

#include <fuzzer/FuzzedDataProvider.h>

#include <limits>

#include "support.h"

using namespace KelvaneSDK;

namespace {

using Provider = FuzzedDataProvider;

double anyDouble(Provider& data) {
    constexpr double special[] = {0.0, -0.0, 1.0, -1.0, 0.5, 1e308, -1e308, 5e-324, 9223372036854775808.0};
    switch (data.ConsumeIntegralInRange(0, 4)) {
        case 0:
            return data.PickValueInArray(special);
        case 1:
            return std::numeric_limits<double>::infinity();
        case 2:
            return std::numeric_limits<double>::quiet_NaN();
        default:
            return data.ConsumeIntegralInRange(-20, 20) * 0.25;
    }
}

std::int64_t anyInteger(Provider& data) {
    return data.ConsumeBool() ? data.ConsumeIntegralInRange<std::int64_t>(-3, 5)
                              : data.ConsumeIntegral<std::int64_t>();
}

template <class Item, class Make>
List<Item> anyList(Provider& data, Make make) {
    ListBuilder<Item> items;
    for (int count = data.ConsumeIntegralInRange(0, 4); count > 0; --count) items.append(make(data));
    return items.finish();
}

Vector anyVector(Provider& data) { return {anyDouble(data), anyDouble(data), anyDouble(data)}; }
Orientation anyOrientation(Provider& data) {
    return {anyDouble(data), anyDouble(data), anyDouble(data), anyDouble(data)};
}
String anyText(Provider& data) { return String(data.ConsumeRandomLengthString(6)); }
Sequence anySequence(Provider& data) {
    return Sequence(anyList<Sample>(data, [](Provider& d) { return Sample{anyDouble(d), anyDouble(d)}; }));
}

Value anyValue(Provider& data, ValueType type) {
    switch (type) {
        case ValueType::Float:
            return anyDouble(data);
        case ValueType::Integer:
            return anyInteger(data);
        case ValueType::Boolean:
            return data.ConsumeBool();
        case ValueType::Vector:
            return anyVector(data);
        case ValueType::Orientation:
            return anyOrientation(data);
        case ValueType::String:
            return anyText(data);
        case ValueType::Sequence:
            return anySequence(data);
        case ValueType::FloatArray:
            return anyList<double>(data, anyDouble);
        case ValueType::IntegerArray:
            return anyList<std::int64_t>(data, anyInteger);
        case ValueType::BooleanArray:
            return anyList<bool>(data, [](Provider& d) { return d.ConsumeBool(); });
        case ValueType::StringArray:
            return anyList<String>(data, anyText);
        case ValueType::VectorArray:
            return anyList<Vector>(data, anyVector);
        case ValueType::OrientationArray:
            return anyList<Orientation>(data, anyOrientation);
        case ValueType::SequenceArray:
            return anyList<Sequence>(data, anySequence);
        default:
            return anyList<Sample>(data, [](Provider& d) { return Sample{anyDouble(d), anyDouble(d)}; });
    }
}

std::string anyName(Provider& data, NodeCategory category) {
    const auto& classes = NodeRegistry::library().classes(category);
    auto chosen = classes.begin();
    std::advance(chosen, data.ConsumeIntegralInRange<std::size_t>(0, classes.size() - 1));
    return chosen->first;
}

DiagramInfo anyDiagram(Provider& data) {
    DiagramInfo info;
    const auto count = data.ConsumeIntegralInRange<std::int64_t>(1, 12);
    for (std::int64_t id = 0; id < count; ++id) {
        const auto category =
            data.PickValueInArray({NodeCategory::Function, NodeCategory::Function, NodeCategory::InputStream,
                                   NodeCategory::Constant, NodeCategory::VariableOutput});
        const std::string label(1, static_cast<char>('a' + data.ConsumeIntegralInRange(0, 5)));
        info.nodes.push_back(
            {id, std::string(classStringOf(category)), anyName(data, category), std::nullopt});
        if (data.ConsumeBool()) info.nodes.back().outputType = anyName(data, NodeCategory::Constant);
        info.properties.push_back({id, "Description", label});
        if (category == NodeCategory::Constant) {
            constexpr const char* texts[] = {"0",       "1",         "-1",      "0.5", "true",
                                             "(1,2,3)", "(0,0,0,1)", "1,2,3,4", "x"};
            info.properties.push_back({id, "OutputValue", data.PickValueInArray(texts)});
        }
        info.positions.push_back({id, static_cast<double>(id), 0});
    }
    for (auto wires = data.ConsumeIntegralInRange(0, 20); wires > 0; --wires) {
        info.connections.push_back({data.ConsumeIntegralInRange<std::int64_t>(0, count),
                                    data.ConsumeIntegralInRange<std::int64_t>(0, count),
                                    data.ConsumeIntegralInRange<std::int64_t>(0, 3)});
    }
    return info;
}

std::vector<KelvaneInput> anyBatches(Provider& data, const Kelvane& engine) {
    std::vector<KelvaneInput> batches;
    double timestamp = 0;
    for (auto count = data.ConsumeIntegralInRange(1, 8); count > 0; --count) {
        timestamp += data.ConsumeIntegralInRange(-1, 3) * 0.5;
        KelvaneInput batch{timestamp, {}};
        for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
            if (data.ConsumeBool()) continue;
            batch.updates.insert_or_assign(stream->label(),
                                           anyValue(data, stream->outputValue()->payload()->type()));
        }
        batches.push_back(std::move(batch));
    }
    return batches;
}

// The results as text, in which NaN equals NaN.
std::string evaluated(Kelvane& engine, const std::vector<KelvaneInput>& batches) {
    std::string text;
    for (const auto& batch : batches) {
        for (const auto& [label, value] : engine.evaluate(batch).outputs) {
            text += label + "=" + getValueString(value) + ";";
        }
        text += "\n";
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    KelvaneFuzz::prepare();
    Provider data(bytes, size);
    const std::string document = DiagramData{anyDiagram(data)}.encode();
    bool exportStops = false;
    for (const auto& finding : checkDiagram(document)) {
        if (finding.fatal) return 0;
        exportStops |= finding.code.find("integer-array") != std::string::npos;
    }
    Kelvane engine, twin;
    try {
        KelvaneFuzz::require(engine.read(document, true) && twin.read(document, true),
                             "a sound diagram builds");
    } catch (const KelvaneFuzz::Stopped&) {
        KelvaneFuzz::require(false, "a sound diagram builds without a stop");
    }
    const auto batches = anyBatches(data, engine);
    try {
        KelvaneFuzz::require(evaluated(engine, batches) == evaluated(twin, batches), "two engines agree");
    } catch (const KelvaneFuzz::Stopped&) {
        return 0;
    }
    if (exportStops) return 0;
    KelvaneFuzz::prepare();
    const std::string exported = engine.createJSON();
    Kelvane again;
    KelvaneFuzz::require(again.read(exported, true), "an exported diagram builds");
    KelvaneFuzz::require(again.createJSON() == exported, "an exported diagram reads back the same");
    return 0;
}
