#include "KelvaneSDK/FileProcessing/PayloadReader.h"

namespace KelvaneSDK {

using Element = simdjson::dom::element;

bool PayloadReader::read(const Element& element, double& target) {
    return take(asDouble(element), target, element, "a number");
}
bool PayloadReader::read(const Element& element, std::int64_t& target) {
    return take(asInteger(element), target, element, "an integer of 64 bits");
}
bool PayloadReader::read(const Element& element, bool& target) {
    return take(asBoolean(element), target, element, "a boolean");
}
bool PayloadReader::read(const Element& element, std::string_view& target) {
    return take(asString(element), target, element, "a string");
}
bool PayloadReader::read(const Element& element, String& target) {
    std::string_view text;
    if (!read(element, text)) return false;
    target = String(text);
    return true;
}
bool PayloadReader::read(const Element& element, Vector& v) {
    return readMembers<3>(element, {"x", "y", "z"}, {&v.x, &v.y, &v.z});
}
bool PayloadReader::read(const Element& element, Orientation& q) {
    return readMembers<4>(element, {"x", "y", "z", "w"}, {&q.x, &q.y, &q.z, &q.w});
}
bool PayloadReader::read(const Element& element, Sample& sample) {
    return readMembers<2>(element, {"t", "f"}, {&sample.t, &sample.f});
}
bool PayloadReader::read(const Element& element, Sequence& target) {
    List<Sample> samples;
    if (!read(element, samples)) return false;
    target = Sequence(std::move(samples));
    return true;
}

template <std::size_t count>
bool PayloadReader::readMembers(const Element& element, const std::array<std::string_view, count>& names,
                                const std::array<double*, count>& targets) {
    simdjson::dom::object object;
    if (element.get_object().get(object) != simdjson::SUCCESS) return expected(element, "an object");
    const auto found = members(object, names);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = ": \"" + std::string(names[i]) + "\"";
        if (!found[i]) {
            reason = name + " is missing; a number was expected";
            pointer.clear();
            Element null;
            isNull = object[names[i]].get(null) == simdjson::SUCCESS && null.is_null();
            return false;
        }
        if (!read(*found[i], *targets[i])) {
            reason = name + reason;
            pointer = "/" + std::string(names[i]) + pointer;
            return false;
        }
    }
    return true;
}

template <class T>
bool PayloadReader::take(const std::optional<T>& decoded, T& target, const Element& element,
                         std::string_view wanted) {
    if (!decoded) return expected(element, wanted);
    target = *decoded;
    return true;
}

bool PayloadReader::expected(const Element& element, std::string_view wanted) {
    pointer.clear();
    isNull = element.is_null();
    reason = " is " + std::string(kindOf(element)) + "; " + std::string(wanted) + " was expected";
    return false;
}

}  // namespace KelvaneSDK
