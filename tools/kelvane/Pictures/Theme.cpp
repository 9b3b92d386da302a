#include "Pictures/Theme.h"

#include <array>

#include "Messages.h"

namespace kelvane {
namespace {

struct Colour {
    std::string_view name, light, dark;
};

// Those of types are told apart in either theme, also by people who see red and green alike, and are dark (or
// bright) enough for text.
constexpr std::array colours = {
    Colour{"surface", "#ffffff", "#14171c"},     Colour{"box", "#f7f8fa", "#20252d"},
    Colour{"frame", "#eef1f5", "#1a1e25"},       Colour{"line", "#aeb6c2", "#4b5563"},
    Colour{"text", "#1b2430", "#e7ebf1"},        Colour{"faint", "#5c6675", "#9aa5b5"},
    Colour{"grid", "#e3e7ec", "#2b313a"},        Colour{"accent", "#0b62d6", "#6cb0ff"},
    Colour{"error", "#c01c28", "#ff7b7b"},       Colour{"warning", "#8f5b00", "#f0b84a"},
    Colour{"float", "#1f5fd0", "#74aaff"},       Colour{"integer", "#00796b", "#3fd0bd"},
    Colour{"boolean", "#b3206a", "#ff86b8"},     Colour{"vector", "#b04a00", "#ffa45c"},
    Colour{"orientation", "#6d3fc4", "#bd9cff"}, Colour{"sequence", "#3d7a1a", "#93d168"},
    Colour{"string", "#7a6400", "#e2c54a"},      Colour{"any", "#5c6675", "#9aa5b5"},
};
// From here on they are those of types.
constexpr std::size_t firstType = 10;

std::string properties(std::string_view Colour::*theme) {
    std::string text;
    for (const Colour& colour : colours)
        text.append("--").append(colour.name).append(":").append(colour.*theme).append(";");
    return text;
}

}  // namespace

Theme themeNamed(const std::string& name) {
    if (name == "auto") return Theme::automatic;
    if (name == "light") return Theme::light;
    if (name == "dark") return Theme::dark;
    refuseOption("--theme", "there is no theme \"" + name + "\", but auto, light and dark");
}

std::string_view typeStyle(KelvaneSDK::ValueType type) { return typeStyle(KelvaneSDK::valueTypeName(type)); }

std::string_view typeStyle(std::string_view typeName) {
    static constexpr std::array<std::array<std::string_view, 2>, 15> styles = {{
        {"Float", "float"},
        {"Integer", "integer"},
        {"Boolean", "boolean"},
        {"Vector", "vector"},
        {"Orientation", "orientation"},
        {"Sequence", "sequence"},
        {"String", "string"},
        {"Float array", "float array"},
        {"Integer array", "integer array"},
        {"Boolean array", "boolean array"},
        {"Vector array", "vector array"},
        {"Orientation array", "orientation array"},
        {"Sequence array", "sequence array"},
        {"String array", "string array"},
        {"Sample array", "sequence array"},
    }};
    for (const auto& [name, style] : styles)
        if (name == typeName) return style;
    return "any";
}

std::string_view lightColour(std::string_view name) {
    name = name.substr(0, name.find(' '));
    for (const Colour& colour : colours)
        if (colour.name == name) return colour.light;
    return colours.back().light;
}

std::string themeStyles(Theme theme) {
    std::string text =
        ".kelvane{font-family:Helvetica,Arial,\"Liberation Sans\",\"Nimbus Sans\",sans-serif;" +
        properties(theme == Theme::dark ? &Colour::dark : &Colour::light) + "}\n";
    if (theme == Theme::automatic) {
        const std::string dark = properties(&Colour::dark);
        text += "@media (prefers-color-scheme:dark){.kelvane{" + dark + "}}\n";
        text += "[data-theme=light] .kelvane{" + properties(&Colour::light) + "}\n";
        text += "[data-theme=dark] .kelvane{" + dark + "}\n";
    }
    for (std::size_t i = firstType; i < colours.size(); ++i)
        text.append(".kelvane .")
            .append(colours[i].name)
            .append("{--type:var(--")
            .append(colours[i].name)
            .append(")}\n");
    return text;
}

}  // namespace kelvane
