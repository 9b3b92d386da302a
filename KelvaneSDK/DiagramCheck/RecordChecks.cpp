#include "KelvaneSDK/DiagramCheck/RecordChecks.h"

#include <algorithm>
#include <limits>
#include <unordered_map>
#include <unordered_set>

#include "KelvaneSDK/DiagramCheck/ConstantText.h"
#include "KelvaneSDK/DiagramCheck/NearestName.h"
#include "KelvaneSDK/FileProcessing/ValueParsing.h"

namespace KelvaneSDK {

namespace {

constexpr std::string_view booleanTexts[] = {"true", "false"};

std::vector<std::string_view> concreteTypeNames() {
    std::vector<std::string_view> names;
    for (const auto scalar :
         {ValueClass::FloatValue, ValueClass::IntegerValue, ValueClass::VectorValue, ValueClass::BooleanValue,
          ValueClass::OrientationValue, ValueClass::StringValue, ValueClass::SequenceValue}) {
        names.push_back(typeString(scalar));
        names.push_back(typeString(*arrayClass(scalar)));
    }
    return names;
}

class NodeCheck {
public:
    NodeCheck(const DiagramInfo& info, const NodeRegistry& types, NodeTable& table, Wiring& wires,
              FindingList& list)
        : document(info), registry(types), nodes(table), wiring(wires), findings(list) {}

    void run() {
        std::unordered_map<std::int64_t, std::vector<std::size_t>> rows;
        for (std::size_t i = 0; i < document.properties.size(); ++i)
            rows[document.properties[i].id].push_back(i);
        for (NodeIndex i = 0; i < nodes.size(); ++i) {
            const auto properties = rows.find(nodes[i].record->id);
            const bool hasProperties = properties != rows.end();
            // The label first, so that every finding about the node can tell it.
            if (hasProperties) takeLabel(nodes[i], properties->second);
            checkId(i);
            checkType(i);
            if (nodes[i].shape == nullptr) continue;
            if (nodes[i].record->outputType) checkOutputType(i);
            if (nodes[i].is(NodeCategory::Constant) && wiring.outputClass(i)) {
                nodes[i].constant = makeSlot(*wiring.outputClass(i), true)->value();
            }
            if (!hasProperties) continue;
            for (const auto row : properties->second) checkProperty(i, row);
            warnOfFilledIntegerArray(i);
        }
        for (std::size_t row = 0; row < document.properties.size(); ++row) {
            const auto& property = document.properties[row];
            if (nodes.find(property.id)) continue;
            findings
                .warning("property-unknown-id", Section::properties, row,
                         quoted(property.propertyString) + " is set for node " + std::to_string(property.id) +
                             ", which does not exist")
                .subject("id");
        }
    }

private:
    void takeLabel(CheckedNode& node, const std::vector<std::size_t>& rows) const {
        for (const auto row : rows) {
            if (document.properties[row].propertyString == "Description")
                node.label = document.properties[row].valueString;
        }
    }

    void checkId(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        const auto first = nodes.find(node.record->id);
        if (first != index) {
            findings
                .error("duplicate-id", Section::nodes, index,
                       "the id belongs to " + nodeName(nodes[*first]) + " in nodes[" +
                           std::to_string(*first) + "] already, which takes all connections to it")
                .about(node)
                .subject("id");
        }
        if (node.record->id == std::numeric_limits<std::int64_t>::max()) {
            findings
                .error("id-leaves-no-room", Section::nodes, index,
                       "no larger id exists for the nodes that the document is appended to")
                .about(node)
                .subject("id");
        }
    }

    void checkType(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        if (node.shape != nullptr) return;
        const NodeInfo& record = *node.record;
        if (const auto category = categoryNamed(record.classString)) {
            const std::string what = *category == NodeCategory::Function ? "function" : "type of this class";
            findings
                .error("unknown-type", Section::nodes, index,
                       "no " + what + " is called " + quoted(record.typeString))
                .about(node)
                .subject("typeString")
                .didYouMean(nearestType(*category, record.typeString));
        } else {
            std::vector<std::string_view> names;
            for (const auto known : allNodeCategories) names.push_back(classStringOf(known));
            findings
                .error("unknown-class", Section::nodes, index,
                       "no node class is called " + quoted(record.classString))
                .about(node)
                .subject("classString")
                .didYouMean(nearestName(record.classString, names));
        }
        // The engine gives up at the first one.
        findings.engineEndsHere();
    }

