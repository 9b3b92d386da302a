#include "AnyDiagram.h"

#include <limits>
#include <map>

#include "KelvaneSDK/Values/SlotClasses.h"

namespace KelvaneFuzz {

using namespace KelvaneSDK;

namespace {

double anyDouble(Choices& choices) {
    using Limits = std::numeric_limits<double>;
    constexpr double infinity = Limits::infinity(), nan = Limits::quiet_NaN();
    constexpr double special[] = {0.0,    -0.0,   1.0,    -1.0,         0.5,      1e308,     -1e308,
                                  5e-324, 0x1p63, 1e-300, 0x1p52 + 1.5, infinity, -infinity, nan};
    return choices.flag() ? choices.oneOf(special) : choices.between(-20, 20) * 0.25;
}

std::int64_t anyInteger(Choices& choices) {
    constexpr std::int64_t special[] = {std::numeric_limits<std::int64_t>::max(),
                                        std::numeric_limits<std::int64_t>::min(), 1 << 20, -(1 << 20)};
    if (choices.oneIn(8)) return choices.any<std::int64_t>();
    return choices.oneIn(4) ? choices.oneOf(special) : choices.between(-3, 5);
}

bool anyBoolean(Choices& choices) { return choices.flag(); }
Vector anyVector(Choices& choices) {
    const double x = anyDouble(choices), y = anyDouble(choices);
    return {x, y, anyDouble(choices)};
}
Orientation anyOrientation(Choices& choices) {
    const auto [x, y, z] = anyVector(choices);
    return {x, y, z, anyDouble(choices)};
}
String anyText(Choices& choices) { return {choices.text(6)}; }
Sample anySample(Choices& choices) {
    const double t = anyDouble(choices);
    return {t, anyDouble(choices)};
}

template <class Item>
List<Item> anyList(Choices& choices, Item (*make)(Choices&)) {
    ListBuilder<Item> items;
    for (int count = choices.between(0, 6); count > 0; --count) items.append(make(choices));
    return items.finish();
}

// Half of the sequences are in order, as functions expect them.
Sequence anySequence(Choices& choices) {
    if (choices.flag()) return Sequence(anyList(choices, anySample));
    ListBuilder<Sample> samples;
    double t = anyDouble(choices);
    for (int count = choices.between(0, 12); count > 0; --count) {
        t += choices.between(0, 4) * 0.25;
        samples.append({t, anyDouble(choices)});
    }
    return Sequence(samples.finish());
}

template <auto make>
Value one(Choices& choices) {
    return make(choices);
}
template <auto make>
Value listOf(Choices& choices) {
    return anyList(choices, make);
}

const std::string& anyName(Choices& choices, NodeCategory category) {
    return choices.oneOf(NodeRegistry::library().classes(category)).first;
}

/// Puts a document together; every node is fed by nodes made before it, so that there are no cycles unless
/// wild wires make some.
class DiagramMaker {
public:
    explicit DiagramMaker(Choices& source) : choices(source) {}

    DiagramInfo make(bool wild) {
        addSource(ValueClass::FloatValue);
        for (int count = choices.between(1, 10); count > 0; --count) addFunction();
        for (int count = choices.between(1, 4); count > 0; --count) addOutput();
        if (wild) {
            const auto last = static_cast<std::int64_t>(info.nodes.size());
            for (int count = choices.between(1, 3); count > 0; --count) {
                const auto from = choices.between<std::int64_t>(0, last);
                info.connections.push_back(
                    {from, choices.between<std::int64_t>(0, last), choices.between<std::int64_t>(0, 3)});
            }
        }
        shuffle(info.nodes);
        if (choices.flag()) shuffle(info.connections);
        return std::move(info);
    }

private:
    std::int64_t add(NodeCategory category, const std::string& type) {
        const auto id = static_cast<std::int64_t>(info.nodes.size());
        info.nodes.push_back({id, std::string(classStringOf(category)), type, std::nullopt});
        info.positions.push_back({id, static_cast<double>(id), 0});
        if (category != NodeCategory::Function) {
            const std::string label(1, static_cast<char>('a' + choices.between(0, 5)));
            info.properties.push_back({id, "Description", label});
        }
        return id;
    }

    std::int64_t addSource(ValueClass type) {
        const std::string name(typeString(type));
        const bool isConstant = choices.flag();
        const auto id = add(isConstant ? NodeCategory::Constant : NodeCategory::InputStream, name);
        if (isConstant) {
            const auto slot = makeSlot(type);
            slot->setValue(anyValue(choices, *payloadType(type)));
            // Filled integer arrays have no text form; setConstant() fills them.
            std::string text = type == ValueClass::IntegerArrayVariable ? "" : slot->stringValue();
            for (char& character : text) character = static_cast<char>(character & 0x7f);
            info.properties.push_back({id, "OutputValue", choices.oneIn(32) ? "x" : text});
        } else if (choices.oneIn(4)) {
            info.properties.push_back({id, "Forwarding", "false"});
        }
        return sources[type].emplace_back(id);
    }

