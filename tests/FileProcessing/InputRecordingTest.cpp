#include "KelvaneSDK/FileProcessing/InputRecording.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/DiagramDocument.h"
#include "support/Slots.h"

namespace KelvaneSDK::testing_support {

static std::string describe(const std::vector<KelvaneInput>& batches) {
    std::string text;
    for (const auto& [timestamp, updates] : batches) {
        text += "@" + getValueString(timestamp);
        for (const auto& [name, value] : updates) text += " " + std::string(name) + "=" + testing_support::describe(value);
        text += ";";
    }
    return text;
}

static std::string describe(const RecordingFailure& failure) { return std::to_string(failure.column) + ": " + failure.reason; }

static std::string line(const std::string& rest, const std::string& timestamp = "1") {
    return "{\"timestamp\":" + timestamp + ",\"name\":\"a\"," + rest + "}";
}

static const std::string a = line(R"("floatValue":2)"), at2 = line(R"("stringValue":"é")", "2");
static const std::string b = R"({"timestamp":1,"name":"b","booleanValue":true})";

TEST(ReadKelvaneInputs, GroupsNeighbouringLinesOfOneTimestamp) {
    const struct {
        std::string text, expected, diagnostic;
    } rows[]{
        {"", "@0.0;", "ERROR: invalid JSON at line 0!"},
        {a + "\n" + b, "@0.0;@1.0 a=Float 2.0 b=Boolean true;", ""},
        {a + "\r\n" + b + "\r\n", "@0.0;@1.0 a=Float 2.0 b=Boolean true;", "ERROR: invalid JSON at line 2!"},
        {b + "\n" + at2 + "\n" + b, "@0.0;@1.0 b=Boolean true;@2.0 a=String é;@1.0 b=Boolean true;", ""},
        {a + "\n" + line(R"("stringValue":"later")"), "@0.0;@1.0 a=String later;", ""},
        {line(R"("integerValue":5)", "-0.0"), "@0.0 a=Integer 5;", ""},
        {a + "\n{\"timestamp\":1}\n" + b, "@0.0;@1.0 a=Float 2.0;", "ERROR: invalid JSON at line 1!"},
    };
    for (const auto& [text, expected, diagnostic] : rows) {
        const CapturedDiagnostics diagnostics;
        EXPECT_EQ(describe(readKelvaneInputs(text)), expected) << text;
        EXPECT_EQ(diagnostics.lines, std::vector<std::string>(diagnostic.empty() ? 0 : 1, diagnostic)) << text;
    }
}

TEST(RecordingReader, ReadsEveryKeyAndTellsWhyALineIsRefused) {
    const std::pair<std::string, std::string> rows[]{
        {R"("floatValue":18446744073709551616)", "Float 1.8446744073709552e+19"},
        {R"("integerValue":9223372036854775807,"x":["1\"2",-9223372036854775809])", "Integer 9223372036854775807"},
        {R"("sequenceValue":[{"t":0,"f":1},{"f":2,"t":0.5}])", "Sequence [(t: 0.0, f: 1.0), (t: 0.5, f: 2.0)]"},
        {R"("stringArrayValue":[],"vectorValue":{"x":1,"y":2,"z":3})", "Vector (x:1.0,y:2.0,z:3.0)"},
        {R"("floatValue":null,"stringValue":"s","unknown":{},"FloatValue":1)", "String s"},
        {R"("floatValue":-0,"timestamp":1)", "Float -0.0"},
        {R"("vectorValue":{"x":-0,"y":0,"z":-0e0})", "Vector (x:-0.0,y:0.0,z:-0.0)"},
        {R"("sequenceValue":[{"t":-0 ,"f":-0}])", "Sequence [(t: -0.0, f: -0.0)]"},
        {R"("floatArrayValue":[-0,1e-0,-0.0,0,-0])", "Float array [-0.0,1.0,-0.0,0.0,-0.0]"},
        {R"("floatArrayValue":[12345678901234567890E2,1E-0,-12345678901234567890,-0])",
         "Float array [1.2345678901234568e+21,1.0,-1.2345678901234567e+19,-0.0]"},
        {R"("integerArrayValue":[-0,-010])", "53: not JSON: \",\" or \"]\" was expected"},
        {R"("integerArrayValue":[-0,-10],"x":"-0\"-0")", "Integer array [0, -10]"},
        {R"("integerValue":3.5)", R"(42: "integerValue" is a number; an integer of 64 bits was expected)"},
        {R"("vectorValue":{"x":1,"y":2})", R"(41: "vectorValue": "z" is missing; a number was expected)"},
        {R"("sequenceValue":[{"t":0,"f":"1"}])", R"(55: "sequenceValue": element 0: "f" is a string; a number was expected)"},
        {R"("stringArrayValue":["a",null])", R"(51: "stringArrayValue": element 1 is null; a string was expected)"},
        {R"("sequenceArrayValue":[])", "1: no value is there: one key such as \"floatValue\" or \"vectorValue\" was expected"},
        {R"("\u006eame":1)", R"(39: "name" is a number; a string was expected)"},
    };
    for (const auto& [rest, expected] : rows) {
        const std::string text = line(rest);
        RecordingReader reader;
        reader.append(text);
        reader.finish();
        EXPECT_TRUE(reader.next()) << "the batch at time 0";
        const auto* batch = reader.next();
        EXPECT_EQ(batch ? testing_support::describe(batch->updates.at("a")) : describe(reader.failure().value()), expected);
    }
}

