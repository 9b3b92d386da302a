#include "KelvaneSDK/DiagramData.h"

#include <deque>
#include <iterator>

#include "KelvaneSDK/FileProcessing/JsonReader.h"
#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/FileProcessing/QuickDocumentReader.h"
#include "KelvaneSDK/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

using Element = simdjson::dom::element;
using Object = simdjson::dom::object;

std::size_t lengthOf(const simdjson::dom::array& array) {
    // The parser's own count stops at 24 bits.
    constexpr std::size_t saturated = 0xFFFFFF;
    const std::size_t counted = array.size();
    return counted < saturated ? counted
                               : static_cast<std::size_t>(std::distance(array.begin(), array.end()));
}

// Reads records out of a parsed document. The first problem ends the decoding; what was read until then is
// dropped.
class Decoder {
public:
    explicit Decoder(DecodeFailure& target) : failure(target) {}

    std::optional<DiagramInfo> document(const Element& root) {
        DiagramInfo info;
        Object object;
        if (!readObject(root, object)) return std::nullopt;
        const auto [nodes, properties, connections, positions, containers, manualLines, subdiagrams] =
            members<7>(object, {"nodes", "properties", "connections", "positions", "containers",
                                "manualLines", "subdiagrams"});
        const bool read = list(nodes, "nodes", info.nodes, &Decoder::node) &&
                          list(properties, "properties", info.properties, &Decoder::property) &&
                          list(connections, "connections", info.connections, &Decoder::connection) &&
                          list(positions, "positions", info.positions, &Decoder::position) &&
                          containerTree(containers, info.containers) &&
                          optionalList(manualLines, "manualLines", info.manualLines, &Decoder::line) &&
                          optionalList(subdiagrams, "subdiagrams", info.subdiagrams, &Decoder::subdiagram);
        return read ? std::optional(std::move(info)) : std::nullopt;
    }

private:
    using MaybeElement = std::optional<Element>;

    bool readObject(const Element& element, Object& object) {
        return element.get_object().get(object) == simdjson::SUCCESS ||
               fail("", "an object was expected, " + std::string(kindOf(element)) + " was found");
    }

    bool node(const Element& element, NodeInfo& info) {
        Object object;
        if (!readObject(element, object)) return false;
        const auto [id, classString, typeString, outputType] =
            members<4>(object, {"id", "classString", "typeString", "outputType"});
        return required(id, "id", info.id) && required(classString, "classString", info.classString) &&
               required(typeString, "typeString", info.typeString) &&
               optional(outputType, "outputType", info.outputType);
    }

    bool property(const Element& element, PropertyInfo& info) {
        Object object;
        if (!readObject(element, object)) return false;
        const auto [id, propertyString, valueString] =
            members<3>(object, {"id", "propertyString", "valueString"});
        return required(id, "id", info.id) &&
               required(propertyString, "propertyString", info.propertyString) &&
               required(valueString, "valueString", info.valueString);
    }

    bool connection(const Element& element, ConnectionInfo& info) {
        Object object;
        if (!readObject(element, object)) return false;
        const auto [outputNodeId, inputNodeId, inputIndex] =
            members<3>(object, {"outputNodeId", "inputNodeId", "inputIndex"});
        return required(outputNodeId, "outputNodeId", info.outputNodeId) &&
               required(inputNodeId, "inputNodeId", info.inputNodeId) &&
               required(inputIndex, "inputIndex", info.inputIndex);
    }

    bool position(const Element& element, PositionInfo& info) {
        Object object;
        if (!readObject(element, object)) return false;
        const auto [id, x, y] = members<3>(object, {"id", "x", "y"});
        return required(id, "id", info.id) && required(x, "x", info.x) && required(y, "y", info.y);
    }

    bool line(const Element& element, std::string& text) { return required(element, "", text); }

    bool nodeId(const Element& element, std::int64_t& id) { return required(element, "", id); }

    bool subdiagram(const Element& element, SubdiagramInfo& info) {
        Object object;
        if (!readObject(element, object)) return false;
        const auto [description, nodeIds] = members<2>(object, {"description", "nodeIds"});
        return required(description, "description", info.description) &&
               list(nodeIds, "nodeIds", info.nodeIds, &Decoder::nodeId);
    }

    // Reads a container but leaves those nested in it to containerTree().
    bool container(const Element& element, ContainerInfo& info, MaybeElement& nested) {
        Object object;
        if (!readObject(element, object)) return false;
        const auto [x, y, description, nodeIds, color, containers] =
            members<6>(object, {"x", "y", "description", "nodeIds", "color", "containers"});
        nested = containers;
        return required(x, "x", info.x) && required(y, "y", info.y) &&
               required(description, "description", info.description) &&
               list(nodeIds, "nodeIds", info.nodeIds, &Decoder::nodeId) &&
               optional(color, "color", info.color);
    }

