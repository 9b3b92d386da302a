#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "../fuzz/AnyDiagram.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "support/NormalisedDiagram.h"

namespace KelvaneSDK {

namespace {

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
    const auto &found = testing_support::normalised(reading.data->info), &expected = testing_support::normalised(info);
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

// Nodes in order, each with its id, type, label and properties, and the connections.
std::string summaryOf(const DiagramInfo& info) {
    std::string text;
    for (const auto& node : info.nodes) {
        text += (text.empty() ? "" : "; ") + std::to_string(node.id) + " " + node.typeString;
        if (node.outputType) text += "@" + *node.outputType;
        for (const auto& property : info.properties) {
            if (property.id != node.id) continue;
            const bool isLabel = property.propertyString == "Description";
            text += (isLabel ? " " : " " + property.propertyString + "=") + property.valueString;
        }
    }
    text += " :";
    for (const auto& [from, to, input] : info.connections) {
        text += " " + std::to_string(from) + ">" + std::to_string(to) + "." + std::to_string(input);
    }
    return text;
}

TEST(TextForm, TextsMeanDiagrams) {
    const struct {
        const char *what, *text, *summary;
    } rows[] = {
        {"nothing", " // only a note\n", " :"},
        {"constants take the slot's type, or that of the other inputs", "x: Float\ny = Moving averager(3, Add(x, 1))",
         "1 Float x; 2 Integer OutputValue=3; 3 Float OutputValue=1; 4 Add; 5 Moving averager y : 1>4.0 3>4.1 2>5.0 4>5.1"},
        {"types pass through calls, whatever stands first", "a = Add(1, b)\nb = Negate(Timestamp(c))\nc: String",
         "1 Float OutputValue=1; 2 Add a; 3 Timestamp; 4 Negate b; 5 String c : 5>3.0 3>4.0 1>2.0 4>2.1"},
        {"where nothing says it, values are what they look like", "a = Add(1, 2)\nb = 1.\nc = \"x\"\nd = (1,2 , 3)\ne = true\nf = (0, 0, 0, 1)",
         "1 Integer OutputValue=1; 2 Integer OutputValue=2; 3 Add a; 4 Float b OutputValue=1.; 5 String c OutputValue=x; "
         "6 Vector d OutputValue=(1, 2, 3); 7 Boolean e OutputValue=true; 8 Orientation f OutputValue=(0, 0, 0, 1) : 1>3.0 2>3.1"},
        {"types that are said", "a = 1: Float\nb = Add(a, a): Float\nc = _: Integer array\nd = [1, 2]: Float array",
         "1 Float a OutputValue=1; 2 Add@Float b; 3 Integer array c; 4 Float array d OutputValue=[1, 2] : 1>2.0 1>2.1"},
        {"inputs by name, unconnected, and fed twice", "s: Integer\na = Trim(array = _, last index = s | 2, first index = s)",
         "1 Integer s; 2 Integer OutputValue=2; 3 Trim a : 1>3.0 1>3.1 2>3.1"},
        {"a long list, at the beginning of a line",
         "a = Maximum(\n[1000001, 1000002, 1000003, 1000004, 1000005, 1000006, 1000007, 1000008, 1000009, 1000010, 1000011, 1000012, 1000013, "
         "1000014, 1000015, 1000016]: Float array)",
         "1 Float array OutputValue=[1000001, 1000002, 1000003, 1000004, 1000005, 1000006, 1000007, 1000008, 1000009, 1000010, 1000011, 1000012, "
         "1000013, 1000014, 1000015, 1000016]; 2 Maximum a : 1>2.0"},
        {"feedback by a label; spacing and line ends", "full:Boolean\r\n`full` : Boolean=Not (\n full\n) [hidden,red]\n",
         "1 Boolean full; 2 Not; 3 Boolean full Hidden=true Color=red : 1>2.0 2>3.0"},
        {"names of any characters, and ids", "`1/2 \\\"\\u{e9}` #-7: Float\nGröße 2 #3 = Negate(#-7)\n#9: Float = Größe  2",
         "-7 Float 1/2 \"é; 3 Negate Größe 2; 9 Float : -7>3.0 3>9.0"},
        {"an order of connections", "a: Float\nb = Add(a, a)\nc = Negate(a)\norder { c.value, b.a }",
         "1 Float a; 2 Add b; 3 Negate c : 1>3.0 1>2.1 1>2.0"},
        {"raw records",
         "x: Float [not forwarded, Speed = \"7\"]\nraw node(5, \"Function\", \"Ad\")\nraw property(5, \"Color\", \"red\")\nraw connection(1, 5, 3)",
         "1 Float x Forwarding=false Speed=7; 5 Ad Color=red : 1>5.3"},
    };
    for (const auto& [what, text, summary] : rows) {
        const auto reading = readText(text);
        EXPECT_EQ(faultText(reading), "") << what;
        if (!reading.data) continue;
        EXPECT_EQ(summaryOf(reading.data->info), summary) << what;
        const auto again = readText(formatText(text).value_or("?"));
        EXPECT_TRUE(again.data && again.data->info == reading.data->info) << what;
    }
}

TEST(TextForm, TheFormThatPeopleWriteIsTheFormThatIsWritten) {
    constexpr std::string_view text = R"(// Beats of a heart, by the rising edges of its signal.

ecg: Float
above = Larger(ecg, 2325)
beat = And(above, Toggled(above))
when = Timestamp(Gate(beat, ecg))
heart_rate: Float = Divide(60, Subtract(when, Buffer(1, when)))

box Beats [cyan, at (160, -40)] {
    above, beat
    box in it {
        when
    }
}

subdiagram `[0]` { * }
)";
    const auto reading = readText(text);
    ASSERT_TRUE(reading.data) << faultText(reading);
    const auto& info = reading.data->info;
    EXPECT_EQ(info.manualLines, std::vector<std::string>{"Beats of a heart, by the rising edges of its signal."});
    ASSERT_TRUE(info.containers && info.subdiagrams);
    const ContainerInfo inner{0, 0, "in it", {7}, {}, {}};
    EXPECT_EQ(info.containers->front(), (ContainerInfo{160, -40, "Beats", {3, 5}, "cyan", std::vector{inner}}));
    EXPECT_EQ(info.subdiagrams->front().nodeIds.size(), info.nodes.size());
    EXPECT_TRUE(checkDiagram(info).empty());
    EXPECT_EQ(writeText(*reading.data), text);
}

TEST(TextForm, LongLinesAreBrokenInTheOutermostBrackets) {
    std::string text = "x: Float\ny = Switch(Larger(x, 100), Moving averager(10, x), ";
    for (int i = 0; i < 4; ++i) text += "Add(Multiply(x, 12345678901), ";
    text += "x" + std::string(4, ')') + ") [red, Speed = \"" + std::string(110, '7') + "\"] // note\nbox B { x";
    for (int i = 0; i < 50; ++i) text += ", x";
    constexpr std::string_view broken = R"(x: Float
y = Switch(Larger(x, 100), Moving averager(10, x),
    Add(Multiply(x, 12345678901),
        Add(Multiply(x, 12345678901), Add(Multiply(x, 12345678901), Add(Multiply(x, 12345678901), x))))) [
    red,
    Speed = "77777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777777"]  // note
box B { x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x, x,
    x, x, x, x, x, x, x, x, x, x, x, x, x, x }
)";
    EXPECT_EQ(formatText(text + " }"), broken);
    EXPECT_EQ(formatText(broken), broken);
    const auto reading = readText(text + " }"), again = readText(broken);
    EXPECT_TRUE(reading.data && again.data && reading.data->info == again.data->info) << faultText(again);
}

