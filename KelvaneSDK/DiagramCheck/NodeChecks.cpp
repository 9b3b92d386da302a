#include <algorithm>
#include <limits>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/FileProcessing/NumberText.h"
#include "KelvaneSDK/FileProcessing/ValueText.h"

namespace KelvaneSDK {

namespace {

constexpr std::string_view booleanTexts[] = {"true", "false"};

// How a value of the class is written; classes without a row read any text, or none.
std::string_view textFormOf(ValueClass valueClass) {
    using enum ValueClass;
    static const std::unordered_map<ValueClass, std::string_view> forms{
        {FloatValue, "a number"},
        {IntegerValue, "a whole number of 64 bits"},
        {BooleanValue, "\"true\" or \"false\""},
        {VectorValue, "three numbers between commas"},
        {OrientationValue, "four numbers between commas"},
        {SequenceValue, "pairs of numbers between commas"},
        {FloatArrayVariable, "numbers between commas"},
        {IntegerArrayVariable, "whole numbers of 64 bits between commas"},
        {BooleanArrayVariable, "\"true\" and \"false\" between commas"},
        {VectorArrayVariable, "groups of three numbers between commas"},
        {OrientationArrayVariable, "groups of four numbers between commas"}};
    return forms.at(valueClass);
}

std::vector<std::string_view> concreteTypeNames() {
    std::vector<std::string_view> names;
    for (auto valueClass = ValueClass::FloatValue; valueClass <= ValueClass::SequenceArrayVariable;
         valueClass = ValueClass(static_cast<unsigned>(valueClass) + 1)) {
        if (!isGeneric(valueClass)) names.push_back(typeString(valueClass));
    }
    return names;
}

class NodeCheck {
public:
    NodeCheck(CheckedDiagram& target, const NodeRegistry& types, FindingList& list)
        : diagram(target), info(target.info), registry(types), findings(list) {}

    void run() {
        for (std::uint32_t row = 0; row < info.properties.size(); ++row) rows.push_back(row);
        std::stable_sort(rows.begin(), rows.end(), [&](std::uint32_t a, std::uint32_t b) {
            return info.properties[a].id < info.properties[b].id;
        });
        for (NodeIndex i = 0; i < diagram.size(); ++i) {
            take(i);
            if (diagram[i].node != nullptr) setUp(i);
        }
        diagram.index();
        for (NodeIndex i = 0; i < diagram.size(); ++i) checkId(i);
        for (std::size_t row = 0; row < info.properties.size(); ++row) {
            const auto& property = info.properties[row];
            if (diagram.find(property.id)) continue;
            findings.add("property-unknown-id", {Section::properties, row},
                         quoted(property.propertyString) + " is set for node " + std::to_string(property.id) +
                             ", which does not exist",
                         {.subject = "id"});
        }
    }

private:
    static Place at(NodeIndex index) { return {Section::nodes, index}; }

    std::span<const std::uint32_t> propertiesOf(std::int64_t id) const {
        const auto first = std::partition_point(
            rows.begin(), rows.end(), [&](std::uint32_t row) { return info.properties[row].id < id; });
        const auto last = std::partition_point(
            first, rows.end(), [&](std::uint32_t row) { return info.properties[row].id == id; });
        return {first, last};
    }

    // The record with its label, and the node if there is such a class.
    void take(NodeIndex index) {
        CheckedNode& node = diagram[index];
        node.record = &info.nodes[index];
        node.label = node.record->typeString;
        for (const auto row : propertiesOf(node.record->id)) {
            if (info.properties[row].propertyString == "Description")
                node.label = info.properties[row].valueString;
        }
        const auto category = categoryNamed(node.record->classString);
        const auto* const nodeClass = category ? registry.find(*category, node.record->typeString) : nullptr;
        if (nodeClass == nullptr) return reportUnknown(index, category);
        node.node = nodeClass->make();
        node.node->id = node.record->id;
        node.category = *category;
        if (category == NodeCategory::Function) node.declaration = &nodeClass->declaration();
    }

    void reportUnknown(NodeIndex index, std::optional<NodeCategory> category) {
        const CheckedNode& node = diagram[index];
        if (category) {
            const std::string what = *category == NodeCategory::Function ? "function" : "type of this class";
            findings.add("unknown-type", at(index),
                         "no " + what + " is called " + quoted(node.record->typeString),
                         {.about = &node,
                          .subject = "typeString",
                          .nearest = nearestType(*category, node.record->typeString)});
        } else {
            std::vector<std::string_view> names;
            for (const auto known : allNodeCategories) names.push_back(classStringOf(known));
            findings.add("unknown-class", at(index),
                         "no node class is called " + quoted(node.record->classString),
                         {.about = &node,
                          .subject = "classString",
                          .nearest = nearestName(node.record->classString, names)});
        }
        // The engine gives up at the first one.
        findings.engineEndsHere();
    }

