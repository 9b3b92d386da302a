#include "Diagram.h"

#include <utility>

#include "Files.h"
#include "Messages.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// Tells the errors of a document and answers whether there are any.
bool tellErrors(const std::string& name, const std::vector<Finding>& findings) {
    bool hasErrors = false, isFatal = false;
    for (const auto& finding : findings) {
        if (finding.severity != Severity::error) continue;
        hasErrors = true;
        isFatal |= finding.fatal;
        tell(findingLine(name, finding));
    }
    if (isFatal) throw Failure{ExitStatus::failed, "kelvane: " + name + " cannot be evaluated"};
    return hasErrors;
}

}  // namespace

LibraryMessages::LibraryMessages()
    : previous(setDiagnosticSink([this](std::string_view line) { take(line); })) {}

LibraryMessages::~LibraryMessages() { setDiagnosticSink(std::move(previous)); }

void LibraryMessages::take(std::string_view line) {
    if (muted) return;
    errors |= line.starts_with("ERROR: ");
    tell(printable(line));
}

int Diagram::exitStatus() const { return hasErrors ? ExitStatus::failed : ExitStatus::done; }

Diagram loadDiagram(const std::string& path, LibraryMessages& messages) {
    const auto text = readWholeFile(path);
    Diagram diagram{nameOf(path), std::make_unique<Kelvane>()};
    diagram.hasErrors = tellErrors(diagram.name, checkDiagram(text));
    const bool isBuilt = diagram.engine->read(text, true);
    diagram.hasErrors |= messages.hasErrors();
    if (!isBuilt) throw Failure{ExitStatus::failed, "kelvane: " + diagram.name + " cannot be built"};
    return diagram;
}

std::string findingLine(const std::string& fileName, const Finding& finding) {
    return fileName + ":" + (finding.line > 0 ? std::to_string(finding.line) + ":" : "") + " " +
           (finding.severity == Severity::warning ? "warning: " : "") + printable(findingText(finding));
}

std::vector<std::string> labels(const Kelvane& engine, NodeCategory category) {
    std::vector<std::string> result;
    for (const auto& node : engine.nodeList(category)) result.push_back(node->label());
    return result;
}

}  // namespace kelvane
