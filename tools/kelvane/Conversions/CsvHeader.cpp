#include "CsvHeader.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>

#include "ValueText.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// A title that ends in the name of a component.
struct Component {
    std::string stem, unit;
    char separator = '\0';
    bool isCapital = false;
    std::size_t index = 0;

    auto family() const { return std::tie(stem, unit, separator, isCapital); }
};

bool isSmall(char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == ')'; }

std::optional<Component> componentOf(std::string_view title) {
    Component component;
    title = withoutBlanks(title);
    if (title.ends_with(')') || title.ends_with(']')) {
        const auto opening = title.find_last_of("([");
        if (opening == std::string_view::npos) return std::nullopt;
        component.unit = title.substr(opening);
        title = withoutBlanks(title.substr(0, opening));
    }
    if (title.empty()) return std::nullopt;
    component.isCapital = title.back() < 'a';
    component.index = std::string_view("xyzw").find(inSmallLetters(title.substr(title.size() - 1)));
    if (component.index == std::string_view::npos) return std::nullopt;
    title.remove_suffix(1);
    if (title.empty()) return component;
    if (std::string_view("._- ").find(title.back()) != std::string_view::npos) {
        component.separator = title.back();
        title.remove_suffix(1);
        if (title.empty()) return std::nullopt;
    } else if (!component.isCapital || !isSmall(title.back())) {
        return std::nullopt;
    }
    component.stem = title;
    return component;
}

}  // namespace

std::vector<CsvStream> streamsOf(const std::vector<std::string>& titles, std::size_t timeColumn,
                                 const std::string& unnamed) {
    constexpr std::size_t missing = static_cast<std::size_t>(-1);
    std::vector<std::optional<Component>> components;
    using Family = std::tuple<std::string, std::string, char, bool>;
    std::map<Family, std::array<std::size_t, 4>> families;
    for (std::size_t i = 0; i < titles.size(); ++i) {
        components.push_back(i == timeColumn ? std::nullopt : componentOf(titles[i]));
        if (!components[i]) continue;
        auto& members =
            families.try_emplace(components[i]->family(), std::array{missing, missing, missing, missing})
                .first->second;
        if (members[components[i]->index] == missing) members[components[i]->index] = i;
    }
    std::vector<CsvStream> streams;
    std::vector<bool> isTaken(titles.size());
    for (std::size_t i = 0; i < titles.size(); ++i) {
        if (i == timeColumn || isTaken[i]) continue;
        if (components[i]) {
            const auto& members = families.at(components[i]->family());
            const auto isMember = std::find(members.begin(), members.end(), i) != members.end();
            if (isMember && std::find(members.begin(), members.begin() + 3, missing) == members.begin() + 3) {
                const std::size_t count = members[3] == missing ? 3 : 4;
                CsvStream stream{components[i]->stem.empty() ? unnamed : components[i]->stem,
                                 {members.begin(), members.begin() + static_cast<std::ptrdiff_t>(count)},
                                 count == 3 ? ValueType::Vector : ValueType::Orientation};
                for (const auto column : stream.columns) isTaken[column] = true;
                streams.push_back(std::move(stream));
                continue;
            }
        }
        streams.push_back({titles[i].empty() ? "column " + std::to_string(i + 1) : titles[i], {i}, {}});
    }
    return streams;
}

}  // namespace kelvane
