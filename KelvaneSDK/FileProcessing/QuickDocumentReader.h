#pragma once

// Internal: the short way from a document's text to its records.

#include <optional>
#include <string_view>

#include "KelvaneSDK/DiagramData.h"

namespace KelvaneSDK {

/// Reads a document as designers commonly write it: known keys, each once, none of them null, and no escapes
/// in texts. Absent for any other text, a faulty one included; what it reads, the exact decoder would read to
/// the same records. Throws std::bad_alloc.
std::optional<DiagramInfo> readDocumentQuickly(std::string_view text);

}  // namespace KelvaneSDK