    std::string_view nearestType(NodeCategory category, std::string_view name) {
        auto& candidates = typeNames[static_cast<std::size_t>(category)];
        if (candidates.empty()) {
            for (const auto& [typeName, nodeClass] : registry.classes(category))
                candidates.push_back(typeName);
        }
        const auto [known, isNew] = nearest.try_emplace(name);
        if (isNew) known->second = nearestName(name, candidates);
        return known->second;
    }

    void checkOutputType(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        const std::string& wanted = *node.record->outputType;
        const auto before = wiring.outputClass(index);
        if (!before) {
            findings
                .error("output-missing", Section::nodes, index,
                       "the node has no output that could take a type")
                .about(node)
                .subject("outputType")
                .fatal();
            return;
        }
        if (!wiring.setOutputType(index, wanted)) {
            findings
                .error("unknown-output-type", Section::nodes, index,
                       "no value type is called " + quoted(wanted))
                .about(node)
                .subject("outputType")
                .didYouMean(nearestName(wanted, concreteTypeNames()));
            return;
        }
        const auto actual = typeString(*wiring.outputClass(index));
        if (actual == wanted) return;
        const std::string why =
            isGeneric(*before) ? "the output's kind makes it " : "the output is always of type ";
        findings
            .warning("output-type-overridden", Section::nodes, index,
                     "the output type " + quoted(wanted) + " has no effect: " + why + quoted(actual))
            .about(node)
            .subject("outputType");
    }

    void checkProperty(NodeIndex index, std::size_t row) {
        CheckedNode& node = nodes[index];
        const std::string& name = document.properties[row].propertyString;
        const std::string& value = document.properties[row].valueString;
        const auto checkBoolean = [&](bool& truth) {
            truth = value == "true";
            if (truth || value == "false") return;
            findings
                .warning("boolean-text", Section::properties, row,
                         quoted(name) + " is " + quoted(value) +
                             ", which counts as false; expected \"true\" or \"false\"")
                .about(node)
                .subject(name)
                .didYouMean(nearestName(value, booleanTexts));
        };
        bool unused = false;
        if (name == "Description") return;
        if (name == "OutputValue") return checkOutputValue(index, row);
        if (name == "Forwarding" && node.is(NodeCategory::InputStream)) return checkBoolean(node.forwarding);
        if (name == "Hidden" && node.is(NodeCategory::VariableOutput)) return checkBoolean(unused);
        if (name == "Color") {
            if (!bodyColorNamed(value)) warnOfColor(findings, Section::properties, row, value).about(node);
            return;
        }
        std::vector<std::string_view> known{"Description", "OutputValue", "Color"};
        if (node.is(NodeCategory::InputStream)) known.push_back("Forwarding");
        if (node.is(NodeCategory::VariableOutput)) known.push_back("Hidden");
        findings
            .error("unknown-property", Section::properties, row,
                   "nodes of the class " + quoted(node.record->classString) + " have no property " +
                       quoted(name))
            .about(node)
            .subject(name)
            .didYouMean(nearestName(name, known));
    }

    void checkOutputValue(NodeIndex index, std::size_t row) {
        CheckedNode& node = nodes[index];
        const auto& [id, name, value] = document.properties[row];
        const auto outputClass = wiring.outputClass(index);
        if (!outputClass) {
            findings
                .error("output-missing", Section::properties, row,
                       "the node has no output that could take a value")
                .about(node)
                .subject(name)
                .fatal();
        } else if (!readsText(*outputClass)) {
            findings
                .warning("value-ignored", Section::properties, row,
                         "a value of type " + quoted(typeString(*outputClass)) + " cannot be set by a text")
                .about(node)
                .subject(name);
        } else if (auto parsed = valueFromText(*outputClass, value)) {
            if (node.constant) node.constant = std::move(parsed);
        } else {
            findings
                .error("value-unparsable", Section::properties, row,
                       quoted(value) + " is no value of type " + quoted(typeString(*outputClass)) +
                           "; expected " + std::string(textFormOf(*outputClass)))
                .about(node)
                .subject(name)
                .didYouMean(*outputClass == ValueClass::BooleanValue ? nearestName(value, booleanTexts)
                                                                     : std::string_view());
        }
    }