TEST(RecordingReader, SkipsInvalidLines) {
    const std::string text = a + "\nbroken\n" + b + "\n\n" + std::string(200, ' ') + "\n" + at2 + "\n{";
    std::string skipped;
    const auto skip = [&](const RecordingFailure& failure) { skipped += std::to_string(failure.line) + ":" + describe(failure) + "\n"; };
    RecordingReader reader({.skipped = skip, .longestLine = 100});
    reader.append(text);
    reader.finish();
    std::vector<KelvaneInput> batches;
    while (const auto* batch = reader.next()) batches.push_back(*batch);
    EXPECT_EQ(describe(batches), "@0.0;@1.0 a=Float 2.0 b=Boolean true;@2.0 a=String \u00e9;");
    EXPECT_EQ(skipped, R"(1:1: not JSON: a value was expected
3:1: the text is empty; a JSON object was expected
4:101: the line is longer than the limit of 100 bytes
6:2: not JSON: the text ends too early: the name of a member was expected
)");
    EXPECT_EQ(reader.losses().replaced, 0U);
    reader.append(a);
    EXPECT_EQ(reader.next(), nullptr) << "after the end";
}

TEST(RecordingReader, ReadsWhatResultsMayHold) {
    const std::pair<std::string, std::string> rows[]{
        {R"("floatValue":null)", "Float none"},
        {R"("stringValue":null,"integerValue":null)", "String none"},
        {R"("vectorValue":{"x":1,"y":null,"z":3})", "Vector none"},
        {R"("sequenceArrayValue":[[{"t":0,"f":null}],[]])", "Sequence array none"},
        {R"("sequenceArrayValue":[[{"t":0,"f":1}],[]])", "Sequence array [[(t: 0.0, f: 1.0)], []]"},
        {R"("floatValue":null,"booleanValue":true)", "Boolean true"},
        {R"("floatValue":1,"stringValue":null)", "Float 1.0"},
        {R"("floatArrayValue":[1,null])", "Float array none"},
        {R"("vectorValue":{"x":1,"z":null})", R"(41: "vectorValue": "y" is missing; a number was expected)"},
        {R"("floatValue":1,"floatArrayValue":[null])", R"(61: "floatArrayValue": element 0 is null; a number was expected)"},
        {R"("x":null)", "1: no value is there: one key such as \"floatValue\" or \"vectorValue\" was expected"},
    };
    for (const auto& [rest, expected] : rows) {
        const std::string text = line(rest);
        RecordingReader reader({.lines = RecordingOptions::Lines::results});
        reader.append(text);
        reader.finish();
        const auto* update = reader.nextUpdate();
        EXPECT_EQ(!update         ? describe(reader.failure().value())
                  : update->value ? testing_support::describe(*update->value)
                                  : std::string(valueTypeName(update->type)) + " none",
                  expected);
    }
}

