#include "Commands.h"
#include "Files.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// One function of the library, with a node of its class to look at.
struct Function {
    std::string_view family, description;
    std::unique_ptr<Node> node;
};

std::vector<Function> libraryFunctions() {
    std::vector<Function> all;
    for (const auto& family : functionFamilies()) {
        for (const auto& nodeClass : family.classes) {
            all.push_back({family.title, nodeClass.description, nodeClass.make()});
        }
    }
    return all;
}

std::string_view labelOf(const TimestampedVariable& input) {
    return input.label == nullptr ? "" : input.label;
}

/// `Add(a: Generic value, b: Generic value) -> Generic value`
std::string signature(const Node& node) {
    std::string text = node.typeString + "(";
    for (const auto* input : node.inputValues()) {
        if (input->index > 0) text += ", ";
        text += std::string(labelOf(*input)) + ": " + std::string(input->typeString());
    }
    text += ")";
    if (const auto* output = node.outputValue()) text += " -> " + std::string(output->typeString());
    return text;
}

std::string textOf(const std::vector<Function>& functions) {
    std::string text;
    std::string_view family;
    for (const auto& function : functions) {
        if (function.family != family) {
            if (!family.empty()) text += '\n';
            family = function.family;
            text += std::string(family) + "\n";
        }
        text += "  " + signature(*function.node) + "\n      " + std::string(function.description) + "\n";
    }
    return text;
}

std::string jsonOf(const std::vector<Function>& functions) {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    json.beginArray();
    for (const auto& [family, description, node] : functions) {
        json.beginObject();
        json.member("name", std::string_view(node->typeString));
        json.member("family", family);
        json.member("description", description);
        json.key("inputs");
        json.beginArray();
        for (const auto* input : node->inputValues()) {
            json.beginObject();
            json.member("label", labelOf(*input));
            json.member("type", input->typeString());
            json.endObject();
        }
        json.endArray();
        json.key("output");
        node->outputValue() == nullptr ? json.null() : json.value(node->outputValue()->typeString());
        json.endObject();
    }
    json.endArray();
    return text + "\n";
}

}  // namespace

int functions(const FunctionsOptions& options) {
    auto chosen = libraryFunctions();
    if (!options.name.empty()) {
        std::vector<std::string> names;
        for (const auto& function : chosen) names.push_back(function.node->typeString);
        std::erase_if(chosen,
                      [&](const auto& function) { return function.node->typeString != options.name; });
        if (chosen.empty()) {
            throw Failure{ExitStatus::wrongUsage,
                          withHint("kelvane: no function is called " + inQuotes(options.name),
                                   nearestNameHint(options.name, names))};
        }
    }
    writeToStandardOutput(options.asJson ? jsonOf(chosen) : textOf(chosen));
    return ExitStatus::done;
}

}  // namespace kelvane
