#pragma once

// Internal: reads the payloads that JSON texts hold. Not installed, since it shows a third-party type.

#include "KelvaneSDK/FileProcessing/JsonReader.h"
#include "KelvaneSDK/Value.h"

namespace KelvaneSDK {

/// Reads payloads out of parsed JSON: numbers, texts, {"x","y","z"}, {"x","y","z","w"}, {"t","f"} and lists
/// of these. After a failure, why() ends a sentence that begins with the name of the place (` is a string; a
/// number was expected`), and where() is the JSON pointer from the element to the fault in it.
class PayloadReader {
public:
    bool read(const simdjson::dom::element& element, double& target);
    bool read(const simdjson::dom::element& element, std::int64_t& target);
    bool read(const simdjson::dom::element& element, bool& target);
    /// The text lives as long as the parsed document.
    bool read(const simdjson::dom::element& element, std::string_view& target);
    bool read(const simdjson::dom::element& element, String& target);
    bool read(const simdjson::dom::element& element, Vector& target);
    bool read(const simdjson::dom::element& element, Orientation& target);
    bool read(const simdjson::dom::element& element, Sample& target);
    bool read(const simdjson::dom::element& element, Sequence& target);
    template <class T>
    bool read(const simdjson::dom::element& element, List<T>& target);

    const std::string& why() const { return reason; }
    const std::string& where() const { return pointer; }
    /// Whether the fault is a null.
    bool metNull() const { return isNull; }

private:
    template <std::size_t count>
    bool readMembers(const simdjson::dom::element& element, const std::array<std::string_view, count>& names,
                     const std::array<double*, count>& targets);
    template <class T>
    bool take(const std::optional<T>& decoded, T& target, const simdjson::dom::element& element,
              std::string_view wanted);
    bool expected(const simdjson::dom::element& element, std::string_view wanted);

    std::string reason, pointer;
    bool isNull = false;
};

template <class T>
bool PayloadReader::read(const simdjson::dom::element& element, List<T>& target) {
    simdjson::dom::array array;
    if (element.get_array().get(array) != simdjson::SUCCESS) return expected(element, "an array");
    ListBuilder<T> items(array.size());
    for (const simdjson::dom::element item : array) {
        T next{};
        if (!read(item, next)) {
            const auto index = std::to_string(items.size());
            reason = ": element " + index + reason;
            pointer = "/" + index + pointer;
            return false;
        }
        items.append(next);
    }
    target = items.finish();
    return true;
}

}  // namespace KelvaneSDK
