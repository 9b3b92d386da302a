#include "KelvaneSDK/FileProcessing/TextPlace.h"

#include <algorithm>
#include <limits>
#include <map>
#include <vector>

#include "KelvaneSDK/FileProcessing/JsonScan.h"

namespace KelvaneSDK {

namespace {

constexpr std::size_t nowhere = std::numeric_limits<std::size_t>::max();

// Member names of documents are ASCII; of the escapes only those that can spell them are read.
std::string unescaped(std::string_view raw) {
    std::string name;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        if (raw[i] == '\\' && raw.substr(i + 1, 3) == "u00" && i + 6 <= raw.size()) {
            name += static_cast<char>(std::stoi(std::string(raw.substr(i + 4, 2)), nullptr, 16));
            i += 5;
        } else {
            name += raw[i];
        }
    }
    return name;
}

/// The values that pointers name, as a tree in which the scan walks along.
class Places final : public JsonVisitor {
public:
    /// The index of the node that stands for a pointer.
    std::size_t want(std::string_view pointer) {
        std::size_t node = 0;
        while (!pointer.empty()) {
            const auto end = std::min(pointer.find('/', 1), pointer.size());
            const std::string token(pointer.substr(1, end - 1));
            pointer.remove_prefix(end);
            const auto [child, isNew] = tree[node].children.try_emplace(token, tree.size());
            const std::size_t next = child->second;
            if (isNew) tree.push_back({nowhere, node, {}});
            node = next;
        }
        return node;
    }

    /// Where the node's value stands, or the innermost one around it.
    std::size_t offset(std::size_t node) const {
        while (tree[node].offset == nowhere && node != 0) node = tree[node].parent;
        return tree[node].offset == nowhere ? 0 : tree[node].offset;
    }

    void begin(std::size_t offset, bool isContainer) override {
        const std::size_t node = open.empty() ? 0 : child();
        if (node != nowhere) {
            if (tree[node].offset != nowhere) forget(node);
            tree[node].offset = offset;
        }
        if (isContainer) open.push_back({node, 0, {}});
    }
    void end() override { open.pop_back(); }
    void name(std::string_view raw) override { open.back().name = raw; }

private:
    struct Node {
        std::size_t offset = nowhere;
        std::size_t parent = 0;
        std::map<std::string, std::size_t, std::less<>> children;
    };
    struct Container {
        std::size_t node;
        std::size_t nextIndex;
        std::optional<std::string_view> name;
    };

    std::size_t child() {
        Container& container = open.back();
        const std::size_t index = container.nextIndex++;
        if (container.node == nowhere || tree[container.node].children.empty()) return nowhere;
        const auto& children = tree[container.node].children;
        const auto found = !container.name ? children.find(std::to_string(index))
                           : container.name->find('\\') == std::string_view::npos
                               ? children.find(*container.name)
                               : children.find(unescaped(*container.name));
        return found == children.end() ? nowhere : found->second;
    }

    // A member that comes again replaces the earlier one and all in it.
    void forget(std::size_t top) {
        std::vector<std::size_t> rest{top};
        while (!rest.empty()) {
            Node& node = tree[rest.back()];
            rest.pop_back();
            node.offset = nowhere;
            for (const auto& [name, child] : node.children) rest.push_back(child);
        }
    }

    std::vector<Node> tree{Node{}};
    std::vector<Container> open;
};

}  // namespace

std::optional<JsonFault> findJsonFault(std::string_view text, std::size_t maximumDepth) {
    JsonVisitor nobody;
    return scanJson(text, maximumDepth, nobody);
}

std::vector<std::size_t> offsetsOf(std::span<const std::string> pointers, std::string_view text) {
    Places places;
    std::vector<std::size_t> offsets;
    for (const auto& pointer : pointers) offsets.push_back(places.want(pointer));
    scanJson(text, nowhere, places);
    for (auto& offset : offsets) offset = places.offset(offset);
    return offsets;
}

std::vector<TextPlace> placesOf(std::span<const std::size_t> risingOffsets, std::string_view text) {
    std::vector<TextPlace> places;
    TextPlace place;
    std::size_t at = 0;
    for (const auto offset : risingOffsets) {
        for (; at < std::min(offset, text.size()); ++at) {
            ++place.column;
            if (text[at] == '\n') place = {place.line + 1, 1};
        }
        places.push_back(place);
    }
    return places;
}

std::vector<TextPlace> placesInAnyOrder(std::span<const std::size_t> offsets, std::string_view text) {
    std::vector<std::size_t> rising(offsets.begin(), offsets.end());
    std::sort(rising.begin(), rising.end());
    const auto inOrder = placesOf(rising, text);
    std::vector<TextPlace> places;
    places.reserve(offsets.size());
    for (const auto offset : offsets) {
        const auto found = std::lower_bound(rising.begin(), rising.end(), offset);
        places.push_back(inOrder[static_cast<std::size_t>(found - rising.begin())]);
    }
    return places;
}

}  // namespace KelvaneSDK
