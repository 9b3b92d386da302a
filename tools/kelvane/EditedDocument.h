#pragma once

#include <functional>
#include <string>

#include "DiagramEditor.h"

namespace kelvane {

/// The text of a diagram, as it stands in a file of this name, after an edit; what the edit does not touch
/// keeps its bytes. An edit that brings an error into the diagram is refused with a `Failure`, as is one that
/// the text has no room for.
std::string editedDocument(const std::string& fileName, const std::string& text,
                           const std::function<void(DiagramEditor&)>& edit);

}  // namespace kelvane