    void feed(ValueClass type, std::int64_t to, std::size_t input) {
        const auto found = sources.find(type);
        const bool makeOne = found == sources.end() || choices.oneIn(4);
        const auto from = makeOne ? addSource(type) : choices.oneOf(found->second);
        info.connections.push_back({from, to, static_cast<std::int64_t>(input)});
    }

    // What a generic slot becomes when it meets `type`; absent where it takes no such values.
    static std::optional<ValueClass> specialized(ValueClass slot, ValueClass type) {
        return isGeneric(slot) ? adoptedClass(slot, type) : slot;
    }

    void addFunction() {
        const auto& name = anyName(choices, NodeCategory::Function);
        const auto node = NodeRegistry::library().find(NodeCategory::Function, name)->make();
        const auto supported = [&](ValueClass type) {
            const auto list = node->unsupportedTypes();
            return std::find(list.begin(), list.end(), type) == list.end();
        };
        auto type = ValueClass::FloatValue;
        if (choices.flag()) type = choices.oneOf(sources).first;
        if (choices.oneIn(4)) type = *concreteClassNamed(anyName(choices, NodeCategory::InputStream));
        if (!supported(type) && !choices.oneIn(16)) type = ValueClass::FloatValue;

        const auto inputs = node->inputValues();
        std::vector<ValueClass> wanted;
        for (const auto* input : inputs) {
            const auto slot = specialized(input->valueClass(), type);
            if (!slot) return;
            wanted.push_back(*slot);
        }
        auto output = node->outputValue() == nullptr ? std::nullopt
                                                     : specialized(node->outputValue()->valueClass(), type);
        const auto id = add(NodeCategory::Function, name);
        if (output && (isGeneric(node->outputValue()->valueClass()) != choices.oneIn(32))) {
            info.nodes.back().outputType = std::string(typeString(*output));
        }
        for (std::size_t input = 0; input < inputs.size(); ++input) {
            if (choices.oneIn(32)) continue;
            do feed(wanted[input], id, input);
            while (choices.oneIn(12));
        }
        if (output) sources[*output].push_back(id);
    }

    void addOutput() {
        const auto type = choices.oneOf(sources).first;
        const auto id = add(NodeCategory::VariableOutput, std::string(typeString(type)));
        if (choices.oneIn(4)) info.properties.push_back({id, "Hidden", "true"});
        do {
            // Mostly what was made last, so that a function's result is seen.
            auto& ids = sources.at(type);
            info.connections.push_back({choices.flag() ? choices.oneOf(ids) : ids.back(), id, 0});
        } while (choices.oneIn(8));
    }

    template <class Items>
    void shuffle(Items& items) {
        for (std::size_t i = 1; i < items.size(); ++i) {
            std::swap(items[i], items[choices.between<std::size_t>(0, std::min<std::size_t>(i, 255))]);
        }
    }

    Choices& choices;
    DiagramInfo info;
    std::map<ValueClass, std::vector<std::int64_t>> sources;
};

}  // namespace

Value anyValue(Choices& choices, ValueType type) {
    // In the order of ValueType.
    static constexpr Value (*makers[])(Choices&) = {
        one<anyDouble>,  one<anyInteger>,   one<anyBoolean>,        one<anyVector>,      one<anyOrientation>,
        one<anyText>,    one<anySequence>,  listOf<anyDouble>,      listOf<anyInteger>,  listOf<anyBoolean>,
        listOf<anyText>, listOf<anyVector>, listOf<anyOrientation>, listOf<anySequence>, listOf<anySample>};
    return makers[static_cast<std::size_t>(type)](choices);
}

DiagramInfo anyDiagram(Choices& choices, bool wild) { return DiagramMaker(choices).make(wild); }

std::vector<KelvaneInput> anyBatches(Choices& choices, const Kelvane& engine) {
    std::vector<KelvaneInput> batches;
    double timestamp = 0;
    for (int count = choices.between(1, 8); count > 0; --count) {
        timestamp = choices.oneIn(32) ? anyDouble(choices) : timestamp + choices.between(-1, 3) * 0.5;
        KelvaneInput batch{timestamp, {}};
        for (const auto& stream : engine.nodeList(NodeCategory::InputStream)) {
            if (choices.oneIn(4)) continue;
            const auto type =
                choices.oneIn(32)
                    ? static_cast<ValueType>(choices.between(0, static_cast<int>(ValueType::SampleArray)))
                    : stream->outputValue()->payload()->type();
            batch.updates.insert_or_assign(stream->label(), anyValue(choices, type));
        }
        batches.push_back(std::move(batch));
    }
    return batches;
}

void setAnyConstants(Choices& choices, Kelvane& engine) {
    for (const auto& node : engine.nodeList(NodeCategory::Constant)) {
        if (!choices.oneIn(3)) continue;
        if (const auto* present = node->outputValue()->payload()) {
            engine.setConstant(node->label(), anyValue(choices, present->type()));
        }
    }
}

std::string textOf(const KelvaneOutput& output) {
    std::string text;
    for (const auto& [label, value] : output.outputs) {
        text += std::string(label) + "=" + std::string(valueTypeName(value.type())) + " " +
                getValueString(value) + "\n";
    }
    return text;
}

}  // namespace KelvaneFuzz
