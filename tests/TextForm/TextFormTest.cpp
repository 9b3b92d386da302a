#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "../fuzz/AnyDiagram.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace KelvaneSDK {

namespace {

const NodeInfo* nodeOf(const DiagramInfo& info, std::int64_t id) {
    const auto found = std::find_if(info.nodes.begin(), info.nodes.end(), [&](const auto& node) { return node.id == id; });
    return found == info.nodes.end() ? nullptr : &*found;
}

// What makes no difference to a diagram is made equal: the order of what is said about different nodes, and of different
// properties of one; properties that say what a node has anyway; positions that are replaced; empty lists.
DiagramInfo normalised(DiagramInfo info) {
    const auto count = [&](const PropertyInfo& property) {
        return std::count_if(info.properties.begin(), info.properties.end(),
                             [&](const auto& other) { return other.id == property.id && other.propertyString == property.propertyString; });
    };
    std::vector<PropertyInfo> kept;
    for (const auto& property : info.properties) {
        const auto* node = nodeOf(info, property.id);
        const auto says = [&](const char* name, std::string_view value) {
            return property.propertyString == name && property.valueString == value && count(property) == 1;
        };
        if (node == nullptr || !(says("Description", node->typeString) || (says("Forwarding", "true") && node->classString == "Input stream") ||
                                 (says("Hidden", "false") && node->classString == "Variable output"))) {
            kept.push_back(property);
        }
    }
    const auto place = [&](const PropertyInfo& property) {
        const auto* names = property.propertyString == "Description" ? "0" : property.propertyString == "OutputValue" ? "1" : "2";
        return std::pair(property.id, count(property) == 1 ? names : "2");
    };
    std::stable_sort(kept.begin(), kept.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
    info.properties = kept;
    std::map<std::int64_t, PositionInfo> last;
    for (const auto& position : info.positions) last[position.id] = position;
    info.positions.clear();
    for (const auto& [id, position] : last) info.positions.push_back(position);
    const auto dropEmpty = [](auto& list) {
        if (list && list->empty()) list.reset();
    };
    dropEmpty(info.manualLines);
    dropEmpty(info.subdiagrams);
    dropEmpty(info.containers);
    std::vector<ContainerInfo*> open;
    for (auto* list : {&info.containers}) {
        if (*list)
            for (auto& box : **list) open.push_back(&box);
    }
    while (!open.empty()) {
        auto* box = open.back();
        open.pop_back();
        dropEmpty(box->containers);
        if (box->containers)
            for (auto& inner : *box->containers) open.push_back(&inner);
    }
    return info;
}

std::string faultText(const TextReading& reading) {
    std::string text;
    for (const auto& fault : reading.faults) {
        text += std::to_string(fault.line) + ":" + std::to_string(fault.column) + ": " + fault.what +
                (fault.remedy.empty() ? "" : "; " + fault.remedy) + "\n";
    }
    return text;
}

void expectRoundTrip(const DiagramInfo& info) {
    const auto text = writeText({info});
    ASSERT_TRUE(text);
    const auto reading = readText(*text);
    ASSERT_TRUE(reading.data) << *text << faultText(reading);
    const auto &found = normalised(reading.data->info), &expected = normalised(info);
    EXPECT_EQ(found, expected) << *text << DiagramData{found}.encode() << DiagramData{expected}.encode();
    EXPECT_EQ(writeText(*reading.data), *text);
    // Good order is a fixed point, and changes nothing.
    EXPECT_EQ(formatText(*text), *text);
}

// Turns a sound document into one with everything that a document can hold, sound or not.
void addAnything(KelvaneFuzz::Choices& choices, DiagramInfo& info) {
    const auto anyId = [&] { return choices.between<std::int64_t>(-1, static_cast<std::int64_t>(info.nodes.size())); };
    const auto anyText = [&]() -> std::string {
        static const std::string texts[] = {"true", "a", "Float", "1/2", "a  b", "red", "\n\"`\\\u202e", "[hidden]", "",
                                            "é 1",  "_", "at",    "box", "-1",   " a",  "outputType",    "pink"};
        return choices.oneOf(texts);
    };
    static const std::string properties[] = {"Description", "Color", "Hidden", "Forwarding", "OutputValue", "at", "x y"};
    for (int count = choices.between(0, 6); count > 0; --count) {
        info.properties.push_back({anyId(), choices.oneOf(properties), anyText()});
    }
    for (int count = choices.between(0, 4); count > 0; --count) info.positions.push_back({anyId(), 0.1, -1e300});
    for (int count = choices.between(0, 2); count > 0; --count) info.connections.push_back({anyId(), anyId(), choices.between<std::int64_t>(-1, 3)});
    if (choices.flag()) {
        ContainerInfo box{1, 0, anyText(), {anyId(), anyId()}, {}, {}};
        if (choices.flag()) box.color = anyText();
        if (choices.flag()) box.containers = {box, {0, 0, "red", {}, {}, {}}};
        info.containers = {box, box};
    }
    if (choices.flag()) info.subdiagrams = {{anyText(), {anyId()}}, {"all", {}}};
    if (choices.flag()) {
        for (const auto& node : info.nodes) info.subdiagrams.emplace().push_back({"[0]", {node.id}});
    }
    if (choices.flag()) info.manualLines = {anyText(), "// a", " a ", anyText()};
    if (choices.oneIn(4)) info.nodes.push_back({anyId(), choices.flag() ? "Function" : anyText(), choices.flag() ? "Add" : anyText(), anyText()});
    if (choices.oneIn(4)) info.nodes[choices.between<std::size_t>(0, info.nodes.size() - 1)].outputType = anyText();
}

}  // namespace

TEST(TextForm, AnyDocumentReadsBackEqual) {
    std::minstd_rand random(7);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        std::vector<std::uint8_t> bytes(700);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
        KelvaneFuzz::Choices choices(bytes.data(), bytes.size());
        auto info = KelvaneFuzz::anyDiagram(choices, round % 4 == 0);
        if (round % 2 == 0) addAnything(choices, info);
        expectRoundTrip(info);
    }
}

}  // namespace KelvaneSDK
