#include <array>
#include <map>
#include <utility>

#include "Commands.h"
#include "Diagram.h"
#include "EditedDocument.h"
#include "EitherForm.h"
#include "Files.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

std::map<std::string, std::vector<Finding>> errorsByCode(const DiagramInfo& info) {
    std::map<std::string, std::vector<Finding>> errors;
    for (auto& finding : checkDiagram(info)) {
        // Of a value that is cut nobody would know.
        if (finding.severity != Severity::warning || finding.code == "value-cut")
            errors[finding.code].push_back(std::move(finding));
    }
    return errors;
}

/// Refuses what makes a sound diagram faulty. Errors are told apart by their kind and number, since an edit
/// may move and rename what they are about.
void refuseNewErrors(const std::string& fileName, const DiagramInfo& old, const DiagramInfo& edited) {
    const auto before = errorsByCode(old);
    bool hasNew = false;
    for (const auto& [code, findings] : errorsByCode(edited)) {
        const auto known = before.find(code);
        if (known != before.end() && findings.size() <= known->second.size()) continue;
        hasNew = true;
        for (const auto& finding : findings) report(findingLine(fileName, finding));
    }
    if (hasNew)
        throw Failure{ExitStatus::failed, "kelvane: " + fileName + " would have these faults after the edit"};
}

int edit(const EditOptions& options, const std::function<void(DiagramEditor&)>& change) {
    if (options.isInPlace && options.diagram == "-") {
        throw Failure{ExitStatus::wrongUsage, "kelvane: standard input cannot be edited in place"};
    }
    auto text = editedDocument(nameOf(options.diagram), readWholeFile(options.diagram), change);
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

std::string editedDocument(const std::string& fileName, const std::string& text,
                           const std::function<void(DiagramEditor&)>& change) {
    const auto old = readEitherForm(fileName, text);
    DiagramEditor editor(fileName, old, nestedNodes(text));
    change(editor);
    refuseNewErrors(fileName, old, editor.edited());
    auto result = rewriteDiagram(text, editor.edited());
    if (result.text) return std::move(*result.text);
    throw Failure{ExitStatus::failed,
                  "kelvane: " + fileName + ": " + printable(withHint(result.reason, result.remedy))};
}

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
    return edit(options, [&](DiagramEditor& editor) {
        if (options.list.empty()) return editor.disconnect({}, options.name);
        editor.disconnect(options.name, options.list.front());
    });
}

int addNodes(const EditOptions& options) {
    return edit(options, [&](DiagramEditor& editor) { editor.add(options.name, options.list); });
}

int removeNodes(const EditOptions& options) {
    return edit(options, [&](DiagramEditor& editor) {
        for (const auto& name : options.list) editor.remove(name);
    });
}

}  // namespace kelvane
