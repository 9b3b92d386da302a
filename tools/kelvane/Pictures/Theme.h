#pragma once

#include <string>
#include <string_view>

#include "KelvaneSDK/Value.h"

namespace kelvane {

/// Which colours a picture has.
enum class Theme {
    /// Those that the reader's system asks for.
    automatic,
    light,
    dark,
};

/// The theme of a name on the command line: "auto", "light" or "dark"; refuses others.
Theme themeNamed(const std::string& name);

/// The class, in the sense of style sheets, of what carries values of a type: "float", "boolean",
/// "orientation", and of arrays the class of their elements and "array": "float array".
std::string_view typeStyle(KelvaneSDK::ValueType type);
/// The same of a type by its name in documents and declarations; "any" for generic and unknown ones.
std::string_view typeStyle(std::string_view typeName);

/// A colour of the light theme by its name or, for that of a type, by its style: "#1f5fd0"; for languages
/// that have no themes.
std::string_view lightColour(std::string_view name);

/// What begins the style sheet of every picture: the font, and colours as custom properties of `.kelvane`:
///
/// `--surface` behind everything, `--box` of nodes, `--frame` of containers, `--line` around them, `--text`,
/// `--faint` for what is less important, `--grid`, `--accent`, `--error`, `--warning`, and one for each type,
/// by its style: `--float`, `--any`. An element with the class of a type has its colour as `--type`.
///
/// A page around the picture may say `data-theme="light"` or `"dark"` in an element that holds it, which
/// overrules the reader's system.
std::string themeStyles(Theme theme);

}  // namespace kelvane
