#include "KelvaneSDK/FileProcessing/JsonReader.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "KelvaneSDK/FileProcessing/JsonNumber.h"
#include "KelvaneSDK/FileProcessing/JsonText.h"
#include "KelvaneSDK/FileProcessing/TextPlace.h"

namespace KelvaneSDK {

bool isUtf8(std::string_view text) { return simdjson::validate_utf8(text.data(), text.size()); }

namespace {

// At its first use simdjson allocates, and ends the program when it cannot, so that comes when the program
// starts.
[[maybe_unused]] const bool isReady = simdjson::validate_utf8("", 0);

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Whether "-0" stands there as a number of its own, or within a string as if it did.
bool mayHoldNegativeZero(std::string_view text) {
    constexpr std::string_view before = ":,[ \t\r\n", after = "},] \t\r\n";
    const auto isOne = [](std::string_view set, char c) { return set.find(c) != std::string_view::npos; };
    for (auto at = text.find("-0"); at != std::string_view::npos; at = text.find("-0", at + 2)) {
        const bool begins = at == 0 || isOne(before, text[at - 1]);
        if (begins && (at + 2 == text.size() || isOne(after, text[at + 2]))) return true;
    }
    return false;
}

// Spells anew, outside strings, the numbers of which simdjson loses something. Integers that it refuses,
// because they do not fit in 64 bits, or reads without their sign ("-0") become decimals, which it rounds
// correctly; decimals that are integers of 64 bits become plain integers.
std::string respelled(std::string_view text) {
    std::string changed;
    changed.reserve(text.size() + 16);
    bool inString = false;
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (inString || !(isDigit(c) || c == '-')) {
            if (c == '"') inString = !inString;
            const std::size_t length = inString && c == '\\' && i + 1 < text.size() ? 2 : 1;
            changed += text.substr(i, length);
            i += length;
            continue;
        }
        const auto number = text.substr(i, text.find_first_not_of("0123456789+-.eE", i) - i);
        i += number.size();
        std::int64_t integer = 0;
        const char* const end = readJsonInteger(number.data(), number.data() + number.size(), integer);
        const bool isInteger = end == number.data() + number.size();
        if (isInteger && (integer != 0 || c != '-')) {
            changed += std::to_string(integer);
            continue;
        }
        changed += number;
        if (number.find_first_of("+.eE") == std::string_view::npos) changed += "e0";
    }
    return changed;
}

}  // namespace

std::optional<simdjson::dom::element> JsonReader::parse(std::string_view text, JsonFailure& failure) {
    if (text.starts_with(byteOrderMark)) {  // versions of simdjson differ in whether they pass over it
        failure = {"", "not JSON: a byte order mark stands at the beginning"};
        return std::nullopt;
    }
    // simdjson copies from the text even when it is empty, and memcpy() takes no null.
    if (text.data() == nullptr) text = "";
    auto error = simdjson::SUCCESS;
    if (parser.capacity() < text.size() || parser.capacity() == 0) {
        // The parser counts an array or object that is not empty against a limit that it must stay below.
        error = parser.allocate(std::max<std::size_t>(text.size(), 1024), maximumDepth + 1);
    }
    simdjson::dom::element root;
    if (error == simdjson::SUCCESS) error = parsed(text, root);
    switch (error) {
        case simdjson::SUCCESS:
            return root;
        case simdjson::EMPTY:
            failure = {"", "the text is empty; a JSON object was expected"};
            break;
        case simdjson::DEPTH_ERROR:
            failure = {"", "nested deeper than the limit of " + std::to_string(maximumDepth) + " levels"};
            break;
        case simdjson::UTF8_ERROR:
            failure = {"", "not valid UTF-8"};
            break;
        case simdjson::NUMBER_ERROR:
            failure = {"", "not JSON: a number is malformed or out of range"};
            break;
        case simdjson::UNCLOSED_STRING:
            failure = {"", "not JSON: a string is not closed"};
            break;
        case simdjson::STRING_ERROR:
            failure = {"", "not JSON: a string holds an invalid escape"};
            break;
        case simdjson::UNESCAPED_CHARS:
            failure = {"", "not JSON: a string holds an unescaped control character"};
            break;
        case simdjson::T_ATOM_ERROR:
        case simdjson::F_ATOM_ERROR:
        case simdjson::N_ATOM_ERROR:
            failure = {"", "not JSON: a word other than true, false and null stands outside a string"};
            break;
        case simdjson::MEMALLOC:
            throw std::bad_alloc();
        // GCOV_EXCL_START: more than 4 GiB
        case simdjson::CAPACITY:
            failure = {"", "the text is too large to be read"};
            break;
        // GCOV_EXCL_STOP
        default:
            failure = {"", "not JSON: brackets, commas or colons are out of place"};
            break;
    }
    return std::nullopt;
}

simdjson::error_code JsonReader::parsed(std::string_view text, simdjson::dom::element& root) {
    if (!mayHoldNegativeZero(text)) {
        const auto error = parser.parse(text.data(), text.size()).get(root);
        if (error == simdjson::SUCCESS) return error;
    }
    // Versions of simdjson differ in the error for a long integer.
    return parser.parse(respelled(text)).get(root);
}

std::optional<simdjson::dom::element> JsonReader::parseWithPlainIntegers(std::string_view text) {
    const auto plain = respelled(text);
    simdjson::dom::element root;
    if (plain == text || parser.parse(plain).get(root) != simdjson::SUCCESS) return std::nullopt;
    return root;
}

std::optional<double> asDouble(const simdjson::dom::element& element) {
    double number = 0;
    return element.get_double().get(number) == simdjson::SUCCESS ? std::optional(number) : std::nullopt;
}

std::optional<std::int64_t> asInteger(const simdjson::dom::element& element) {
    std::int64_t integer = 0;
    if (element.get_int64().get(integer) == simdjson::SUCCESS) return integer;
    // A zero below zero stays a decimal, for its sign.
    double number = 0;
    const bool isNegativeZero = element.type() == simdjson::dom::element_type::DOUBLE &&
                                element.get_double().get(number) == simdjson::SUCCESS && number == 0 &&
                                std::signbit(number);
    return isNegativeZero ? std::optional<std::int64_t>(0) : std::nullopt;
}

std::optional<bool> asBoolean(const simdjson::dom::element& element) {
    bool truth = false;
    return element.get_bool().get(truth) == simdjson::SUCCESS ? std::optional(truth) : std::nullopt;
}

std::optional<std::string_view> asString(const simdjson::dom::element& element) {
    std::string_view string;
    return element.get_string().get(string) == simdjson::SUCCESS ? std::optional(string) : std::nullopt;
}

std::string_view kindOf(const simdjson::dom::element& element) {
    switch (element.type()) {
        case simdjson::dom::element_type::ARRAY:
            return "an array";
        case simdjson::dom::element_type::OBJECT:
            return "an object";
        case simdjson::dom::element_type::INT64:
        case simdjson::dom::element_type::UINT64:
        case simdjson::dom::element_type::DOUBLE:
            return "a number";
        case simdjson::dom::element_type::STRING:
            return "a string";
        case simdjson::dom::element_type::BOOL:
            return "a boolean";
        case simdjson::dom::element_type::NULL_VALUE:
            break;
    }
    return "null";
}

}  // namespace KelvaneSDK