    // A list of containers, with its place in the list that it is nested in.
    struct Level {
        Element array;
        std::vector<ContainerInfo>* target;
        const Level* outer;
        std::size_t place;

        std::string pointer() const {
            std::vector<const Level*> path;
            for (const auto* level = this; level->outer != nullptr; level = level->outer)
                path.push_back(level);
            std::string text = "/containers";
            for (; !path.empty(); path.pop_back())
                text += "/" + std::to_string(path.back()->place) + "/containers";
            return text;
        }
    };

    // Containers nest as deep as the document does, so they are read level by level.
    bool containerTree(const MaybeElement& root, std::optional<std::vector<ContainerInfo>>& target) {
        std::deque<Level> levels;
        std::vector<const Level*> open;
        if (root) open.push_back(&levels.emplace_back(Level{*root, &target.emplace(), nullptr, 0}));
        while (!open.empty()) {
            const Level& level = *open.back();
            open.pop_back();
            simdjson::dom::array array;
            if (level.array.get_array().get(array) != simdjson::SUCCESS) {
                expected("", "an array", level.array);
                return prefix(level.pointer());
            }
            // Sized first, so that the addresses handed to the next levels stay.
            level.target->resize(lengthOf(array));
            std::size_t index = 0;
            for (const Element element : array) {
                ContainerInfo& info = (*level.target)[index];
                MaybeElement nested;
                if (!container(element, info, nested))
                    return prefix(level.pointer() + "/" + std::to_string(index));
                if (nested) {
                    auto& inner =
                        levels.emplace_back(Level{*nested, &info.containers.emplace(), &level, index});
                    open.push_back(&inner);
                }
                ++index;
            }
        }
        return true;
    }

    template <class Record>
    bool list(const MaybeElement& element, std::string_view name, std::vector<Record>& target,
              bool (Decoder::*decodeItem)(const Element&, Record&)) {
        if (!element) return fail(name, "a required array is missing");
        simdjson::dom::array array;
        if (element->get_array().get(array) != simdjson::SUCCESS) return expected(name, "an array", *element);
        target.resize(lengthOf(array));
        std::size_t index = 0;
        for (const Element item : array) {
            Record& record = target[index++];
            if ((this->*decodeItem)(item, record)) continue;
            // Only a failure needs the place, so the pointer is put together on the way out.
            return prefix("/" + std::string(name) + "/" + std::to_string(index - 1));
        }
        return true;
    }

    template <class Record>
    bool optionalList(const MaybeElement& element, std::string_view name,
                      std::optional<std::vector<Record>>& target,
                      bool (Decoder::*decodeItem)(const Element&, Record&)) {
        return !element || list(element, name, target.emplace(), decodeItem);
    }

    bool read(const Element& element, std::int64_t& target) {
        const auto integer = asInteger(element);
        if (integer) target = *integer;
        return integer.has_value();
    }
    bool read(const Element& element, double& target) {
        const auto number = asDouble(element);
        if (number) target = *number;
        return number.has_value();
    }
    bool read(const Element& element, std::string& target) {
        const auto string = asString(element);
        if (string) target = *string;
        return string.has_value();
    }
    static std::string_view nameOfType(const std::int64_t&) { return "an integer of 64 bits"; }
    static std::string_view nameOfType(const double&) { return "a number"; }
    static std::string_view nameOfType(const std::string&) { return "a string"; }

    template <class T>
    bool required(const MaybeElement& element, std::string_view name, T& target) {
        if (!element) return fail(name, std::string(nameOfType(target)) + " is missing");
        return read(*element, target) || expected(name, nameOfType(target), *element);
    }

    template <class T>
    bool optional(const MaybeElement& element, std::string_view name, std::optional<T>& target) {
        if (!element) return true;
        return read(*element, target.emplace()) || expected(name, nameOfType(*target), *element);
    }

    bool expected(std::string_view name, std::string_view wanted, const Element& found) {
        return fail(name, std::string(wanted) + " was expected, " + describe(found) + " was found");
    }

    static std::string describe(const Element& element) {
        if (element.type() == simdjson::dom::element_type::DOUBLE)
            return "the number " + simdjson::minify(element);
        return std::string(kindOf(element));
    }

    bool fail(std::string_view name, std::string reason) {
        failure = {name.empty() ? "" : "/" + std::string(name), std::move(reason)};
        return false;
    }