TEST(RecordingReader, SaysWhatReachesNoBatch) {
    const std::string none = line(R"("floatValue":null)"), later = line(R"("floatValue":3)");
    const std::string text = none + "\n" + a + "\n" + b + "\n" + later + "\n" + none;
    RecordingReader reader({.lines = RecordingOptions::Lines::results});
    reader.append(text);
    reader.finish();
    std::vector<KelvaneInput> batches;
    while (const auto* batch = reader.next()) batches.push_back(*batch);
    EXPECT_EQ(describe(batches), "@0.0;@1.0 a=Float 3.0 b=Boolean true;");
    const auto& losses = reader.losses();
    EXPECT_EQ(losses.replaced, 1U);
    EXPECT_EQ(losses.firstReplacedName, "a");
    EXPECT_EQ(losses.withoutValue, 2U);
    EXPECT_EQ(losses.firstNameWithoutValue, "a");
    EXPECT_EQ(losses.firstTimeWithoutValue, 1);
}

TEST(RecordingReader, ALiveBatchEndsWhereItIsTold) {
    RecordingReader reader({.ending = RecordingOptions::Ending::lineBreakAllowed, .emptyLineEndsBatch = true});
    std::string found;
    const auto readAll = [&] {
        while (const auto* batch = reader.next()) found += describe({*batch});
        found += "|";
    };
    const auto append = [&](const std::string& text) {
        reader.append(text);
        readAll();
    };
    reader.endBatch();
    readAll();
    append(a + "\n");
    reader.endBatch();
    readAll();
    reader.endBatch();
    readAll();
    append("\n" + a + "\n" + b + "\n\r\n" + at2.substr(0, 9));
    append(at2.substr(9) + "\n\n\n" + a + "\n");
    reader.finish();
    readAll();
    EXPECT_EQ(found, "|@0.0;|@1.0 a=Float 2.0;||@1.0 a=Float 2.0 b=Boolean true;|@2.0 a=String \u00e9;|@1.0 a=Float 2.0;|");
}

TEST(RecordingReader, PiecesMayWaitForOneAnother) {
    RecordingReader reader({.ending = RecordingOptions::Ending::lineBreakAllowed});
    const std::string lines[] = {a + "\n" + at2 + "\n", b + "\n", a + "\n"};
    std::string found;
    for (const auto& text : lines) reader.append(text);
    if (const auto* batch = reader.next()) found += describe({*batch});
    for (const auto& text : lines) reader.append(text);
    reader.finish();
    while (const auto* batch = reader.next()) found += describe({*batch});
    EXPECT_EQ(found,
              "@0.0;@1.0 a=Float 2.0;@2.0 a=String \u00e9;@1.0 a=Float 2.0 b=Boolean true;@2.0 a=String \u00e9;@1.0 a=Float 2.0 b=Boolean true;");
}

TEST(CreateJsonLines, WritesALinePerUpdate) {
    EXPECT_EQ(createJsonLines({{1, {}}, {2, {}}}), "");
    EXPECT_EQ(createJsonLines({{1.5, {{"b", 2.0}, {"a\n", List<Sample>{{0, 1}}}}}, {2, {{"c", std::nan("")}, {"d", -0.0}, {"e", INT64_MIN}}}}),
              R"({"timestamp":1.5,"name":"a\n","sequenceValue":[{"t":0,"f":1}]}
{"timestamp":1.5,"name":"b","floatValue":2}
{"timestamp":2,"name":"c","floatValue":null}
{"timestamp":2,"name":"d","floatValue":-0.0}
{"timestamp":2,"name":"e","integerValue":-9223372036854775808})");
    const LabelledValues withoutKeys{{"s", Sequence{{0, 1}}}, {"t", List<Sequence>{Sequence{{0, 1}}}}};
    EXPECT_EQ(createJsonLines({{1, withoutKeys}}), R"({"timestamp":1,"name":"s"}
{"timestamp":1,"name":"t"})");
    std::string results = "before\n";
    appendJsonLines(results, {1, withoutKeys});
    EXPECT_EQ(results, R"(before
{"timestamp":1,"name":"s","sequenceValue":[{"t":0,"f":1}]}
{"timestamp":1,"name":"t","sequenceArrayValue":[[{"t":0,"f":1}]]}
)");
}

}  // namespace KelvaneSDK::testing_support
