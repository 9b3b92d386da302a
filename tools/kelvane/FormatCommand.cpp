#include <new>
#include <optional>

#include "Commands.h"
#include "Diagram.h"
#include "Files.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

int format(const FormatOptions& options) {
    const std::string text = readWholeFile(options.diagram);
    const bool wasText = isTextForm(text);
    const bool becomesText = options.form.empty() ? wasText : options.form == "text";
    // What is text already keeps its line breaks and the places of its comments.
    std::optional<std::string> result = wasText && becomesText ? formatText(text) : std::nullopt;
    if (!result) {
        const DiagramData data = readUnchecked(nameOf(options.diagram), text);
        result = becomesText ? writeText(data) : data.encode();
    }
    if (!result) throw std::bad_alloc();
    writeToStandardOutput(std::move(*result));
    return ExitStatus::done;
}

}  // namespace kelvane
