#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <regex>

#include "../fuzz/AnyDiagram.h"
#include "KelvaneSDK/KelvaneSDK.h"

namespace KelvaneSDK {

namespace {

using KelvaneFuzz::Choices;
using Edit = void (*)(DiagramInfo&);

DiagramInfo decoded(std::string_view text) {
    DecodeFailure failure;
    auto data = DiagramData::decode(text, &failure);
    EXPECT_TRUE(data) << failure.pointer << failure.reason << "\n" << text;
    return data ? data->info : DiagramInfo{};
}

std::string rewritten(std::string_view text, DiagramInfo info, Edit edit) {
    edit(info);
    const auto result = rewriteDiagram(text, info);
    return result.text.value_or(result.reason + "; " + result.remedy);
}

TEST(DiagramRewriting, WhatAnEditDoesNotTouchKeepsItsBytes) {
    const auto nothing = [](DiagramInfo&) {};
    const auto addNode = [](DiagramInfo& info) { info.nodes.push_back({7, "Function", "Not", "Float"}); };
    const auto label = [](DiagramInfo& info) { info.properties.at(0).valueString = "\"é\"\n"; };
    const auto removeFirst = [](DiagramInfo& info) { info.nodes.erase(info.nodes.begin()); };
    const auto noNodes = [](DiagramInfo& info) { info.nodes.clear(); };
    const auto noted = [](DiagramInfo& info) { info.manualLines = {"a", "b"}; };
    const auto typed = [](DiagramInfo& info) { info.nodes.at(0).outputType = "Vector"; };
    const auto untyped = [](DiagramInfo& info) { info.nodes.at(0).outputType.reset(); };
    const auto boxed = [](DiagramInfo& info) { info.containers = {{0.5, 1e300, "b", {1, 2}, {}, {}}}; };
    const auto swapped = [](DiagramInfo& info) { std::swap(info.nodes.at(0), info.nodes.at(1)); };
    const auto joined = [](DiagramInfo& info) { info.containers->at(0).nodeIds = {2, 3}; };
    const struct {
        const char* what;
        Edit edit;
        const char *nodes, *others, *newNodes, *newOthers;
    } rows[] = {
        {"no edit", nothing, "[ ]", R"(,"properties":[ ],"connections":[],"positions":[])", "[ ]",
         R"(,"properties":[ ],"connections":[],"positions":[])"},
        {"a record like its neighbour, in its order of keys", addNode,
         R"([{ "typeString" :"Add","?":{"a":"]}"},"id" :1.0e0,"classString" :"Function" }])", "",
         R"([{ "typeString" :"Add","?":{"a":"]}"},"id" :1.0e0,"classString" :"Function" }, { "typeString" :"Not","id" :7,"classString" :"Function","outputType" :"Float" }])",
         ""},
        {"a line like the neighbour's", addNode, "[\r\n\t{\"id\": 1, \"classString\": \"Function\", \"typeString\": \"Add\"}\r\n]", "",
         "[\r\n\t{\"id\": 1, \"classString\": \"Function\", \"typeString\": \"Add\"},\r\n\t{\"id\": 7, \"classString\": \"Function\", "
         "\"typeString\": "
         "\"Not\", \"outputType\": \"Float\"}\r\n]",
         ""},
        {"a first record, like those of another list", addNode, "[]",
         ", \"positions\": [\n    {\n      \"id\": 1,\n      \"x\": 2,\n      \"y\": 3\n    }\n  ]",
         "[\n    {\n      \"id\": 7,\n      \"classString\": \"Function\",\n      \"typeString\": \"Not\",\n      \"outputType\": \"Float\"\n    }\n "
         " ]",
         ", \"positions\": [\n    {\n      \"id\": 1,\n      \"x\": 2,\n      \"y\": 3\n    }\n  ]"},
        {"a text with its escapes, of the member that counts", label, "[]",
         R"(, "properties": [{"id":1,"propertyString":"A","valueString":"a","valueString":"b"}])", "[]",
         R"(, "properties": [{"id":1,"propertyString":"A","valueString":"a","valueString":"\"é\"\n"}])"},
        {"a record less", removeFirst, R"([ {"id":1,"classString":"Function","typeString":"Add"} ,{"id":2,"classString":"C","typeString":"a,b"}])",
         "", R"([ {"id":2,"classString":"C","typeString":"a,b"}])", ""},
        {"no record left", noNodes, "[\n{\"id\":1,\"classString\":\"Function\",\"typeString\":\"Add\"}\n]", "", "[]", ""},
        {"a list that was null, and lists of another depth", noted, "[]", R"(, "manualLines": null)", "[]", R"(, "manualLines": ["a", "b"])"},
        {"a list that was not there", noted, "[]", "", "[]", R"(, "manualLines": ["a", "b"])"},
        {"a key more", typed, R"([{"id":1,"classString":"Function","typeString":"Add"}])", "",
         R"([{"id":1,"classString":"Function","typeString":"Add","outputType":"Vector"}])", ""},
        {"a key less, however often it comes", untyped, R"([{"outputType":"a","id":1,"classString":"F","output\u0054ype":"b","typeString":"Add"}])",
         "", R"([{"id":1,"classString":"F","typeString":"Add"}])", ""},
        {"a box", boxed, "[]", "", "[]", R"(, "containers": [{"x": 0.5, "y": 1e+300, "description": "b", "nodeIds": [1, 2]}])"},
        {"records that change places", swapped, R"([{"id":1,"classString":"F","typeString":"A"},{"id":2,"classString":"F","typeString":"B","?":0}])",
         "", R"([{"id":2,"classString":"F","typeString":"B","?":0},{"id":1,"classString":"F","typeString":"A"}])", ""},
        {"members of a box", joined, "[]", R"(, "containers": [{"x":0,"?":0,"y":0,"description":"","nodeIds":[1 ,2.0]}])", "[]",
         R"(, "containers": [{"x":0,"?":0,"y":0,"description":"","nodeIds":[2.0 ,3]}])"},
    };
    for (const auto& [what, edit, nodes, others, newNodes, newOthers] : rows) {
        const auto document = [](std::string_view list, std::string rest) {
            for (const std::string key : {"properties", "connections", "positions"}) {
                if (rest.find('"' + key + '"') == std::string::npos) rest = ", \"" + key + "\": []" + rest;
            }
            return "{\"nodes\": " + std::string(list) + rest + "}\n";
        };
        const auto text = document(nodes, others);
        EXPECT_EQ(rewritten(text, decoded(text), edit), document(newNodes, newOthers)) << what;
    }
}