TEST(TextForm, FaultsSayWhereWhatAndWhatToDo) {
    const struct {
        const char *text, *faults;
    } rows[] = {
        {"x: Flaot", "1:4: a value type was expected, \"Flaot\" was found; did you mean \"Float\"?\n"},
        {"a = Andd(true, a)\nb = Not(a)", "1:5: no function is called \"Andd\"; did you mean \"Add\"?\n"},
        {"above = Not(abov)", "1:13: nothing is called \"abov\"; did you mean \"above\"?\n"},
        {"x: Float\ny = Gate(x)", "2:10: the input value of Gate is missing; it is Gate(open, value); write _ where nothing feeds it\n"},
        {"y = Gate(true, 1, 2)", "1:19: this is an input too many; it is Gate(open, value)\n"},
        {"y = Gate(true, open = true)", "1:16: the input open is given twice; write a | b where two nodes feed it\n"},
        {"y = Gate(true, vale = 1)", "1:16: Gate has no input called \"vale\"; it is Gate(open, value)\n"},
        {"x: Float\ny = Moving averager(1.5, x)",
         "2:21: 1.5 is no value of the type Integer, which is needed here; convert what it is used with, or say a type behind the value\n"},
        {"x: Float = 1\ny = Negate(x)",
         "2:12: x is a variable output, which gives no values to other nodes; give what feeds it a name of its "
         "own, or add an input stream of the same name\n"},
        {"n = Negate(1)\nn = Negate(n)", "2:12: 2 nodes are called \"n\"; say which by its id, such as #2\n"},
        {"n #1 = 2\nm #1: Float", "2:1: another node has the id 1 already; give this node another with #, or none\n"},
        {"x: Float [hidden]", "1:11: only a variable output can be hidden\n"},
        {"x: Float [blu]", "1:11: \"blu\" is no colour, nor \"hidden\" or \"not forwarded\"; did you mean \"blue\"?\n"},
        {"x = \"a", "1:5: the closing quote is missing in this line\n"},
        {"x = (1 2, 3)", "1:5: a comma stands between the numbers of a list\n"},
        {"raw position(1, 0, 1e999)", "1:1: a coordinate is beyond all numbers\n"},
        {"x = [1, 2]", "1:5: the type of this value is not clear; write it behind the value: [1, 2]: Float array\n"},
        {"7 up = 3\n~",
         "1:1: a name was expected, \"7\" was found; a line begins with the name of a stream, a node or an output\n"
         "2:1: \"~\" has no meaning here\n"},
        {"box a {", "1:7: this { is never closed; write } behind the last member\n"},
        {"a: Float\nbox b { * }\nsubdiagram c { * }", "3:16: only one group holds every node as *; list the nodes here\n"},
        {"order { a.b }", "1:9: nothing is called \"a\"\n"},
        {"x: Float\n\xff", "2:1: this line is not UTF-8; save the text as UTF-8\n"},
    };
    for (const auto& [text, faults] : rows) EXPECT_EQ(faultText(readText(text)), faults) << text;
    std::string deep = "a = ", boxes;
    for (std::size_t i = 0; i <= maximumCallDepth + 1; ++i) deep += "Not(";
    for (std::size_t i = 0; i <= maximumBoxDepth; ++i) boxes += "box a {\n";
    EXPECT_EQ(faultText(readText(deep)), "1:265: calls nest too deep here; give a part a name of its own\n");
    EXPECT_EQ(faultText(readText(boxes)), "1024:1: boxes nest too deep here\n");
    EXPECT_EQ(faultText(readText(std::string(1 << 24, '\n') + "a")),
              "16777217:1: the text is too long: it has more than 16777216 names, values and signs\n");
}

