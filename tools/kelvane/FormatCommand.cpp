#include <new>

#include "Commands.h"
#include "Diagram.h"
#include "Files.h"
#include "KelvaneSDK/KelvaneSDK.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

int format(const FormatOptions& options) {
    const std::string text = readWholeFile(options.diagram);
    const DiagramData data = readUnchecked(nameOf(options.diagram), text);
    const bool wasText = isTextForm(text);
    const bool becomesText = options.form.empty() ? wasText : options.form == "text";
    if (!becomesText) {
        writeToStandardOutput(data.encode());
        return ExitStatus::done;
    }
    // What is text already keeps its line breaks and the places of its comments.
    auto result = wasText ? formatText(text) : writeText(data);
    if (!result) throw std::bad_alloc();
    writeToStandardOutput(std::move(*result));
    return ExitStatus::done;
}

}  // namespace kelvane
