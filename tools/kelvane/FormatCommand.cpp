#include <new>

#include "Commands.h"
#include "Diagram.h"
#include "Files.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// The diagram that a text holds. Its faults are reported, and end the command.
DiagramData dataOf(const std::string& name, std::string_view text) {
    if (auto data = readDiagram(text)) return std::move(*data);
    for (const auto& finding : checkDiagram(text)) report(findingLine(name, finding));
    throw Failure{ExitStatus::failed, "kelvane: " + name + " is no diagram"};
}

}  // namespace

int format(const FormatOptions& options) {
    const std::string text = readWholeFile(options.diagram);
    const auto data = dataOf(nameOf(options.diagram), text);
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