TEST(TextForm, FindingsStandAtTheirPlacesInTheText) {
    constexpr std::string_view text = R"(x: Float
n: Integer [Size = "3"]
slow = Buffer(-1, Add(x, _))
twice = Add(x | n, 2) [Color = "pink"]
lost = Divide(n, 0)
y: Float = twice
box Empty {
}
box All { slow, box In { #77 },
  slow })";
    std::string found;
    const std::string marked = "\xEF\xBB\xBF" + std::string(text);
    for (const auto& finding : checkDiagram(marked)) {
        found += std::to_string(finding.line) + ":" + std::to_string(finding.column) + ": " + findingText(finding) + "\n";
    }
    EXPECT_EQ(found, R"(2:13: "n" (Integer): nodes of the class "Input stream" have no property "Size"
3:1: "slow" (Buffer): the output feeds nothing
3:19: "slow" (Buffer): the node never runs, because input 1 ("value") waits for Add at 3:19, which never runs
3:26: Add: input 1 ("b") is not connected, so that the node never runs
4:17: "twice" (Add): input 0 ("a") is of type "Float", but "n" at 2:1 brings values of type "Integer"; put a node "Float" between them, which converts the values
4:17: "twice" (Add): input 0 ("a") is fed by "x" at 1:4 already; the value that comes last wins
4:24: "twice" (Add): no colour is called "pink"
5:1: "lost" (Divide): the output feeds nothing
5:18: "lost" (Divide): input 1 ("b") is fixed at 0 by Integer at 5:18; an integer cannot be divided by 0
7:1: the container "Empty" holds no node; it needs one that provides its output
9:17: the container "In" holds no node; it needs one that provides its output
9:26: the container "In" names node 77, which does not exist
)");
    Finding own{.pointer = "/connections/1"};
    placeFindings(std::span(&own, 1), text);
    EXPECT_EQ(std::pair(own.line, own.column), std::pair(std::size_t{3}, std::size_t{15}));
}

}  // namespace KelvaneSDK
