#include "Diagram.h"

#include <algorithm>
#include <new>
#include <utility>

#include "Files.h"
#include "Messages.h"
#include "NodeNames.h"

namespace kelvane {

using namespace KelvaneSDK;

namespace {

/// Reports the errors of a document; true when there are any.
bool reportErrors(const std::string& name, const std::vector<Finding>& findings,
                  const std::function<void(const std::string&)>& messages) {
    auto gravest = Severity::warning;
    for (const auto& finding : findings) {
        gravest = std::max(gravest, finding.severity);
        if (finding.severity != Severity::warning) messages(findingLine(name, finding));
    }
    if (gravest == Severity::fatal)
        throw Failure{ExitStatus::failed, "kelvane: " + name + " cannot be evaluated"};
    return gravest != Severity::warning;
}

// A recording's first lines may be lists of many elements.
constexpr std::size_t longestFirstLine = 64 << 20;

bool isLikelyRecording(std::string_view text) {
    return !isTextForm(text) &&
           text.substr(0, text.find('\n')).find("\"timestamp\"") != std::string_view::npos;
}

}  // namespace

bool isError(std::string_view line) { return line.starts_with("ERROR: "); }

LibraryMessages::LibraryMessages()
    : previous(setDiagnosticSink([this](std::string_view line) { take(line); })) {}

LibraryMessages::~LibraryMessages() { setDiagnosticSink(std::move(previous)); }

void LibraryMessages::take(std::string_view line) {
    errors |= isError(line);
    if (listener) listener(line);
    report(printable(line));
}

int Diagram::exitStatus() const { return hasErrors ? ExitStatus::failed : ExitStatus::done; }

std::string Diagram::stopText(const StopReason& reason) const {
    const bool isPlaced = reason.nodeId && isTextForm(text);
    return (isPlaced ? NodePlaces(*this).placeOf(*reason.nodeId) + " " : "") + printable(reason.text);
}

bool isRecording(DataFile& file) {
    const auto line = file.firstLine(longestFirstLine);
    return file.isCompressed() || file.isEmpty() || (isLikelyRecording(line) && !readDiagram(line));
}

Diagram loadDiagram(const std::string& path, const std::function<void(const std::string&)>& messages) {
    return buildDiagram(nameOf(path), readWholeFile(path), messages);
}

Diagram buildDiagram(const std::string& name, std::string text,
                     const std::function<void(const std::string&)>& messages) {
    Diagram diagram{name, std::make_unique<Kelvane>(), false, std::move(text)};
    diagram.engine->setStopBehavior(StopBehavior::failCall);
    // The findings come first, and what the builder prints of the same errors is left out.
    std::vector<std::string> lines;
    diagram.engine->setDiagnosticSink([&](std::string_view line) { lines.emplace_back(line); });
    const auto loaded = diagram.engine->load(diagram.text, true);
    diagram.engine->setDiagnosticSink({});
    const bool isFaulty = diagram.hasErrors = reportErrors(diagram.name, loaded.findings, messages);
    for (const auto& line : lines) {
        if (isFaulty && isError(line)) continue;
        messages(printable(line));
        diagram.hasErrors |= isError(line);
    }
    if (!loaded.isBuilt) {
        const auto& failure = diagram.engine->failure();
        std::string why = failure ? ": " + diagram.stopText(*failure) : "";
        if (isLikelyRecording(diagram.text)) why = ": it looks like a recording; the diagram comes first";
        throw Failure{ExitStatus::failed, "kelvane: " + diagram.name + " cannot be built" + why};
    }
    return diagram;
}

DiagramData readUnchecked(const std::string& name, std::string_view text) {
    if (auto data = readDiagram(text)) return std::move(*data);
    for (const auto& finding : checkDiagram(text)) report(findingLine(name, finding));
    throw Failure{ExitStatus::failed, "kelvane: " + name + " is no diagram"};
}

std::unique_ptr<Kelvane> anotherEngine(const Diagram& diagram) {
    auto engine = std::make_unique<Kelvane>();
    engine->setStopBehavior(StopBehavior::failCall);
    engine->setDiagnosticSink([](std::string_view) {});
    // What was built once is not built only when there is no memory.
    if (!engine->read(diagram.text, true)) throw std::bad_alloc();
    return engine;
}

std::string placeOf(const std::string& fileName, const Finding& finding) {
    std::string place = fileName + ":";
    if (finding.line > 0) place += std::to_string(finding.line) + ":";
    if (finding.isInText) place += std::to_string(finding.column) + ":";
    return place;
}

std::string findingLine(const std::string& fileName, const Finding& finding) {
    return placeOf(fileName, finding) + " " + (finding.severity == Severity::warning ? "warning: " : "") +
           printable(findingText(finding));
}

bool hasProperty(const Node& node, const Property& property) {
    const auto properties = node.getProperties();
    return std::find(properties.begin(), properties.end(), property) != properties.end();
}

std::vector<std::string> labels(const Kelvane& engine, NodeCategory category) {
    std::vector<std::string> result;
    for (const auto& node : engine.nodeList(category)) result.emplace_back(node->label());
    return result;
}

}  // namespace kelvane