TEST(DiagramRewriting, RefusesWhatTheFormCannotHold) {
    const std::string_view empty = R"({"nodes": [], "properties": [], "connections": [], "positions": []})";
    const auto notUtf8 = [](DiagramInfo& info) { info.manualLines = {"\xff"}; };
    const auto noNumber = [](DiagramInfo& info) { info.positions = {{1, NAN, 0}}; };
    EXPECT_EQ(rewritten("{", {}, notUtf8), "the text is no diagram document: not JSON: brackets, commas or colons are out of place; ");
    EXPECT_EQ(rewritten(empty, {}, notUtf8), "JSON cannot hold the edit: a text is not UTF-8; ");
    EXPECT_EQ(rewritten(empty, {}, noNumber), "the edited diagram is no document: a number is missing; ");
}

// One record more, less or another, in any list.
void editOnce(Choices& choices, DiagramInfo& info) {
    static const std::string texts[] = {"a", "1 \"b\"", "é\n", "Float", "[{"};
    const auto editList = [&](auto& list, const auto& fresh, auto change) {
        const auto at = [&] { return list.begin() + choices.between<std::ptrdiff_t>(0, std::ssize(list) - 1); };
        const int kind = list.empty() ? 0 : choices.between(0, 2);
        if (kind == 0) list.insert(list.empty() ? list.end() : at(), fresh);
        if (kind == 1) list.erase(at());
        if (kind == 2) change(*at());
    };
    const std::string& text = choices.oneOf(texts);
    const auto number = choices.between<std::int64_t>(-2, 40);
    switch (choices.between(0, 6)) {
        case 0:
            editList(info.nodes, NodeInfo{number, text, text, {}},
                     [&](auto& node) { node.outputType = node.outputType ? std::nullopt : std::optional(text); });
            break;
        case 1:
            editList(info.properties, PropertyInfo{number, text, text}, [&](auto& property) { property.valueString = text; });
            break;
        case 2:
            editList(info.connections, ConnectionInfo{number, 1, 0}, [&](auto& connection) { connection.inputIndex = number; });
            break;
        case 3:
            editList(info.positions, PositionInfo{number, 0.25, -1e300}, [&](auto& position) { position.x = 0.1; });
            break;
        case 4: {
            if (!info.containers) info.containers.emplace();
            auto* boxes = &info.containers;
            if (!(*boxes)->empty() && (*boxes)->front().containers && choices.flag()) boxes = &(*boxes)->front().containers;
            editList(**boxes, ContainerInfo{0, 1, text, {number}, {}, {}}, [&](auto& box) {
                if (choices.flag()) box.color = text;
                editList(box.nodeIds, number, [&](auto& id) { id = number; });
            });
            break;
        }
        case 5:
            editList(info.subdiagrams ? *info.subdiagrams : info.subdiagrams.emplace(), SubdiagramInfo{text, {number}},
                     [&](auto& subdiagram) { subdiagram.description = text; });
            break;
        default:
            editList(info.manualLines ? *info.manualLines : info.manualLines.emplace(), text, [&](auto& line) { line = text; });
    }
}

