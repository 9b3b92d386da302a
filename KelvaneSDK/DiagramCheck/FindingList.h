#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "KelvaneSDK/DiagramCheck/DiagramCheck.h"

namespace KelvaneSDK {

struct CheckedNode;

/// The arrays of a document in the order of its record.
enum class Section : std::uint8_t { nodes, properties, connections, positions, containers, subdiagrams };

/// Collects findings in any order and hands them out in document order.
class FindingList {
public:
    /// A finding that is being written.
    class Draft {
    public:
        Draft(FindingList& owner, std::size_t position) : list(owner), index(position) {}

        Draft& about(const CheckedNode& node);
        Draft& subject(std::string_view text);
        Draft& hint(std::string text);
        /// Suggests a name, unless it is empty.
        Draft& didYouMean(std::string_view name);
        /// The engine stops or never ends here, if it comes so far.
        Draft& fatal(bool certain = true);
        Draft& below(std::string_view pointer);

    private:
        Finding& finding() { return list.items[index].finding; }

        FindingList& list;
        std::size_t index;
    };

    Draft error(std::string_view code, Section section, std::size_t index, std::string message) {
        return add(code, Severity::error, section, index, std::move(message));
    }
    Draft warning(std::string_view code, Section section, std::size_t index, std::string message) {
        return add(code, Severity::warning, section, index, std::move(message));
    }

    /// From here on the engine has given up building, so that nothing that follows can stop it.
    void engineEndsHere() { ended = true; }
    bool engineHasEnded() const { return ended; }

    std::vector<Finding> inDocumentOrder() &&;

private:
    struct Item {
        Section section;
        std::size_t index;
        Finding finding;
    };

    Draft add(std::string_view code, Severity severity, Section section, std::size_t index,
              std::string message);

    std::vector<Item> items;
    bool ended = false;
};

/// A name in double quotes.
std::string quoted(std::string_view name);

}  // namespace KelvaneSDK
