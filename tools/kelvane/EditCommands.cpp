#include <utility>

#include "Commands.h"
#include "EditedDocument.h"
#include "Files.h"
#include "Messages.h"

namespace kelvane {

namespace {

int edit(const EditOptions& options, const std::function<void(DiagramEditor&)>& change,
         NewFaults newFaults = NewFaults::areRefused) {
    if (options.isInPlace && options.diagram == "-") {
        throw Failure{ExitStatus::wrongUsage, "kelvane: standard input cannot be edited in place"};
    }
    auto text = editedDocument(nameOf(options.diagram), readWholeFile(options.diagram), change, newFaults);
    if (!options.isInPlace) {
        writeToStandardOutput(std::move(text));
        return ExitStatus::done;
    }
    ResultOutput output(options.diagram);
    output.text() = std::move(text);
    output.finish();
    return ExitStatus::done;
}

}  // namespace

int setConstants(const EditOptions& options) {
    return edit(options, [&](DiagramEditor& editor) {
        for (const auto& setting : options.list) editor.set(setting);
    });
}

int renameNode(const EditOptions& options) {
    return edit(options, [&](DiagramEditor& editor) { editor.rename(options.name, options.list.front()); });
}

int connectNodes(const EditOptions& options) {
    return edit(options, [&](DiagramEditor& editor) { editor.connect(options.name, options.list.front()); });
}

int disconnectNodes(const EditOptions& options) {
    const auto change = [&](DiagramEditor& editor) {
        if (options.list.empty()) return editor.disconnect({}, options.name);
        editor.disconnect(options.name, options.list.front());
    };
    return edit(options, change, NewFaults::areReported);
}

int addNodes(const EditOptions& options) {
    return edit(options, [&](DiagramEditor& editor) { editor.add(options.name, options.list); });
}

int removeNodes(const EditOptions& options) {
    const auto change = [&](DiagramEditor& editor) {
        for (const auto& name : options.list) editor.remove(name);
    };
    return edit(options, change, NewFaults::areReported);
}

}  // namespace kelvane
