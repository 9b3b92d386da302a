#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "DiagramEditor.h"

namespace kelvane {

/// What becomes of an edit that brings an error into the diagram.
enum class NewFaults : std::uint8_t {
    areRefused,
    areReported,  ///< what is taken away may leave gaps, to be filled by the next edit
};

/// The text of a diagram, as it stands in a file of this name, after an edit; what the edit does not touch
/// keeps its bytes. An edit that the text has no room for is refused with a `Failure`.
std::string editedDocument(const std::string& fileName, const std::string& text,
                           const std::function<void(DiagramEditor&)>& edit,
                           NewFaults newFaults = NewFaults::areRefused);

}  // namespace kelvane
