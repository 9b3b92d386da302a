#pragma once

#include <string>
#include <string_view>

#include "KelvaneSDK/DocumentEditing/DiagramRewriting.h"

// Internal: the two forms of rewriteDiagram().

namespace KelvaneSDK {

/// Rewrites a JSON document that decodes to `old`. What comes out is yet to be checked.
std::string rewriteJson(std::string_view text, const DiagramInfo& old, const DiagramInfo& edited);

/// Rewrites a text of the text form, and checks the result.
DiagramRewriting rewriteTextForm(std::string_view text, const DiagramInfo& edited,
                                 const NodeRegistry& registry);

}  // namespace KelvaneSDK