    std::string_view nearestType(NodeCategory category, std::string_view name) {
        const auto [known, isNew] = nearest[static_cast<std::size_t>(category)].try_emplace(name);
        if (!isNew) return known->second;
        std::vector<std::string_view> candidates;
        for (const auto& [typeName, nodeClass] : registry.classes(category)) candidates.push_back(typeName);
        return known->second = nearestName(name, candidates);
    }

    void setUp(NodeIndex index) {
        CheckedNode& node = diagram[index];
        if (node.record->outputType) checkOutputType(index);
        bool hasValue = false;
        for (const auto row : propertiesOf(node.record->id)) {
            hasValue |= info.properties[row].propertyString == "OutputValue";
            checkProperty(index, row);
        }
        const auto* const output = node.node->outputValue();
        if (!node.is(NodeCategory::Constant) || output == nullptr || !output->hasValue()) return;
        if (!hasValue && readsText(output->valueClass())) {
            findings.add(
                "constant-without-value", at(index),
                "no \"OutputValue\" is set, so that the constant is " + valueText(*output->payload()),
                {.about = &node});
        }
        if (!output->payload()->items<std::int64_t>().empty()) {
            findings.add("integer-array-constant", at(index),
                         "an integer array has no text form, so that exporting the diagram stops the program",
                         {.about = &node});
        }
    }

    // Reports a stop; false when there was none. `what` is what an output would have taken.
    bool reportStop(const StepOutcome& outcome, const Place& place, const CheckedNode& node,
                    std::string_view subject, std::string_view what) {
        if (!outcome.stop) return false;
        const bool lacksOutput = !what.empty() && node.node->outputValue() == nullptr;
        findings.add(lacksOutput ? Code("output-missing") : Code("building-stops"), place,
                     lacksOutput ? "the node has no output that could take a " + std::string(what)
                                 : "the program would stop here: " + shortened(outcome.stop->text),
                     {.about = &node, .subject = subject});
        return true;
    }

    void checkOutputType(NodeIndex index) {
        CheckedNode& node = diagram[index];
        const std::string& wanted = *node.record->outputType;
        const auto before = node.outputClass();
        node.node->setOutputType(wanted);
        const auto outcome = outcomeOf([&] { node.node->resolveOutputType(); });
        if (reportStop(outcome, at(index), node, "outputType", "type")) return;
        if (!outcome.lines.empty()) {
            findings.add("unknown-output-type", at(index), "no value type is called " + quoted(wanted),
                         {.about = &node,
                          .subject = "outputType",
                          .nearest = nearestName(wanted, concreteTypeNames())});
            return;
        }
        const auto actual = typeString(*node.outputClass());
        if (actual == wanted) return;
        const std::string why =
            isGeneric(*before) ? "the output's kind makes it " : "the output is always of type ";
        findings.add("output-type-overridden", at(index),
                     "the output type " + quoted(wanted) + " has no effect: " + why + quoted(actual),
                     {.about = &node, .subject = "outputType"});
    }

    void checkProperty(NodeIndex index, std::size_t row) {
        CheckedNode& node = diagram[index];
        const Place place{Section::properties, row};
        const std::string &name = info.properties[row].propertyString,
                          &value = info.properties[row].valueString;
        const auto outcome = outcomeOf([&] { node.node->setProperty(name, value); });
        if (reportStop(outcome, place, node, name, name == "OutputValue" ? "value" : "")) return;
        const bool isSwitch = (name == "Forwarding" && node.is(NodeCategory::InputStream)) ||
                              (name == "Hidden" && node.is(NodeCategory::VariableOutput));
        if (!outcome.lines.empty()) {
            reportRefusal(node, place, name, value, outcome.lines.front());
        } else if (name == "OutputValue") {
            checkReadValue(node, place, value);
        } else if (name == "Color" && !node.node->color) {
            warnOfColor(findings, place, value, &node);
        } else if (isSwitch && value != "true" && value != "false") {
            findings.add("boolean-text", place,
                         quoted(name) + " is " + quoted(value) +
                             ", which counts as false; expected \"true\" or \"false\"",
                         {.about = &node, .subject = name, .nearest = nearestName(value, booleanTexts)});
        }
    }