// Any document in any spelling: unknown members before and behind the known ones, line ends, long integers.
std::string anySpelling(Choices& choices, const DiagramInfo& info) {
    auto text = DiagramData{info}.encode();
    if (choices.flag()) text = std::regex_replace(text, std::regex(R"(("[a-zA-Z]*[iI]d(ex)?": \d+))"), "$1.0e0");
    if (choices.flag()) text = std::regex_replace(text, std::regex(R"(\{\n( +))"), "{\n$1\"?\": [{\"id\": \"]}\"}],\n$1");
    if (choices.flag()) text = std::regex_replace(text, std::regex(R"(\n( +)\})"), ",\n$1  \"\\u0069d?\": null\n$1}");
    if (choices.flag()) text = std::regex_replace(text, std::regex("\n"), "\r\n");
    if (choices.oneIn(4)) text = std::regex_replace(text, std::regex("[\r\n]+ *"), "");
    return text;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const auto end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

// How many lines of the old text a diff shows, when what is the same before and behind is left out.
std::size_t changedLines(const std::string& before, const std::string& after) {
    const auto a = linesOf(before), b = linesOf(after);
    const std::size_t shorter = std::min(a.size(), b.size());
    std::size_t head = 0, tail = 0;
    while (head < shorter && a[head] == b[head]) ++head;
    while (tail < shorter - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) ++tail;
    return a.size() - head - tail;
}

TEST(DiagramRewriting, AnyEditOfAnyDocument) {
    std::minstd_rand random(11);
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        std::vector<std::uint8_t> bytes(700);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
        Choices choices(bytes.data(), bytes.size());
        auto info = KelvaneFuzz::anyDiagram(choices, true);
        for (int count = choices.between(0, 30); count > 0; --count) editOnce(choices, info);
        const auto text = anySpelling(choices, info);
        ASSERT_EQ(decoded(text), info);
        auto edited = info;
        const int edits = choices.oneIn(3) ? 6 : 1;
        for (int count = edits; count > 0; --count) editOnce(choices, edited);
        const auto result = rewriteDiagram(text, edited);
        ASSERT_TRUE(result.text) << result.reason << text;
        EXPECT_EQ(decoded(*result.text), edited) << text << *result.text;
        // A box with boxes in it is the longest that goes.
        if (edits == 1) {
            EXPECT_LT(changedLines(text, *result.text), info.containers ? 80U : 12U) << text << *result.text;
        }
        const auto back = rewriteDiagram(*result.text, info);
        ASSERT_TRUE(back.text) << back.reason;
        EXPECT_EQ(decoded(*back.text), info) << *result.text << *back.text;
        const auto isLonger = [&](const auto& list, const auto& old) { return list.size() > old.size(); };
        const bool onlyAdds = edits == 1 && (isLonger(edited.nodes, info.nodes) || isLonger(edited.connections, info.connections));
        if (onlyAdds) {
            EXPECT_EQ(*back.text, text) << "what is added and removed leaves no trace";
        }
    }
}

std::string rewrittenText(std::string_view text, Edit edit) {
    const auto reading = readText(text);
    EXPECT_TRUE(reading.data) << text;
    return reading.data ? rewritten(text, reading.data->info, edit) : "";
}