    bool prefix(const std::string& pointer) {
        failure.pointer.insert(0, pointer);
        return false;
    }

    DecodeFailure& failure;
};

void encodeIds(JsonWriter& json, const std::vector<std::int64_t>& ids) {
    json.key("nodeIds");
    json.beginArray();
    for (const auto id : ids) json.value(id);
    json.endArray();
}

void encodeContainers(JsonWriter& json, const std::vector<ContainerInfo>& containers) {
    struct Level {
        const std::vector<ContainerInfo>* list;
        std::size_t next;
    };
    std::vector<Level> open{{&containers, 0}};
    json.key("containers");
    json.beginArray();
    while (!open.empty()) {
        Level& level = open.back();
        if (level.next == level.list->size()) {
            json.endArray();
            open.pop_back();
            if (!open.empty()) json.endObject();
            continue;
        }
        const ContainerInfo& info = (*level.list)[level.next++];
        json.beginObject();
        json.member("x", info.x);
        json.member("y", info.y);
        json.member("description", std::string_view(info.description));
        encodeIds(json, info.nodeIds);
        if (info.color) json.member("color", std::string_view(*info.color));
        if (info.containers) {
            json.key("containers");
            json.beginArray();
            open.push_back({&*info.containers, 0});
        } else {
            json.endObject();
        }
    }
}

template <class Record, class Encode>
void encodeList(JsonWriter& json, std::string_view key, const std::vector<Record>& records, Encode encode) {
    json.key(key);
    json.beginArray();
    for (const auto& record : records) {
        json.beginObject();
        encode(record);
        json.endObject();
    }
    json.endArray();
}

std::optional<DiagramData> decodeDocument(std::string_view text, DecodeFailure& failure) {
    if (auto info = readDocumentQuickly(text)) return DiagramData{std::move(*info)};
    JsonReader reader(maximumDocumentDepth);
    JsonFailure notJson;
    const auto root = reader.parse(text, notJson);
    if (!root) {
        failure = {std::move(notJson.pointer), std::move(notJson.reason)};
        return std::nullopt;
    }
    auto info = Decoder(failure).document(*root);
    if (!info) {
        if (const auto plain = reader.parseWithPlainIntegers(text)) info = Decoder(failure).document(*plain);
    }
    if (!info) return std::nullopt;
    return DiagramData{std::move(*info)};
}

std::string encodeDocument(const DiagramInfo& info) {
    std::string text;
    JsonWriter json(text, JsonWriter::Layout::pretty);
    json.beginObject();
    encodeList(json, "nodes", info.nodes, [&](const NodeInfo& node) {
        json.member("id", node.id);
        json.member("classString", std::string_view(node.classString));
        json.member("typeString", std::string_view(node.typeString));
        if (node.outputType) json.member("outputType", std::string_view(*node.outputType));
    });
    encodeList(json, "properties", info.properties, [&](const PropertyInfo& property) {
        json.member("id", property.id);
        json.member("propertyString", std::string_view(property.propertyString));
        json.member("valueString", std::string_view(property.valueString));
    });
    encodeList(json, "connections", info.connections, [&](const ConnectionInfo& connection) {
        json.member("outputNodeId", connection.outputNodeId);
        json.member("inputNodeId", connection.inputNodeId);
        json.member("inputIndex", connection.inputIndex);
    });
    encodeList(json, "positions", info.positions, [&](const PositionInfo& position) {
        json.member("id", position.id);
        json.member("x", position.x);
        json.member("y", position.y);
    });
    if (info.containers) encodeContainers(json, *info.containers);
    if (info.manualLines) {
        json.key("manualLines");
        json.beginArray();
        for (const auto& line : *info.manualLines) json.value(std::string_view(line));
        json.endArray();
    }
    if (info.subdiagrams) {
        encodeList(json, "subdiagrams", *info.subdiagrams, [&](const SubdiagramInfo& subdiagram) {
            json.member("description", std::string_view(subdiagram.description));
            encodeIds(json, subdiagram.nodeIds);
        });
    }
    json.endObject();
    text += '\n';
    return text;
}

}  // namespace

std::optional<DiagramData> DiagramData::decode(std::string_view text, DecodeFailure* failure) {
    DecodeFailure ignored;
    DecodeFailure& reported = failure != nullptr ? *failure : ignored;
    auto decoded = withinMemory([&] { return decodeDocument(text, reported); });
    if (decoded) return std::move(*decoded);
    reported = {"", outOfMemoryReason};
    return std::nullopt;
}

std::string DiagramData::encode() const {
    return withinMemoryOrError([&] { return encodeDocument(info); }).value_or(std::string());
}

}  // namespace KelvaneSDK
