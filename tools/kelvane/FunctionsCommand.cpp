#include <algorithm>
#include <cctype>

#include "Commands.h"
#include "Files.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// One function of the library.
struct Function {
    std::string_view family;
    const Declaration* facts;
};

std::vector<Function> libraryFunctions() {
    // The registry keeps the declarations; the families have the order for people.
    const auto& registry = NodeRegistry::library();
    std::vector<Function> all;
    for (const auto& family : functionFamilies()) {
        for (const auto& nodeClass : family.classes) {
            const auto name = nodeClass.declaration().name;
            all.push_back({family.title, &registry.find(NodeCategory::Function, name)->declaration()});
        }
    }
    return all;
}

/// `Add(a: Generic value, b: Generic value) -> Generic value`
std::string signature(const Declaration& facts) {
    std::string text(facts.name);
    text += '(';
    for (const auto& input : facts.inputs) {
        if (&input != facts.inputs.data()) text += ", ";
        text += std::string(input.label) + ": " + std::string(typeString(input.type));
    }
    return text + ") -> " + std::string(typeString(facts.output));
}

/// When the function runs, as the second half of a sentence.
std::string runsWhen(const Declaration& facts) {
    const auto name = [&](std::size_t input) { return std::string(facts.inputs[input].label); };
    switch (facts.readiness) {
        case Readiness::allInputs:
            return facts.inputs.size() == 1 ? name(0) + " has a new value" : "every input has a new value";
        case Readiness::anyInput:
            return "any input has a new value";
        case Readiness::selectedInput:
            return "the input that " + name(0) + " selects has a new value";
        case Readiness::trueTrigger:
            return name(0) + " has a new value, and it is true";
        case Readiness::recording:
            return name(0) + " has a new value, or " + name(1) + " has one while " + name(0) + " is true";
        case Readiness::own:
            break;
    }
    return "its class decides";
}

std::vector<std::string> supportedTypes(const Declaration& facts) {
    std::vector<std::string> types;
    for (auto type = ValueClass::FloatValue; type <= ValueClass::SequenceArrayVariable;
         type = static_cast<ValueClass>(static_cast<int>(type) + 1)) {
        if (!isGeneric(type) && supports(type, facts.operation)) types.emplace_back(typeString(type));
    }
    return types;
}

std::string briefText(const Declaration& facts) {
    return "  " + signature(facts) + "\n      " + std::string(facts.description) + "\n";
}

std::string fullText(const Declaration& facts) {
    std::string text = briefText(facts);
    const auto line = [&](std::string_view topic, const std::string& content) {
        text += "      " + std::string(topic) + ": " + content + "\n";
    };
    for (const auto& input : facts.inputs) {
        if (!input.meaning.empty()) line(input.label, std::string(input.meaning));
    }
    line("runs when", runsWhen(facts));
    if (!facts.silentWhen.empty()) line("silent", std::string(facts.silentWhen));
    if (facts.operation != SlotOperation::none) line("works on", joined(supportedTypes(facts)));
    for (const auto& demand : facts.demands) line("demands that", std::string(demand.text));
    if (facts.keepsState) line("keeps state", "until a reset");
    return text;
}

std::string textOf(const std::vector<Function>& functions, bool inFull) {
    std::string text;
    std::string_view family;
    for (const auto& function : functions) {
        if (function.family != family) {
            if (!family.empty()) text += '\n';
            family = function.family;
            text += std::string(family) + "\n";
        }
        text += inFull ? fullText(*function.facts) : briefText(*function.facts);
    }
    return text;
}

std::string jsonOf(const std::vector<Function>& functions) {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    const auto list = [&](std::string_view key, const std::vector<std::string>& words) {
        json.key(key);
        json.beginArray();
        for (const auto& word : words) json.value(std::string_view(word));
        json.endArray();
    };
    json.beginArray();
    for (const auto& [family, facts] : functions) {
        json.beginObject();
        json.member("name", facts->name);
        json.member("family", family);
        json.member("description", facts->description);
        json.key("inputs");
        json.beginArray();
        for (const auto& input : facts->inputs) {
            json.beginObject();
            json.member("label", input.label);
            json.member("type", typeString(input.type));
            if (!input.meaning.empty()) json.member("meaning", input.meaning);
            json.endObject();
        }
        json.endArray();
        json.member("output", typeString(facts->output));
        json.member("runsWhen", std::string_view(runsWhen(*facts)));
        if (!facts->silentWhen.empty()) json.member("silent", facts->silentWhen);
        if (facts->operation != SlotOperation::none) list("worksOn", supportedTypes(*facts));
        std::vector<std::string> demands;
        for (const auto& demand : facts->demands) demands.emplace_back(demand.text);
        if (!demands.empty()) list("demands", demands);
        json.member("keepsState", facts->keepsState);
        json.endObject();
    }
    json.endArray();
    return text + "\n";
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

/// Whether some word of the function's name, description or keywords begins like this.
bool isFoundBy(const Declaration& facts, std::string_view word) {
    const auto text = lowered(" " + std::string(facts.name) + " " + std::string(facts.keywords) + " " +
                              std::string(facts.description));
    const auto wanted = lowered(word);
    for (auto at = text.find(wanted); at != text.npos; at = text.find(wanted, at + 1)) {
        if (at > 0 && std::isalnum(static_cast<unsigned char>(text[at - 1])) == 0) return true;
    }
    return false;
}

}  // namespace

int functions(const FunctionsOptions& options) {
    auto chosen = libraryFunctions();
    bool inFull = false;
    if (!options.name.empty()) {
        const auto all = chosen;
        std::erase_if(chosen, [&](const auto& function) { return function.facts->name != options.name; });
        inFull = !chosen.empty();
        if (chosen.empty()) {
            chosen = all;
            std::erase_if(chosen,
                          [&](const auto& function) { return !isFoundBy(*function.facts, options.name); });
        }
        if (chosen.empty()) {
            std::vector<std::string> names;
            for (const auto& function : all) names.emplace_back(function.facts->name);
            const auto nearest = nearestNameHint(options.name, names);
            throw Failure{ExitStatus::wrongUsage,
                          withHint("kelvane: no function is called or described by " + inQuotes(options.name),
                                   nearest.empty() ? "without a word, all are listed" : nearest)};
        }
    }
    writeToStandardOutput(options.asJson ? jsonOf(chosen) : textOf(chosen, inFull || chosen.size() == 1));
    return ExitStatus::done;
}

}  // namespace kelvane
