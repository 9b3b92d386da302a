#include "Pictures/SvgStyles.h"

#include <array>
#include <string_view>

namespace kelvane {
namespace {

// The colours of documents, none too bright to be seen on white or too dark on black.
constexpr std::array<std::array<std::string_view, 2>, 12> tints{{
    {"blue", "#3b82f6"},
    {"red", "#e5484d"},
    {"black", "#5b6472"},
    {"brown", "#a16a3c"},
    {"cyan", "#12a5c4"},
    {"gray", "#8b94a3"},
    {"green", "#3a9d4f"},
    {"magenta", "#d6409f"},
    {"orange", "#f08c2e"},
    {"purple", "#8e5bd9"},
    {"yellow", "#d9a400"},
    {"white", "#b9c0ca"},
}};

constexpr std::string_view rules = R"(
.diagram text{font-size:13px;fill:var(--text);white-space:pre}
.diagram .paper{fill:var(--surface)}
.diagram .frame rect{fill:var(--frame);stroke:var(--line);stroke-width:1}
.diagram .frame-title{font-size:12.5px;font-weight:600;fill:var(--faint);paint-order:stroke;stroke:var(--frame);stroke-width:4px;stroke-linejoin:round}
.diagram .frame.tint rect{fill:var(--tint);fill-opacity:.08;stroke:var(--tint);stroke-opacity:.75}
.diagram .wire{fill:none;stroke:var(--type);stroke-width:1.8;stroke-linecap:round;stroke-linejoin:round}
.diagram .wire.array{stroke-width:3.6;stroke-opacity:.75}
.diagram .wire.feedback{stroke-dasharray:2 5}
.diagram .hit{fill:none;stroke:transparent;stroke-width:14;pointer-events:stroke}
.diagram .body{fill:var(--box);stroke:var(--line);stroke-width:1.2}
.diagram .tint .body{stroke:var(--tint)}
.diagram .strip{fill:none;stroke:var(--tint);stroke-width:4;stroke-linecap:round}
.diagram .name{font-weight:600}
.diagram .detail,.diagram .label{font-size:11px;fill:var(--faint)}
.diagram .arrow{fill:var(--type)}
.diagram .stream .body{stroke:var(--type);stroke-width:2}
.diagram .output .body{fill:var(--type);stroke:var(--type)}
.diagram .output .name,.diagram .output .arrow{fill:var(--surface)}
.diagram .output .detail{fill:var(--surface);fill-opacity:.85}
.diagram .constant .body{fill:var(--surface);stroke:var(--type);stroke-opacity:.6}
.diagram .content{fill:var(--type);font-weight:600}
.diagram .beside .content{font-size:11px}
.diagram .port{fill:var(--type);stroke:var(--surface);stroke-width:1.5}
.diagram .port.array{fill:var(--surface);stroke:var(--type);stroke-width:2.6}
.diagram .port.open{fill:var(--surface);stroke:var(--type);stroke-width:1.2;stroke-dasharray:2 1.6}
.diagram .beside .port{opacity:0}
.diagram .output .port{stroke:var(--surface);fill:var(--type)}
.diagram .value{font-size:11px;font-weight:600;fill:var(--type);paint-order:stroke;stroke:var(--surface);stroke-width:3px;stroke-linejoin:round}
.diagram .value.constant{display:none}
.diagram .halo{fill:var(--accent);fill-opacity:.12;stroke:var(--accent);stroke-width:2.5}
.diagram .note circle{fill:var(--warning);stroke:var(--surface);stroke-width:1.5}
.diagram .note.error circle{fill:var(--error)}
.diagram .note text{fill:var(--surface);font-weight:700;text-anchor:middle}
.diagram .notes text,.diagram .empty{fill:var(--faint)}
.diagram .legend .title{font-weight:600}
)";

}  // namespace

std::string diagramStyles() {
    std::string text(rules.substr(1));
    for (const auto& [name, colour] : tints)
        text.append(".diagram .tint.").append(name).append("{--tint:").append(colour).append("}\n");
    return text;
}

}  // namespace kelvane
