#include "KelvaneSDK/Functions/ElementArithmetic.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

namespace KelvaneSDK {

namespace {

// Code points below U+0300 neither compose nor decompose under NFC; in UTF-8 their lead bytes are below 0xCC.
bool isComposedAlready(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0xCC; });
}

struct FreeText {
    void operator()(utf8proc_uint8_t* text) const { std::free(text); }
};

int compareBytes(std::string_view a, std::string_view b) { return a.compare(b); }

}  // namespace

int compareTexts(std::string_view a, std::string_view b) {
    if (isComposedAlready(a) && isComposedAlready(b)) return compareBytes(a, b);
    using Composed = std::unique_ptr<utf8proc_uint8_t, FreeText>;
    // Each text falls back to its own bytes: an order that depended on the pair would not be transitive.
    const auto compose = [](std::string_view text, Composed& composed) {
        utf8proc_uint8_t* result = nullptr;
        const auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &result,
                                         static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
        composed.reset(result);
        if (length == UTF8PROC_ERROR_NOMEM) throw std::bad_alloc();
        if (length < 0) return text;
        return std::string_view(reinterpret_cast<const char*>(result), static_cast<std::size_t>(length));
    };
    Composed composedA, composedB;
    return compareBytes(compose(a, composedA), compose(b, composedB));
}

}  // namespace KelvaneSDK