TEST(DiagramRewriting, LinesOfTextAreEditedInPlace) {
    const std::string_view heart =
        "\xEF\xBB\xBF// Beats\r\n\r\necg:Float  // raw\r\nlimit = 2325 [red]\r\nabove   = Larger(ecg,limit)\r\n"
        "beat = And( above, b = Toggled(above) ) // rising\r\ncount: Integer = _\r\nbox Beats {\r\n  above, beat\r\n}";
    const struct {
        const char* what;
        Edit edit;
        std::string_view found, changed;
    } rows[] = {
        {"a value", [](DiagramInfo& info) { info.properties.at(2).valueString = "-1e3"; }, "2325", "-1e3"},
        {"a value in quotes", [](DiagramInfo& info) { info.properties.at(2).valueString = "0x1"; }, "2325", "\"0x1\""},
        {"a label, wherever it is mentioned", [](DiagramInfo& info) { info.properties.at(0).valueString = "a 1/2"; },
         "ecg:Float  // raw\r\nlimit = 2325 [red]\r\nabove   = Larger(ecg",
         "`a 1/2`:Float  // raw\r\nlimit = 2325 [red]\r\nabove   = Larger(`a 1/2`"},
        {"a label that another node has", [](DiagramInfo& info) { info.properties.at(1).valueString = "ecg"; },
         "limit = 2325 [red]\r\nabove   = Larger(ecg,limit)", "ecg = 2325 [red]\r\nabove   = Larger(#1,#2)"},
        {"a connection to an input without one",
         [](DiagramInfo& info) {
             info.connections.push_back({5, 6, 0});
         },
         "= _", "= beat"},
        {"a connection more",
         [](DiagramInfo& info) {
             info.connections.push_back({3, 5, 1});
         },
         "Toggled(above)", "Toggled(above) | above"},
        {"connections less, and the type that followed from them",
         [](DiagramInfo& info) {
             std::erase(info.connections, ConnectionInfo{2, 3, 1});
         },
         "2325 [red]\r\nabove   = Larger(ecg,limit)", "2325: Float [red]\r\nabove   = Larger(ecg,_)"},
        {"a node more",
         [](DiagramInfo& info) {
             info.nodes.push_back({9, "Function", "Not", "Boolean"});
             info.nodes.push_back({11, "Constant", "Vector", {}});
             info.properties.push_back({9, "Color", "blue"});
             info.connections.push_back({5, 9, 0});
             info.positions.push_back({9, 0.5, -20});
             info.containers->at(0).nodeIds.push_back(9);
         },
         "beat\r\n}", "beat, Not\r\n}\r\nNot = Not(beat): Boolean [Color = \"blue\", at (0.5, -20)]\r\nVector = _: Vector\r\n"},
        {"a node less, with what it needs for itself",
         [](DiagramInfo& info) {
             std::erase_if(info.nodes, [](const auto& node) { return node.id == 4 || node.id == 5; });
             std::erase_if(info.properties, [](const auto& property) { return property.id == 5; });
             std::erase_if(info.connections, [](const auto& wire) { return wire.inputNodeId == 4 || wire.inputNodeId == 5; });
             info.containers->at(0).nodeIds = {3};
         },
         "beat = And( above, b = Toggled(above) ) // rising\r\ncount: Integer = _\r\nbox Beats {\r\n  above, beat",
         "// rising\r\ncount: Integer = _\r\nbox Beats {\r\n  above"},
        {"a box that is left empty",
         [](DiagramInfo& info) {
             std::erase_if(info.nodes, [](const auto& node) { return node.id >= 3 && node.id <= 5; });
             std::erase_if(info.properties, [](const auto& property) { return property.id == 3 || property.id == 5; });
             info.connections.clear();
             info.containers->clear();
         },
         heart.substr(heart.find(" [red]")), ": Float [red]\r\n// rising\r\ncount: Integer = _\r\n"},
    };
    for (const auto& [what, edit, found, changed] : rows) {
        std::string expected(heart);
        if (!found.empty()) expected.replace(expected.find(found), found.size(), changed);
        EXPECT_EQ(rewrittenText(heart, edit), expected) << what;
    }
    EXPECT_EQ(nestedNodes(heart), (std::vector<NestedNode>{{4, 5}}));
    const char* const room = "; `kelvane fmt --to json` makes a document of it, in which every edit has room";
    const auto nested = [](DiagramInfo& info) { info.properties.push_back({4, "Description", "up"}); };
    const auto color = [](DiagramInfo& info) { info.properties.push_back({3, "Color", "red"}); };
    EXPECT_EQ(rewrittenText(heart, nested), std::string("the node #4 (\"Toggled\") stands within a call") + room);
    EXPECT_EQ(rewrittenText(heart, color), std::string("the lines of the text have no room for this edit") + room);
}

TEST(DiagramRewriting, AnyEditOfAnyText) {
    std::minstd_rand random(13);
    int done = 0;
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        std::vector<std::uint8_t> bytes(700);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 8);
        Choices choices(bytes.data(), bytes.size());
        const auto text = writeText({KelvaneFuzz::anyDiagram(choices, false)}).value_or("");
        auto edited = readText(text).data->info;
        if (choices.flag()) {
            editOnce(choices, edited);
        } else {
            edited.connections.push_back({choices.oneOf(edited.nodes).id, choices.oneOf(edited.nodes).id, 0});
            for (auto& property : edited.properties) {
                if (property.propertyString == "Description" && choices.oneIn(8)) property.valueString = "n 7";
            }
        }
        const auto result = rewriteDiagram(text, edited);
        if (!result.text) continue;
        ++done;
        const auto read = readText(*result.text);
        ASSERT_TRUE(read.data) << *result.text;
        EXPECT_EQ(read.data->info.nodes.size(), edited.nodes.size());
        EXPECT_EQ(read.data->info.connections.size(), edited.connections.size());
    }
    EXPECT_GT(done, 150);
}

}  // namespace

}  // namespace KelvaneSDK