    void warnOfFilledIntegerArray(NodeIndex index) {
        const CheckedNode& node = nodes[index];
        if (!node.constant || node.constant->items<std::int64_t>().empty()) return;
        findings
            .warning("integer-array-constant", Section::nodes, index,
                     "an integer array has no text form, so that exporting the diagram stops the program")
            .about(node);
    }

    const DiagramInfo& document;
    const NodeRegistry& registry;
    NodeTable& nodes;
    Wiring& wiring;
    FindingList& findings;
    std::array<std::vector<std::string_view>, allNodeCategories.size()> typeNames;
    std::unordered_map<std::string_view, std::string_view> nearest;
};

}  // namespace

void checkNodes(const DiagramInfo& document, const NodeRegistry& registry, NodeTable& nodes, Wiring& wiring,
                FindingList& findings) {
    NodeCheck(document, registry, nodes, wiring, findings).run();
}

void checkPositions(const DiagramInfo& document, const NodeTable& nodes, FindingList& findings) {
    for (std::size_t i = 0; i < document.positions.size(); ++i) {
        const auto id = document.positions[i].id;
        if (nodes.find(id)) continue;
        findings
            .warning("position-unknown-id", Section::positions, i,
                     "a position is given for node " + std::to_string(id) + ", which does not exist")
            .subject("id");
    }
}

void checkSubdiagrams(const DiagramInfo& document, const NodeTable& nodes, FindingList& findings) {
    if (!document.subdiagrams || document.subdiagrams->empty()) return;
    std::vector<bool> contained(nodes.size());
    for (std::size_t i = 0; i < document.subdiagrams->size(); ++i) {
        const auto& subdiagram = (*document.subdiagrams)[i];
        for (std::size_t k = 0; k < subdiagram.nodeIds.size(); ++k) {
            if (const auto node = nodes.find(subdiagram.nodeIds[k])) {
                contained[*node] = true;
                continue;
            }
            findings
                .error("subdiagram-unknown-id", Section::subdiagrams, i,
                       "the subdiagram " + quoted(subdiagram.description) + " names node " +
                           std::to_string(subdiagram.nodeIds[k]) + ", which does not exist")
                .below("/nodeIds/" + std::to_string(k))
                .subject("nodeIds");
        }
    }
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        if (contained[i]) continue;
        findings.error("node-in-no-subdiagram", Section::nodes, i, "no subdiagram contains the node")
            .about(nodes[i]);
    }
}

void checkLabels(const NodeTable& nodes, FindingList& findings) {
    std::unordered_map<std::string_view, NodeIndex> outputs, streams;
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        if (!nodes[i].is(NodeCategory::VariableOutput)) continue;
        const auto [first, isNew] = outputs.try_emplace(nodes[i].label, i);
        if (isNew) continue;
        findings
            .warning("duplicate-label", Section::nodes, i,
                     "the label " + quoted(nodes[i].label) + " belongs to " + nodeName(nodes[first->second]) +
                         " too; of two values in one batch only the later node's is delivered")
            .about(nodes[i]);
    }
    const auto compare = [&](NodeIndex stream, NodeIndex other, std::string_view what) {
        if (nodes[stream].record->typeString == nodes[other].record->typeString) return;
        findings
            .warning("label-types-differ", Section::nodes, stream,
                     "the stream takes values of type " + quoted(nodes[stream].record->typeString) +
                         ", but " + std::string(what) + nodeName(nodes[other]) +
                         " of the same label has type " + quoted(nodes[other].record->typeString))
            .about(nodes[stream]);
    };
    for (NodeIndex i = 0; i < nodes.size(); ++i) {
        if (!nodes[i].is(NodeCategory::InputStream)) continue;
        if (const auto output = outputs.find(nodes[i].label); output != outputs.end()) {
            compare(i, output->second, "the variable output ");
        }
        const auto [first, isNew] = streams.try_emplace(nodes[i].label, i);
        if (!isNew) compare(i, first->second, "the stream ");
    }
}

FindingList::Draft warnOfColor(FindingList& findings, Section section, std::size_t index,
                               std::string_view color) {
    std::vector<std::string_view> names;
    for (const auto known : allBodyColors()) names.push_back(bodyColorName(known));
    return findings.warning("unknown-color", section, index, "no colour is called " + quoted(color))
        .subject("Color")
        .didYouMean(nearestName(color, names));
}

}  // namespace KelvaneSDK
