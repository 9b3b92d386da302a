#include "EditedDocument.h"

#include <map>
#include <utility>

#include "Diagram.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

std::map<std::string, std::vector<Finding>> faultsByCode(const DiagramInfo& info) {
    std::map<std::string, std::vector<Finding>> faults;
    for (auto& finding : checkDiagram(info)) {
        // Of a value that is cut nobody would know.
        if (finding.severity != Severity::warning || finding.code == "value-cut")
            faults[finding.code].push_back(std::move(finding));
    }
    return faults;
}

/// Reports what is faulty after an edit and was not before; true when something is. Faults are told apart by
/// their kind and number, since an edit may move and rename what they are about.
bool reportNewFaults(const std::string& fileName, const DiagramInfo& old, const DiagramInfo& edited) {
    const auto before = faultsByCode(old);
    bool hasNew = false;
    for (const auto& [code, findings] : faultsByCode(edited)) {
        const auto known = before.find(code);
        if (known != before.end() && findings.size() <= known->second.size()) continue;
        hasNew = true;
        for (const auto& finding : findings) report(findingLine(fileName, finding));
    }
    return hasNew;
}

}  // namespace

std::string editedDocument(const std::string& fileName, const std::string& text,
                           const std::function<void(DiagramEditor&)>& change, NewFaults newFaults) {
    const auto old = readUnchecked(fileName, text).info;
    DiagramEditor editor(fileName, old, nestedNodes(text));
    change(editor);
    if (reportNewFaults(fileName, old, editor.edited()) && newFaults == NewFaults::areRefused)
        throw Failure{ExitStatus::failed, "kelvane: " + fileName + " would have these faults after the edit"};
    auto result = rewriteDiagram(text, editor.edited());
    if (result.text) return std::move(*result.text);
    throw Failure{ExitStatus::failed,
                  "kelvane: " + fileName + ": " + printable(withHint(result.reason, result.remedy))};
}

}  // namespace kelvane
