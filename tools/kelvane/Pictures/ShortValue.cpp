#include "Pictures/ShortValue.h"

#include <array>
#include <charconv>
#include <initializer_list>

#include "Messages.h"
#include "Pictures/Markup.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

constexpr std::size_t longestInteger = 14;

std::string digits(double number, int precision) {
    std::array<char, 64> buffer;
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                   std::chars_format::general, precision);
    return {buffer.data(), end.ptr};
}

std::string components(std::initializer_list<double> numbers) {
    std::string text;
    for (const double number : numbers) text += (text.empty() ? "(" : ", ") + digits(number, 3);
    return text + ")";
}

}  // namespace

std::string shortValue(const Value& value) {
    if (const auto number = value.get<double>()) return digits(*number, 6);
    if (const auto integer = value.get<std::int64_t>()) {
        const auto text = std::to_string(*integer);
        return text.size() <= longestInteger ? text : digits(static_cast<double>(*integer), 6);
    }
    if (const auto truth = value.get<bool>()) return *truth ? "true" : "false";
    if (const auto vector = value.get<Vector>()) return components({vector->x, vector->y, vector->z});
    if (const auto turn = value.get<Orientation>()) return components({turn->x, turn->y, turn->z, turn->w});
    if (const auto sequence = value.get<Sequence>()) return counted(sequence->size(), "sample");
    if (const auto text = value.get<String>())
        return "\"" + fittingText(text->view().substr(0, 80), 11, 72) + "\"";
    return counted(value.elementCount(), "value");
}

}  // namespace kelvane