    void reportRefusal(const CheckedNode& node, const Place& place, const std::string& name,
                       const std::string& value, const std::string& line) {
        const auto outputClass = node.outputClass();
        if (name == "OutputValue" && outputClass && readsText(*outputClass)) {
            findings.add(
                "value-unparsable", place,
                quoted(value) + " is no value of type " + quoted(typeString(*outputClass)) + "; expected " +
                    std::string(textFormOf(*outputClass)),
                {.about = &node,
                 .subject = name,
                 .nearest = *outputClass == ValueClass::BooleanValue ? nearestName(value, booleanTexts)
                                                                     : std::string_view()});
            return;
        }
        if (!line.starts_with("ERROR: unknown propertyName ")) {
            findings.add("property-refused", place, "the node refuses " + quoted(name) + ": " + line,
                         {.about = &node, .subject = name});
            return;
        }
        std::vector<std::string_view> known{"Description", "OutputValue", "Color"};
        if (node.is(NodeCategory::InputStream)) known.push_back("Forwarding");
        if (node.is(NodeCategory::VariableOutput)) known.push_back("Hidden");
        findings.add(
            "unknown-property", place,
            "nodes of the class " + quoted(node.record->classString) + " have no property " + quoted(name),
            {.about = &node, .subject = name, .nearest = nearestName(name, known)});
    }

    void checkReadValue(const CheckedNode& node, const Place& place, const std::string& text) {
        const auto outputClass = node.outputClass();
        if (!outputClass) return;
        if (!readsText(*outputClass)) {
            findings.add("value-ignored", place,
                         "a value of type " + quoted(typeString(*outputClass)) + " cannot be set by a text",
                         {.about = &node, .subject = "OutputValue"});
            return;
        }
        const bool isSingle = *outputClass == ValueClass::FloatValue ||
                              *outputClass == ValueClass::IntegerValue ||
                              *outputClass == ValueClass::BooleanValue;
        const auto comma = text.find(',');
        if (!isSingle || comma == std::string::npos || !node.node->outputValue()->hasValue()) return;
        std::string withPoint = text;
        withPoint[comma] = '.';
        const bool hasPoint = *outputClass == ValueClass::FloatValue && parseDouble(withPoint);
        findings.add(
            "value-cut", place,
            quoted(text) + " is read as " + valueText(*node.node->outputValue()->payload()) +
                "; what follows the comma is dropped",
            {.about = &node, .subject = "OutputValue", .nearest = hasPoint ? withPoint : std::string_view()});
    }

    void checkId(NodeIndex index) {
        CheckedNode& node = diagram[index];
        const auto first = *diagram.find(node.record->id);
        if (first != index) {
            node.lacksReader = node.lacksFeeder = true;
            findings.add("duplicate-id", at(index),
                         "the id belongs to " + diagram[first].name() +
                             (node.place.line > 0 ? "" : " in nodes[" + std::to_string(first) + "]") +
                             " already, which takes all connections to it",
                         {.about = &node, .subject = "id"});
        }
        if (node.record->id == std::numeric_limits<std::int64_t>::max()) {
            findings.add("id-leaves-no-room", at(index),
                         "no larger id exists for the nodes that the document is appended to",
                         {.about = &node, .subject = "id"});
        }
    }

    CheckedDiagram& diagram;
    const DiagramInfo& info;
    const NodeRegistry& registry;
    FindingList& findings;
    // The property records by node id, those of one node in document order.
    std::vector<std::uint32_t> rows;
    std::array<std::unordered_map<std::string_view, std::string_view>, allNodeCategories.size()> nearest;
};

}  // namespace

void checkNodes(CheckedDiagram& diagram, const NodeRegistry& registry, FindingList& findings) {
    NodeCheck(diagram, registry, findings).run();
}

std::string valueText(const Value& value) {
    const std::size_t count = value.elementCount();
    constexpr std::size_t mostElements = 20;
    if (value.type() == ValueType::String) return quoted(value.get<String>()->view());
    return count > mostElements ? std::to_string(count) + " elements" : shortened(getValueString(value));
}

void warnOfColor(FindingList& findings, const Place& place, std::string_view color, const CheckedNode* node) {
    std::vector<std::string_view> names;
    for (const auto known : allBodyColors()) names.push_back(bodyColorName(known));
    findings.add("unknown-color", place, "no colour is called " + quoted(color),
                 {.about = node, .subject = "Color", .nearest = nearestName(color, names)});
}

}  // namespace KelvaneSDK
