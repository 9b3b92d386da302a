#include <algorithm>
#include <initializer_list>
#include <limits>
#include <map>

#include "Commands.h"
#include "Files.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// Writes the JSON Schema of diagram documents, as far as it can say what fits together.
class SchemaWriter {
public:
    std::string document() {
        json.beginObject();
        json.member("$schema", "https://json-schema.org/draft/2020-12/schema");
        json.member("title", "Kelvane diagram");
        object(
            {{"nodes", "The nodes", [this] { list("node"); }},
             {"properties", "What is said about nodes, applied in this order", [this] { list("property"); }},
             {"connections", "Which node feeds which input, made in this order",
              [this] { list("connection"); }},
             {"positions", "Where nodes stand on the canvas", [this] { list("position"); }}},
            {{"containers", "Boxes that group nodes", [this] { optionalList("container"); }},
             {"manualLines", "Free text that is kept with the diagram", [this] { optionalList("text"); }},
             {"subdiagrams", "Named groups of nodes; every node belongs in one",
              [this] { optionalList("subdiagram"); }}});
        json.key("$defs");
        json.beginObject();
        definition("node", [this] { node(); });
        definition("property", [this] { property(); });
        definition("connection", [this] { connection(); });
        definition("position", [this] {
            object({{"id", "The node's id", reference("id")},
                    {"x", "To the right", reference("number")},
                    {"y", "Downwards", reference("number")}});
        });
        definition("container", [this] {
            object({{"x", "To the right", reference("number")},
                    {"y", "Downwards", reference("number")},
                    {"description", "The caption", reference("text")},
                    {"nodeIds", "The nodes in the box", [this] { list("id"); }}},
                   {{"color", "The box's colour", [this] { optionalOf(colors()); }},
                    {"containers", "Boxes in the box", [this] { optionalList("container"); }}});
        });
        definition("subdiagram", [this] {
            object({{"description", "The name", reference("text")},
                    {"nodeIds", "Its nodes", [this] { list("id"); }}});
        });
        definition("valueType", [this] { choice("enum", valueTypes()); });
        definition("function", [this] { functions(); });
        definition("color", [this] { choice("enum", colors()); });
        definition("switch", [this] { choice("enum", {"true", "false"}); });
        definition("id", [this] {
            integer(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
        });
        definition("number", [this] { json.member("type", "number"); });
        definition("text", [this] { json.member("type", "string"); });
        json.endObject();
        json.endObject();
        return text + "\n";
    }

private:
    using Names = std::vector<std::string>;
    using Content = std::function<void()>;
    struct Key {
        const char* name;
        const char* description;
        Content content;
    };

    /// The members of a schema for objects with these keys.
    void object(const std::vector<Key>& required, const std::vector<Key>& optional = {}) {
        json.member("type", "object");
        Names names;
        for (const auto& key : required) names.emplace_back(key.name);
        choice("required", names);
        json.key("properties");
        json.beginObject();
        for (const auto* keys : {&required, &optional}) {
            for (const auto& key : *keys) {
                json.key(key.name);
                json.beginObject();
                json.member("description", key.description);
                key.content();
                json.endObject();
            }
        }
        json.endObject();
    }

    void definition(const char* name, const Content& content) {
        json.key(name);
        json.beginObject();
        content();
        json.endObject();
    }

    void choice(const char* key, const Names& names) {
        json.key(key);
        json.beginArray();
        for (const auto& name : names) json.value(std::string_view(name));
        json.endArray();
    }
    /// One of the names; like a missing member, null says nothing.
    void optionalOf(const Names& names) {
        json.key("enum");
        json.beginArray();
        for (const auto& name : names) json.value(std::string_view(name));
        json.null();
        json.endArray();
    }

    static std::string pathOf(const char* name) { return std::string("#/$defs/") + name; }
    Content reference(const char* name) {
        return [this, name] { json.member("$ref", std::string_view(pathOf(name))); };
    }
    void items(const char* name) {
        json.key("items");
        json.beginObject();
        reference(name)();
        json.endObject();
    }
    void list(const char* name) {
        json.member("type", "array");
        items(name);
    }
    void optionalList(const char* name) {
        choice("type", {"array", "null"});
        items(name);
    }
    void integer(std::int64_t least, std::int64_t most) {
        json.member("type", "integer");
        json.member("minimum", least);
        json.member("maximum", most);
    }

    /// Under the condition that a key has one of these values, another has a definition's.
    void when(const char* key, const Names& values, const char* other, const char* definitionName) {
        const auto restriction = [&](const char* where, const char* name, const Content& content) {
            json.key(where);
            json.beginObject();
            json.key("properties");
            json.beginObject();
            definition(name, content);
            json.endObject();
            json.endObject();
        };
        json.beginObject();
        restriction("if", key, [&] { choice("enum", values); });
        restriction("then", other, reference(definitionName));
        json.endObject();
    }

    void node() {
        object({{"id", "By which other records name the node", reference("id")},
                {"classString", "What kind of node it is", [this] { choice("enum", classes()); }},
                {"typeString", "A function's name, or the type of the values", reference("text")}},
               {{"outputType", "The type of values that a generic output has taken on",
                 [this] { optionalOf(valueTypes()); }}});
        Names others = classes();
        const std::string function(classStringOf(NodeCategory::Function));
        std::erase(others, function);
        json.key("allOf");
        json.beginArray();
        when("classString", {function}, "typeString", "function");
        when("classString", others, "typeString", "valueType");
        json.endArray();
    }

    void property() {
        Names names, switches;
        for (const auto& [name, isSwitch] : knownProperties()) {
            names.push_back(name);
            if (isSwitch) switches.push_back(name);
        }
        object({{"id", "The node's id", reference("id")},
                {"propertyString", "What is said: Description is the label", [&] { choice("enum", names); }},
                {"valueString", "The value as text", reference("text")}});
        json.key("allOf");
        json.beginArray();
        when("propertyString", {"Color"}, "valueString", "color");
        when("propertyString", switches, "valueString", "switch");
        json.endArray();
    }

    void connection() {
        std::size_t most = 1;
        for (const auto& [name, nodeClass] : NodeRegistry::library().classes(NodeCategory::Function))
            most = std::max(most, nodeClass.declaration().inputs.size());
        object({{"outputNodeId", "The node whose output feeds the input", reference("id")},
                {"inputNodeId", "The node that is fed", reference("id")},
                {"inputIndex", "Which of its inputs, counted from 0: see its function",
                 [&] { integer(0, static_cast<std::int64_t>(most) - 1); }}});
    }

    /// Every function, with its inputs' numbers, names and types.
    void functions() {
        json.key("anyOf");
        json.beginArray();
        for (const auto& [name, nodeClass] : NodeRegistry::library().classes(NodeCategory::Function)) {
            const auto& facts = nodeClass.declaration();
            std::string inputs;
            for (std::size_t i = 0; i < facts.inputs.size(); ++i) {
                inputs += (i == 0 ? "" : ", ") + std::to_string(i) + " " + facts.inputs[i].label + ": " +
                          std::string(typeString(facts.inputs[i].type));
            }
            json.beginObject();
            json.member("const", std::string_view(name));
            json.member("description",
                        std::string_view("(" + inputs + ") -> " + std::string(typeString(facts.output)) +
                                         ": " + std::string(facts.description)));
            json.endObject();
        }
        json.endArray();
    }

    static Names classes() {
        Names names;
        for (const auto category : allNodeCategories) names.emplace_back(classStringOf(category));
        return names;
    }
    static Names valueTypes() {
        Names names;
        for (const auto& [name, nodeClass] : NodeRegistry::library().classes(NodeCategory::Constant))
            names.push_back(name);
        return names;
    }
    static Names colors() {
        Names names;
        for (const auto color : allBodyColors()) names.emplace_back(bodyColorName(color));
        return names;
    }
    /// The properties that nodes have, and whether they are true or false whatever the node.
    static std::map<std::string, bool> knownProperties() {
        std::map<std::string, bool> areSwitches;
        for (const auto category : allNodeCategories) {
            for (const auto& [type, nodeClass] : NodeRegistry::library().classes(category)) {
                const auto node = nodeClass.make();
                node->setProperty("Color", "red");
                for (const auto& [name, value] : node->getProperties()) {
                    bool& isSwitch = areSwitches.try_emplace(name, true).first->second;
                    isSwitch = isSwitch && (value == "true" || value == "false");
                }
            }
        }
        return areSwitches;
    }

    std::string text;
    JsonWriter json{text, JsonWriter::Layout::pretty};
};

}  // namespace

int schema(const SchemaOptions&) {
    writeToStandardOutput(SchemaWriter().document());
    return ExitStatus::done;
}

}  // namespace kelvane
