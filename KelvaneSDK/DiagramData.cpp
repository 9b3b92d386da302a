#include "KelvaneSDK/DiagramData.h"

#include <deque>
#include <iterator>

#include "KelvaneSDK/DocumentFields.h"
#include "KelvaneSDK/FileProcessing/JsonReader.h"
#include "KelvaneSDK/FileProcessing/JsonWriter.h"
#include "KelvaneSDK/FileProcessing/QuickDocumentReader.h"
#include "KelvaneSDK/Kelvane/MemoryGuard.h"

namespace KelvaneSDK {

namespace {

using Element = simdjson::dom::element;

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
        return read(root, "", info) ? std::optional(std::move(info)) : std::nullopt;
    }

private:
    // What stands under a key, or in a list, where the key is empty.
    using MaybeElement = std::optional<Element>;

    template <DocumentRecord Record>
    bool read(const MaybeElement& element, std::string_view, Record& record) {
        simdjson::dom::object object;
        if (element->get_object().get(object) != simdjson::SUCCESS)
            return fail("", "an object was expected, " + std::string(kindOf(*element)) + " was found");
        const auto found = members(object, documentKeys<Record>);
        std::size_t index = 0;
        return eachField(record,
                         [&](std::string_view key, auto& field) { return read(found[index++], key, field); });
    }

    template <class Item>
    bool read(const MaybeElement& element, std::string_view key, std::vector<Item>& list) {
        if (!element) return fail(key, "a required array is missing");
        simdjson::dom::array array;
        if (element->get_array().get(array) != simdjson::SUCCESS) return expected(key, "an array", *element);
        list.resize(lengthOf(array));
        std::size_t index = 0;
        for (const Element item : array) {
            if (read(item, "", list[index++])) continue;
            // Only a failure needs the place, so the pointer is put together on the way out.
            return prefix("/" + std::string(key) + "/" + std::to_string(index - 1));
        }
        return true;
    }

    template <class T>
    bool read(const MaybeElement& element, std::string_view key, std::optional<T>& content) {
        return !element || read(element, key, content.emplace());
    }

    bool read(const MaybeElement& element, std::string_view key, std::int64_t& integer) {
        return take(element, key, "an integer of 64 bits", asInteger, integer);
    }
    bool read(const MaybeElement& element, std::string_view key, double& number) {
        return take(element, key, "a number", asDouble, number);
    }
    bool read(const MaybeElement& element, std::string_view key, std::string& string) {
        return take(element, key, "a string", asString, string);
    }
    template <class T, class From>
    bool take(const MaybeElement& element, std::string_view key, std::string_view wanted,
              std::optional<From> (*contentOf)(const Element&), T& target) {
        if (!element) return fail(key, std::string(wanted) + " is missing");
        const auto content = contentOf(*element);
        if (!content) return expected(key, wanted, *element);
        target = *content;
        return true;
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
    bool read(const MaybeElement& element, std::string_view,
              std::optional<std::vector<ContainerInfo>>& target) {
        if (!element) return true;
        open.push_back(&levels.emplace_back(Level{*element, &target.emplace(), present, place}));
        if (present != nullptr) return true;
        while (!open.empty()) {
            present = open.back();
            open.pop_back();
            if (!readPresent()) return false;
        }
        return true;
    }

    bool readPresent() {
        simdjson::dom::array array;
        if (present->array.get_array().get(array) != simdjson::SUCCESS) {
            expected("", "an array", present->array);
            return prefix(present->pointer());
        }
        // Sized first, so that the addresses handed to the next levels stay.
        present->target->resize(lengthOf(array));
        place = 0;
        for (const Element container : array) {
            if (!read(container, "", (*present->target)[place]))
                return prefix(present->pointer() + "/" + std::to_string(place));
            ++place;
        }
        return true;
    }

    bool expected(std::string_view key, std::string_view wanted, const Element& found) {
        return fail(key, std::string(wanted) + " was expected, " + describe(found) + " was found");
    }

    static std::string describe(const Element& element) {
        if (element.type() == simdjson::dom::element_type::DOUBLE)
            return "the number " + simdjson::minify(element);
        return std::string(kindOf(element));
    }

    bool fail(std::string_view key, std::string reason) {
        failure = {key.empty() ? "" : "/" + std::string(key), std::move(reason)};
        return false;
    }

    bool prefix(const std::string& pointer) {
        failure.pointer.insert(0, pointer);
        return false;
    }

    DecodeFailure& failure;
    std::deque<Level> levels;
    std::vector<const Level*> open;
    // The list of containers that is being read, and the place in it.
    const Level* present = nullptr;
    std::size_t place = 0;
};

class Encoder {
public:
    explicit Encoder(std::string& text) : json(text, JsonWriter::Layout::pretty) {}

    template <DocumentRecord Record>
    void write(const Record& record) {
        json.beginObject();
        writeFields(record);
        json.endObject();
    }

private:
    template <class Record>
    void writeFields(const Record& record) {
        eachField(record,
                  [&](std::string_view key, const auto& field) { return writeField(key, field), true; });
    }
    template <class T>
    void writeField(std::string_view key, const T& content) {
        json.key(key);
        write(content);
    }
    template <class T>
    void writeField(std::string_view key, const std::optional<T>& content) {
        if (content) writeField(key, *content);
    }
    // Nested ones are left to the outermost call, since they nest to any depth.
    void writeField(std::string_view key, const std::optional<std::vector<ContainerInfo>>& containers) {
        if (!containers) return;
        json.key(key);
        json.beginArray();
        open.push_back({&*containers, 0});
        if (open.size() == 1) writeOpen();
    }
    void writeOpen() {
        while (!open.empty()) {
            Level& level = open.back();
            if (level.next == level.list->size()) {
                json.endArray();
                open.pop_back();
                if (!open.empty()) json.endObject();
                continue;
            }
            const auto depth = open.size();
            json.beginObject();
            writeFields((*level.list)[level.next++]);
            if (open.size() == depth) json.endObject();
        }
    }
    template <class Item>
    void write(const std::vector<Item>& list) {
        json.beginArray();
        for (const auto& item : list) write(item);
        json.endArray();
    }
    void write(std::int64_t integer) { json.value(integer); }
    void write(double number) { json.value(number); }
    void write(const std::string& string) { json.value(std::string_view(string)); }

    struct Level {
        const std::vector<ContainerInfo>* list;
        std::size_t next;
    };
    std::vector<Level> open;
    JsonWriter json;
};

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
    Encoder(text).write(info);
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
