#pragma once

#include <array>
#include <deque>
#include <map>

#include "KelvaneSDK/DiagramCheck/FindingCodes.h"

namespace KelvaneSDK {

struct CheckedNode;

/// The document as a whole, and its arrays in the order of its record.
enum class Section : std::uint8_t {
    document,
    nodes,
    properties,
    connections,
    positions,
    containers,
    subdiagrams
};

/// A record of a document, or with `below` a place in it, as a pointer.
struct Place {
    Section section;
    std::size_t index;
    std::string below = {};

    std::string pointer() const;
};

/// What a finding says beside its message.
struct Details {
    const CheckedNode* about = nullptr;
    std::string_view subject = {};
    /// Of the node.
    std::optional<std::size_t> input = {};
    std::string hint = {};
    /// A name to suggest, unless it is empty.
    std::string_view nearest = {};
    /// The gravest that the code can have, if not given.
    std::optional<Severity> severity = {};
};

/// Collects findings in any order and hands them out in document order. Keeps no more than it hands out of
/// each severity, and counts the rest.
class FindingList {
public:
    void add(Code code, const Place& place, std::string message, const Details& details = {});

    /// From here on the engine has given up building: nothing that follows is fatal.
    void engineEndsHere() { ended = true; }

    std::vector<Finding> inDocumentOrder() &&;

private:
    struct Item {
        Section section;
        std::size_t index;
        Finding finding;
    };

    std::deque<Item> items;
    std::array<std::size_t, 3> kept{};
    // What is not listed, by code.
    std::map<std::string, std::size_t> more;
    Severity gravestOfMore = Severity::warning;
    bool ended = false;
};

/// A text of the document as findings hold it, without its end when it is long.
std::string shortened(std::string_view text);
/// The same in double quotes.
std::string quoted(std::string_view text);

}  // namespace KelvaneSDK
