#include <algorithm>
#include <array>
#include <span>

#include "KelvaneSDK/DiagramCheck/Checks.h"
#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"
#include "KelvaneSDK/DocumentFields.h"
#include "KelvaneSDK/FileProcessing/JsonScan.h"

namespace KelvaneSDK {

namespace {

struct Key;
/// A kind of record, by its keys; null for what is no record.
using Kind = std::span<const Key> (*)();
struct Key {
    std::string_view name;
    /// Of the records that a list under the key holds.
    Kind records;
};

template <DocumentRecord Record>
std::span<const Key> keysOf();

template <class Record, class T>
constexpr Key keyOf(const DocumentField<Record, T>& field) {
    return {field.key, nullptr};
}
template <class Record, DocumentRecord Item>
constexpr Key keyOf(const DocumentField<Record, std::vector<Item>>& field) {
    return {field.key, keysOf<Item>};
}
template <class Record, DocumentRecord Item>
constexpr Key keyOf(const DocumentField<Record, std::optional<std::vector<Item>>>& field) {
    return {field.key, keysOf<Item>};
}

template <DocumentRecord Record>
std::span<const Key> keysOf() {
    static constexpr auto keys =
        std::apply([](const auto&... field) { return std::array{keyOf(field)...}; }, documentFields<Record>);
    return keys;
}

/// Walks through a document and compares the names of members with the keys of their records.
class KeyScan final : public JsonVisitor {
public:
    struct Unknown {
        std::string pointer;
        std::string name;
        std::string_view nearest;
    };

    /// `mostUnknown` are kept.
    KeyScan(std::string_view source, std::size_t mostUnknown) : text(source), most(mostUnknown) {
        scanJson(text, maximumDocumentDepth, *this);
    }

    std::vector<Unknown> unknown;

    void begin(std::size_t offset, bool isContainer) override {
        if (!open.empty() && open.back().isList) ++open.back().index;
        if (!isContainer) return;
        const bool isList = text[offset] == '[';
        Kind kind = isList ? nullptr : keysOf<DiagramInfo>;
        if (!open.empty()) {
            const Level& level = open.back();
            // Records stand in a list, which is a member of a record.
            kind = level.isList != isList ? (level.isList ? level.kind : level.pending) : nullptr;
        }
        open.push_back({kind, isList});
    }

    void name(std::string_view raw) override {
        Level& level = open.back();
        level.pending = nullptr;
        level.name = raw;
        if (level.kind == nullptr || level.isList) return;
        const auto keys = level.kind();
        const auto known =
            std::find_if(keys.begin(), keys.end(), [&](const Key& key) { return key.name == raw; });
        if (known != keys.end()) {
            level.pending = known->records;
            level.seen |= 1U << (known - keys.begin());
        } else if (unknown.size() < most) {
            level.unknown.push_back(raw);
        }
    }

    void end() override {
        const Level level = std::move(open.back());
        open.pop_back();
        if (level.unknown.empty()) return;
        std::vector<std::string_view> absent;
        const auto keys = level.kind();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if ((level.seen >> i & 1U) == 0) absent.push_back(keys[i].name);
        }
        for (const auto name : level.unknown) {
            const auto nearest = nearestName(name, absent);
            if (!nearest.empty()) unknown.push_back({pointer(), std::string(name), nearest});
        }
    }

private:
    struct Level {
        /// The kind of the object, or of the objects in the list.
        Kind kind;
        bool isList;
        // Of the member that was named last, or of the element that began last.
        Kind pending = nullptr;
        std::string_view name = {};
        std::size_t index = static_cast<std::size_t>(-1);
        unsigned seen = 0;
        std::vector<std::string_view> unknown = {};
    };

    std::string pointer() const {
        std::string result;
        for (const auto& level : open)
            result += "/" + (level.isList ? std::to_string(level.index) : std::string(level.name));
        return result;
    }

    std::string_view text;
    std::vector<Level> open;
    std::size_t most;
};

}  // namespace

void checkKeys(std::string_view text, FindingList& findings) {
    for (const auto& [pointer, name, nearest] : KeyScan(text, mostFindings).unknown) {
        findings.add("unknown-key", {Section::document, 0, pointer},
                     "the key " + quoted(name) + " is unknown, and passed over",
                     {.subject = name, .nearest = nearest});
    }
}

std::string hintOfMissingKey(std::string_view text, std::string_view pointer) {
    const auto slash = pointer.rfind('/');
    const auto object = pointer.substr(0, slash), key = pointer.substr(slash + 1);
    for (const auto& [place, name, nearest] : KeyScan(text, mostFindings).unknown) {
        if (place == object && nearest == key)
            return quoted(name) + " stands there: rename it to " + quoted(key);
    }
    return object.empty() ? "add " + quoted(key) + ": []" : std::string();
}

}  // namespace KelvaneSDK
