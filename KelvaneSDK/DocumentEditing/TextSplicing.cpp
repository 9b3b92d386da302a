#include "KelvaneSDK/DocumentEditing/TextSplicing.h"

#include <algorithm>

namespace KelvaneSDK {

std::string replaced(std::string_view text, std::vector<Replacement> replacements) {
    std::stable_sort(replacements.begin(), replacements.end(), [](const auto& a, const auto& b) {
        return a.span.begin < b.span.begin || (a.span.begin == b.span.begin && a.span.end < b.span.end);
    });
    std::string result;
    result.reserve(text.size() + 256);
    std::size_t at = 0;
    for (const auto& [span, replacement] : replacements) {
        result += text.substr(at, span.begin - at);
        result += replacement;
        at = span.end;
    }
    result += text.substr(at);
    return result;
}

void spliceList(std::vector<Replacement>& replacements, TextSpan inner, const std::vector<TextSpan>& items,
                const std::vector<SplicedItem>& wanted, const ListStyle& style) {
    const auto isOld = [](const SplicedItem& item) { return item.old.has_value(); };
    if (std::none_of(wanted.begin(), wanted.end(), isOld)) {
        std::string text;
        for (const auto& item : wanted) text += (text.empty() ? style.open : style.separator) + item.text;
        if (!wanted.empty()) text += style.close;
        if (!wanted.empty() || !items.empty()) replacements.push_back({inner, std::move(text)});
        return;
    }
    // Each run of new items stands where the old ones between its neighbours stood. What separates those
    // that stay is what stood before the later of them.
    std::optional<std::size_t> before;
    std::string added;
    const auto closeGap = [&](std::size_t next) {
        TextSpan gap;
        if (before) {
            gap = {items[*before].end, items[next - 1].end};
        } else {
            gap = {items.front().begin, next < items.size() ? items[next].begin : inner.end};
        }
        if (gap.begin != gap.end || !added.empty()) replacements.push_back({gap, std::move(added)});
        added.clear();
    };
    for (const auto& item : wanted) {
        if (item.old) {
            closeGap(*item.old);
            before = item.old;
        } else {
            added += before ? style.separator + item.text : item.text + style.separator;
        }
    }
    closeGap(items.size());
}

}  // namespace KelvaneSDK
